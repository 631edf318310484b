// blas/banded/general.hpp - y := alpha op(A) x + beta y, A general with kl diagonals below the main one and ku above.
// A sweep over the columns in pairs; rows that one column of a pair reaches alone go by themselves. Instantiated by
// gbmv.cpp. Nothing is allocated.
//
// Columns come in three stretches, so that the hot one does not ask where the band meets the matrix's edge: columns
// whose top is cut, whole columns, columns whose bottom is cut.
#pragma once

#include "blas/banded/columns.hpp"
#include "blas/banded/tables.hpp"
#include "blas/level2/beta.hpp"

namespace vrn::blas::banded {

template <class E>
struct general_band {
    const E* a;
    vrn_int lda, m, n, kl, ku;
    const E* column(vrn_int j) const { return a + (j * lda + ku - j); }
    vrn_int ahead() const { return fetch_distance<true, E>(n * (kl + ku + 1)); }
    template <bool Cut>
    vrn_int top(vrn_int j) const
    {
        return Cut && j < ku ? 0 : j - ku;
    }
    template <bool Cut>
    vrn_int end(vrn_int j) const
    {
        return Cut && j + kl + 1 > m ? m : j + kl + 1;
    }
};

enum class band_op { plain, transposed, conjugate };

// N columns from j on. The rows of a pair that only one column reaches: above those of both, and below them.
template <band_op Op, bool Cut, int N, class E, class X, class Y>
[[gnu::always_inline]] inline void band_columns(const general_band<E>& a, E alpha, X x, Y y, vrn_int j)
{
    constexpr bool conjugate = Op == band_op::conjugate;
    columns<N, E> at;
    unroll<N>([&](auto c) __attribute__((always_inline)) { at.at[c] = a.column(j + c); });
    const vrn_int first = a.template top<Cut>(j), last = a.template end<Cut>(j + N - 1);
    const span all{a.template top<Cut>(j + N - 1), a.template end<Cut>(j)};
    const auto edges = [&](auto body) __attribute__((always_inline))
    {
        if constexpr (N == 2) {
            if (first < all.first) body(std::integral_constant<int, 0>{}, first);
            if (all.last < last) body(std::integral_constant<int, 1>{}, last - 1);
        }
    };
    E t[N], d[N];
    if constexpr (Op == band_op::plain) {
        unroll<N>([&](auto c) __attribute__((always_inline)) { t[c] = alpha * x[j + c]; });
        axpy_columns<typename band_rows<E>::axpy>(all, all.first, at, t, y, a.ahead(), edges);
    } else {
        dot_columns<typename band_rows<E>::dot, conjugate>(all, at, x, d, a.ahead(), edges);
    }
    if constexpr (Op != band_op::plain)
        unroll<N>([&](auto c) __attribute__((always_inline)) { y[j + c] = y[j + c] + alpha * d[c]; });
}

template <band_op Op, bool Cut, int Group, class E, class X, class Y>
[[gnu::always_inline]] inline void band_stretch(const general_band<E>& a, E alpha, X x, Y y, vrn_int j, vrn_int last)
{
    for (; last - j >= Group; j += Group) band_columns<Op, Cut, Group>(a, alpha, x, y, j);
    for (; Group > 1 && j < last; ++j) band_columns<Op, Cut, 1>(a, alpha, x, y, j);
}

template <band_op Op, int Group, class E, class X, class Y>
[[gnu::noinline, gnu::flatten]] void band_sweep(const general_band<E>& a, E alpha, X x, Y y)
{
    const auto least = [](vrn_int p, vrn_int q) { return p < q ? p : q; };
    // Columns past m + ku have no rows.
    const vrn_int last = least(a.n, a.m + a.ku), whole = least(a.ku, last);
    vrn_int cut = least(a.m, a.n) - a.kl;
    if (cut < whole) cut = whole;
    band_stretch<Op, true, Group>(a, alpha, x, y, 0, whole);
    band_stretch<Op, false, Group>(a, alpha, x, y, whole, cut);
    band_stretch<Op, true, Group>(a, alpha, x, y, cut, last);
}

// Pairs where both vectors lie together; else one column at a time, rows by 8.
template <band_op Op, class E>
void band_product(const general_band<E>& a, E alpha, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    if (incx == 1 && incy == 1) band_sweep<Op, 2>(a, alpha, unit_view<const E>{x}, unit_view<E>{y});
    else band_sweep<Op, 1>(a, alpha, strided_view<const E>{x, incx}, strided_view<E>{y, incy});
}

template <class E>
void gbmv(char trans, vrn_int m, vrn_int n, vrn_int kl, vrn_int ku, E alpha, const E* a, vrn_int lda, const E* x,
          vrn_int incx, E beta, E* y, vrn_int incy)
{
    if (m == 0 || n == 0 || (alpha == E{} && beta == simd::unity<E>)) return;
    const bool plain = trans == 'N' || trans == 'n';
    const vrn_int lenx = plain ? n : m, leny = plain ? m : n;
    apply_beta(leny, beta, y, incy);
    if (alpha == E{}) return;
    x = vector_begin(x, lenx, incx);
    y = vector_begin(y, leny, incy);
    const general_band<E> band{a, lda, m, n, kl, ku};
    if (plain) return band_product<band_op::plain>(band, alpha, x, incx, y, incy);
    if constexpr (simd::element<E>::parts == 2)
        if (trans == 'C' || trans == 'c') return band_product<band_op::conjugate>(band, alpha, x, incx, y, incy);
    band_product<band_op::transposed>(band, alpha, x, incx, y, incy);
}

} // namespace vrn::blas::banded
