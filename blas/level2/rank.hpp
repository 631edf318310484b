// blas/level2/rank.hpp - A := alpha x x^T + A and A := alpha (x y^T + y x^T) + A on one triangle, for complex types
// x^H and y^H and a Hermitian A. Instantiated by rank.cpp.
//
// Columns in groups that share the loads of x and y: the square on the diagonal element by element, the rows beside
// it by update.hpp. A column whose factors are zero is skipped, so that a NaN that it would meet is not let into A; a
// group that holds one goes column by column. Elements are computed alone, a_ij + x_i t + y_i u from the left, so
// neither strides nor alignment nor the cut into slices show in the result. A Hermitian diagonal is stored with
// imaginary part zero, and what stood there is not read. Nothing is allocated.
//
// Peel: the rows of a group start at an aligned element of its first column and, where the leading dimension allows
// it, A is met by aligned accesses.
#pragma once

#include "blas/level2/staging.hpp"
#include "blas/level2/update.hpp"

namespace vrn::blas {

// Columns of a group: two, where two complex vectors' factors fill eight registers.
template <bool Two, class E>
inline constexpr int rank_group = Two&& simd::element<E>::parts == 2 ? 2 : 4;

// Two: with y. The columns offset .. offset+count-1 of a triangle of order n.
template <bool Two, bool Peel, class E, class A, class X>
[[gnu::noinline, gnu::flatten]] void rank_columns(bool lower, vrn_int offset, vrn_int count_here, vrn_int n, A alpha,
                                                  X x, X y, E* a, vrn_int lda)
{
    constexpr bool hermitian = simd::element<E>::parts == 2;
    const auto group = [&](vrn_int j, auto columns, bool skip) __attribute__((always_inline))
    {
        E t[columns], u[columns] = {}; // of x and of y
        unroll<columns>([&](auto c) __attribute__((always_inline)) {
            const E xj = x[j + c], yj = Two ? y[j + c] : E{};
            if constexpr (!hermitian) t[c] = alpha * (Two ? yj : xj), u[c] = alpha * xj;
            else if constexpr (!Two) t[c] = alpha * conj(xj);
            else t[c] = alpha * conj(yj), u[c] = conj(alpha * xj);
        });
        E* const column = a + j * lda;
        // The square, an element a time, in vectors all the same: complex products then need no shuffling about.
        using L = lanes<E>;
        using V = typename L::V;
        unroll<columns>([&](auto c) __attribute__((always_inline)) {
            E* const square = column + j + c * lda;
            if (skip) {
                if constexpr (hermitian) square[c].im = 0;
                return;
            }
            const scaled_by<E> by_t(t[c]), by_u(u[c]);
            unroll<columns>([&](auto r) __attribute__((always_inline)) {
                if (lower ? r < c : r > c) return;
                const V xr = x.template load<1>(j + r);
                constexpr bool real_only = hermitian && r == c; // of what stood there and of what is stored
                V v = real_only ? V::load1(L::real(square + r)) : L::template load<1>(square + r);
                v = v + by_t(xr, swapped_if_complex<V, E>(xr));
                if constexpr (Two) {
                    const V yr = y.template load<1>(j + r);
                    v = v + by_u(yr, swapped_if_complex<V, E>(yr));
                }
                L::template store<1>(square + r, real_only ? lowest(v) : v);
            });
        });
        if (skip) return;
        const vrn_int from = lower ? j + columns : 0, to = lower ? n : j;
        vrn_int peel = 0;
        if constexpr (Peel) peel = peel_count(column + from, to - from);
        const bool aligned = Peel && place(column + from + peel) == 0 && aligned_columns<E>(nullptr, lda);
        const auto run = [&](auto is_aligned) __attribute__((always_inline))
        {
            update_columns<columns, Two, is_aligned>({from, to, peel}, x, t, y, u, column, lda);
        };
        if (aligned) run(std::bool_constant<Peel>{});
        else run(std::false_type{});
    };
    const auto is_idle = [&](vrn_int j) { return x[j] == E{} && (!Two || y[j] == E{}); };
    column_groups<rank_group<Two, E>>(
        count_here, [&](vrn_int g, auto columns) __attribute__((always_inline)) {
            const vrn_int j = offset + g;
            bool idle = false;
            for (int c = 0; c < columns; ++c) idle |= is_idle(j + c);
            if (!idle) [[likely]]
                return group(j, columns, false);
            for (int c = 0; c < columns; ++c) group(j + c, count_of<1>{}, is_idle(j + c));
        });
}

template <bool Two, bool Peel, class E, class A>
[[gnu::always_inline]] inline void rank_update(const char* uplo, vrn_int offset, vrn_int count, vrn_int n, A alpha,
                                               const E* x, vrn_int incx, const E* y, vrn_int incy, E* a, vrn_int lda)
{
    const bool lower = is_letter(uplo, 'L');
    x = vector_begin(x, n, incx);
    y = vector_begin(y, n, incy);
    if (incx == 1 && incy == 1)
        rank_columns<Two, Peel>(lower, offset, count, n, alpha, stream<true, E>{x, 1}, stream<true, E>{y, 1}, a, lda);
    else
        rank_columns<Two, Peel>(lower, offset, count, n, alpha, stream<false, E>{x, incx}, stream<false, E>{y, incy},
                                a, lda);
}

} // namespace vrn::blas
