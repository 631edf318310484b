// blas/packed/rank.hpp - A := alpha x x' + A and A := alpha x y' + alpha y x' + A, A symmetric and packed; for
// complex types Hermitian, x x^H with real alpha and alpha x y^H + conj(alpha) y x^H, where the imaginary parts of
// the diagonal are not read and become 0. Instantiated by spr.cpp. Nothing is allocated.
//
// One column after another, each in one pass: x and y stand where columns of a matrix stand in banded/columns.hpp,
// and the packed column is what they are added to. A column whose factors are all 0 is left alone, NaN and all.
#pragma once

#include "blas/banded/layout.hpp"

namespace vrn::blas::packed {

using banded::columns;
using banded::span;
using banded::strided_columns;
using banded::unit_view;

template <class E>
struct rank_rows {
    using blocks = steps<8, 2>;
};
// Eight singles are but two vectors: as long again, or the loop itself counts.
template <>
struct rank_rows<float> {
    using blocks = steps<16, 8, 4, 2>;
};

// S tells where x, and y, lie; Rank is how many they are.
template <bool Peel, bool Upper, int Rank, class E, class A, class S>
[[gnu::noinline, gnu::flatten]] void rank_sweep(vrn_int n, A alpha, S s, E* ap)
{
    constexpr bool hermitian = simd::element<E>::parts == 2;
    for (vrn_int j = 0; j < n; ++j) {
        E* const column = ap + banded::packed_column<Upper>(n, j);
        E v[Rank], t[Rank];
        bool zero = true;
        unroll<Rank>([&](auto c) __attribute__((always_inline)) {
            v[c] = *s.row(c, j);
            zero = zero && v[c] == E{};
        });
        if (zero) {
            if constexpr (hermitian) column[j].im = 0;
            continue;
        }
        // What x is multiplied by comes from y, and the other way round.
        using banded::conjugated;
        t[0] = alpha * conjugated<hermitian>(v[Rank - 1]);
        if constexpr (Rank == 2) t[1] = conjugated<hermitian>(alpha * v[0]);
        // A real diagonal is a row like others.
        const vrn_int apart = hermitian ? 1 : 0;
        const span rows = Upper ? span{0, j + 1 - apart} : span{j + apart, n};
        banded::axpy_columns<typename rank_rows<E>::blocks, Peel>(rows, column - ap + rows.first, s, t,
                                                                  unit_view<E>{column}, 0, banded::no_edges);
        if constexpr (hermitian) {
            E sum = t[0] * v[0];
            if constexpr (Rank == 2) sum = sum + t[1] * v[1];
            column[j] = {column[j].re + sum.re, 0};
        }
    }
}

template <bool Peel, int Rank, class E, class A, class S>
void rank_case(char uplo, vrn_int n, A alpha, const S& s, E* ap)
{
    if (uplo == 'U' || uplo == 'u') rank_sweep<Peel, true, Rank>(n, alpha, s, ap);
    else rank_sweep<Peel, false, Rank>(n, alpha, s, ap);
}

template <class E, class A>
[[gnu::noinline]] void spr(char uplo, vrn_int n, A alpha, const E* x, vrn_int incx, E* ap)
{
    if (incx == 1) return rank_case<false, 1>(uplo, n, alpha, columns<1, E>{{x}}, ap);
    rank_case<false, 1>(uplo, n, alpha, strided_columns<1, E>{{vector_begin(x, n, incx)}, {incx}}, ap);
}

template <bool Peel, class E>
[[gnu::noinline]] void spr2(char uplo, vrn_int n, E alpha, const E* x, vrn_int incx, const E* y, vrn_int incy, E* ap)
{
    if (incx == 1 && incy == 1) return rank_case<Peel, 2>(uplo, n, alpha, columns<2, E>{{x, y}}, ap);
    const strided_columns<2, E> s{{vector_begin(x, n, incx), vector_begin(y, n, incy)}, {incx, incy}};
    rank_case<false, 2>(uplo, n, alpha, s, ap);
}

} // namespace vrn::blas::packed
