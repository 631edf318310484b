// blas/banded/triangular.hpp - x := op(A) x and x := inv(op(A)) x in place, A triangular, a band or packed.
// A sweep over groups of columns. A group's own small triangle is walked column by column; the rows that all its
// columns reach beyond it are one axpy of the whole group, ahead of the triangle in a product and behind it in a
// solution, or one dot for op = T, C. Solutions divide by the diagonal element, not by its reciprocal, and do not
// look whether it is zero. Instantiated by tbmv.cpp, tbsv.cpp and packed/tpmv.cpp, packed/tpsv.cpp. Nothing is
// allocated.
#pragma once

#include "blas/banded/layout.hpp"
#include "blas/banded/tables.hpp"

namespace vrn::blas::banded {

struct triangle_op {
    bool solve, transposed, conjugate, unit_diagonal;
};

// Which way the columns are walked: a product leaves alone what later columns still read, a solution starts where a
// row has one unknown.
template <triangle_op Op, class T>
inline constexpr bool ascending = (T::upper != Op.transposed) != Op.solve;

inline float negative(float a) { return -a; }
inline double negative(double a) { return -a; }
template <class R>
cplx<R> negative(cplx<R> a)
{
    return {-a.re, -a.im};
}

inline float quotient(float a, float b) { return a / b; }
inline double quotient(double a, double b) { return a / b; }
// By the larger part of b first (Smith 1962): b * conj(b) would overflow or vanish half-way up the exponents. What
// depends on b alone is ready before a is, so a solution waits for one division a column.
template <class R>
cplx<R> quotient(cplx<R> a, cplx<R> b)
{
    if (std::fabs(b.re) >= std::fabs(b.im)) {
        const R r = b.im / b.re, size = b.re + b.im * r;
        return {(a.re + a.im * r) / size, (a.im - a.re * r) / size};
    }
    const R r = b.re / b.im, size = b.im + b.re * r;
    return {(a.re * r + a.im) / size, (a.im * r - a.re) / size};
}

// The group's own x stay in registers from the first column to the last: in a solution each waits for the one before.
template <triangle_op Op, int N, class T, class X>
[[gnu::always_inline]] inline void triangle_columns(const T& a, X x, vrn_int j0)
{
    using E = typename X::element;
    using blocks = typename triangle_rows<E, T::packed>::blocks;
    const group<ascending<Op, T>, N, T> g(a, j0);
    const auto take = [&](auto from) __attribute__((always_inline)) { return conjugated<Op.conjugate>(from); };
    E own[N], d[N] = {};
    unroll<N>([&](auto c) __attribute__((always_inline)) { own[c] = x[g.column(c)]; });
    if constexpr (Op.transposed) {
        dot_columns<blocks, Op.conjugate>(g.common, g.at, x, d, g.ahead(), g.edges());
    } else if constexpr (!Op.solve) {
        axpy_columns<blocks>(g.common, g.common.first, g.at, own, x, g.ahead(), g.edges());
    }

    if constexpr (Op.solve) {
        unroll<N>([&](auto c) __attribute__((always_inline)) {
            if constexpr (Op.transposed) own[c] = own[c] - d[c];
        });
        unroll<N>([&](auto c) __attribute__((always_inline)) {
            if constexpr (!Op.unit_diagonal) own[c] = quotient(own[c], take(g.diagonal(c)));
            unroll<N>([&](auto later) __attribute__((always_inline)) {
                if constexpr (later > c)
                    own[later] = own[later] - (Op.transposed ? take(g.inner(c, later)) : g.inner(later, c)) * own[c];
            });
        });
    } else {
        E sum[N];
        unroll<N>([&](auto c) __attribute__((always_inline)) {
            sum[c] = Op.unit_diagonal ? own[c] : take(g.diagonal(c)) * own[c];
        });
        g.each_inner([&](auto c, auto row) __attribute__((always_inline)) {
            if constexpr (Op.transposed) sum[c] = sum[c] + take(g.inner(row, c)) * own[row];
            else sum[row] = sum[row] + g.inner(row, c) * own[c];
        });
        unroll<N>([&](auto c) __attribute__((always_inline)) { own[c] = Op.transposed ? sum[c] + d[c] : sum[c]; });
    }
    unroll<N>([&](auto c) __attribute__((always_inline)) { x[g.column(c)] = own[c]; });

    if constexpr (Op.solve && !Op.transposed) {
        unroll<N>([&](auto c) __attribute__((always_inline)) { own[c] = negative(own[c]); });
        axpy_columns<blocks>(g.common, g.common.first, g.at, own, x, g.ahead(), g.edges());
    }
}

template <triangle_op Op, int Group, class T, class X>
[[gnu::noinline, gnu::flatten]] void triangle_sweep(const T& a, X x)
{
    if constexpr (ascending<Op, T>) {
        vrn_int j = 0;
        for (; a.n - j >= Group; j += Group) triangle_columns<Op, Group>(a, x, j);
        for (; Group > 1 && j < a.n; ++j) triangle_columns<Op, 1>(a, x, j);
    } else {
        vrn_int j = a.n;
        for (; j >= Group; j -= Group) triangle_columns<Op, Group>(a, x, j - Group);
        for (; Group > 1 && j > 0; --j) triangle_columns<Op, 1>(a, x, j - 1);
    }
}

// The case of the option letters. Real: C is T.
template <bool Solve, int Group, class T, class E>
void triangle_case(char trans, char diag, const T& a, E* x, vrn_int incx)
{
    const bool unit = diag == 'U' || diag == 'u';
    const auto run = [&]<bool Transposed, bool Conjugate>() {
        const auto go = [&]<bool Unit>() {
            constexpr triangle_op op{Solve, Transposed, Conjugate, Unit};
            if (incx == 1 && a.band() >= least_band<Group>) triangle_sweep<op, Group>(a, unit_view<E>{x});
            else if (incx == 1) triangle_sweep<op, 1>(a, unit_view<E>{x});
            else triangle_sweep<op, 1>(a, strided_view<E>{vector_begin(x, a.n, incx), incx});
        };
        unit ? go.template operator()<true>() : go.template operator()<false>();
    };
    if (trans == 'N' || trans == 'n') return run.template operator()<false, false>();
    if constexpr (simd::element<E>::parts == 2)
        if (trans == 'C' || trans == 'c') return run.template operator()<true, true>();
    run.template operator()<true, false>();
}

template <bool Solve, int Group, class E>
void triangular_band(char uplo, char trans, char diag, vrn_int n, vrn_int k, const E* a, vrn_int lda, E* x,
                     vrn_int incx)
{
    if (uplo == 'U' || uplo == 'u')
        triangle_case<Solve, Group>(trans, diag, band_triangle<E, true>{a, n, lda, k}, x, incx);
    else triangle_case<Solve, Group>(trans, diag, band_triangle<E, false>{a, n, lda, k}, x, incx);
}

template <bool Solve, class E>
void triangular_packed(char uplo, char trans, char diag, vrn_int n, const E* ap, E* x, vrn_int incx)
{
    constexpr int group = triangle_rows<E, true>::group;
    if (uplo == 'U' || uplo == 'u')
        triangle_case<Solve, group>(trans, diag, packed_triangle<E, true>{ap, n}, x, incx);
    else triangle_case<Solve, group>(trans, diag, packed_triangle<E, false>{ap, n}, x, incx);
}

} // namespace vrn::blas::banded
