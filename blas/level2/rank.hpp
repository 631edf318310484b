// blas/level2/rank.hpp - A := alpha x x^T + A and A := alpha (x y^T + y x^T) + A on one triangle, for complex types
// x^H and y^H and a Hermitian A. Instantiated by rank.cpp.
//
// Column by column, rows in blocks of 8 and less. A column whose factors are zero is skipped, so that a NaN that it
// would meet is not let into A. Elements are computed alone, a_ij + x_i t + y_i u from the left, so neither strides
// nor alignment nor the cut into slices show in the result. A Hermitian diagonal is stored with imaginary part zero,
// and what stood there is not read. Nothing is allocated.
//
// Peel: the rows of a column start at an aligned element and A is met by aligned accesses.
#pragma once

#include "blas/level2/lanes.hpp"
#include "blas/level2/staging.hpp"

namespace vrn::blas {

// A vector of the update, at unit stride or any other, begun at its element of index 0.
template <bool Unit, class E>
struct stream {
    const E* x;
    vrn_int inc;
    E operator[](vrn_int i) const { return x[Unit ? i : i * inc]; }
    template <int Count>
    [[gnu::always_inline]] auto load(vrn_int i) const
    {
        if constexpr (Unit) return lanes<E>::template load<Count>(x + i);
        else return lanes<E>::template gather<Count>(x + i * inc, inc);
    }
};

// Two: with y. The columns offset .. offset+count-1 of a triangle of order n.
template <bool Two, bool Peel, class E, class A, class X>
[[gnu::noinline, gnu::flatten]] void rank_columns(bool lower, vrn_int offset, vrn_int count_here, vrn_int n, A alpha,
                                                  X x, X y, E* a, vrn_int lda)
{
    using L = lanes<E>;
    constexpr bool hermitian = L::parts == 2;
    constexpr int turn = 8 / L::full < 2 ? 2 : 8 / L::full; // blocks of 8 rows
    for (vrn_int j = offset; j < offset + count_here; ++j) {
        E* const column = a + j * lda;
        const E xj = x[j], yj = Two ? y[j] : E{};
        if (xj == E{} && yj == E{}) {
            if constexpr (hermitian) column[j].im = 0;
            continue;
        }
        E t, u{}; // of x and of y
        if constexpr (!hermitian) t = alpha * (Two ? yj : xj), u = alpha * xj;
        else if constexpr (!Two) t = alpha * conj(xj);
        else t = alpha * conj(yj), u = conj(alpha * xj);
        const factor<E> by_t(t), by_u(u);
        vrn_int from = lower ? j : 0, to = lower ? n : j + 1;
        if constexpr (hermitian) {
            column[j] = {column[j].re + (Two ? by_t(xj) + by_u(yj) : by_t(xj)).re, 0};
            lower ? ++from : --to;
        }
        vrn_int peel = 0;
        if constexpr (Peel) peel = peel_count(column + from, to - from);
        sweep_rows<E, turn>(
            {from, to, peel}, [&](vrn_int i, auto count, auto) __attribute__((always_inline)) {
                auto v = L::template load<count, Peel>(column + i) + by_t(x.template load<count>(i));
                if constexpr (Two) v = v + by_u(y.template load<count>(i));
                L::template store<count, Peel>(column + i, v);
            });
    }
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
