// blas/banded/symmetric.hpp - y := alpha A x + beta y, A symmetric or, for complex types, Hermitian, one triangle of
// it stored as a band or packed. A sweep over columns in pairs; one pass over a stored column gives both what it adds
// to y and its dot with x, which is the row's share. The imaginary part of a diagonal element is not read.
// Instantiated by sbmv.cpp and packed/spmv.cpp. Nothing is allocated.
#pragma once

#include "blas/banded/layout.hpp"
#include "blas/banded/tables.hpp"
#include "blas/level2/beta.hpp"

namespace vrn::blas::banded {

template <class R>
R diagonal_times(R d, R x)
{
    return d * x;
}
template <class R>
cplx<R> diagonal_times(cplx<R> d, cplx<R> x)
{
    return d.re * x;
}

template <bool Peel, int N, class E, class T, class X, class Y>
[[gnu::always_inline]] inline void symmetric_columns(const T& a, E alpha, X x, Y y, vrn_int j0)
{
    constexpr bool hermitian = simd::element<E>::parts == 2;
    const group<true, N, T> g(a, j0);
    E xs[N], t[N], d[N], own[N];
    unroll<N>([&](auto c) __attribute__((always_inline)) {
        xs[c] = x[j0 + c];
        t[c] = alpha * xs[c];
        own[c] = diagonal_times(g.diagonal(c), t[c]);
    });
    both_columns<typename symmetric_rows<E>::both, hermitian, Peel>(g.common, g.at, t, x, y, d, g.ahead(), g.edges());
    g.each_inner([&](auto c, auto row) __attribute__((always_inline)) {
        const E v = g.inner(row, c);
        own[row] = own[row] + t[c] * v;
        d[c] = d[c] + conjugated<hermitian>(v) * xs[row];
    });
    unroll<N>([&](auto c) __attribute__((always_inline)) { y[j0 + c] = y[j0 + c] + (own[c] + alpha * d[c]); });
}

template <bool Peel, int Group, class E, class T, class X, class Y>
[[gnu::noinline, gnu::flatten]] void symmetric_sweep(const T& a, E alpha, X x, Y y)
{
    vrn_int j = 0;
    for (; a.n - j >= Group; j += Group) symmetric_columns<Peel, Group>(a, alpha, x, y, j);
    for (; Group > 1 && j < a.n; ++j) symmetric_columns<Peel, 1>(a, alpha, x, y, j);
}

template <bool Peel, class E, class T>
void symmetric_product(const T& a, E alpha, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    if (incx == 1 && incy == 1 && a.band() >= least_band<symmetric_group>)
        symmetric_sweep<Peel, symmetric_group>(a, alpha, unit_view<const E>{x}, unit_view<E>{y});
    else if (incx == 1 && incy == 1) symmetric_sweep<Peel, 1>(a, alpha, unit_view<const E>{x}, unit_view<E>{y});
    else
        symmetric_sweep<false, 1>(a, alpha, strided_view<const E>{vector_begin(x, a.n, incx), incx},
                                  strided_view<E>{vector_begin(y, a.n, incy), incy});
}

// What has nothing to add to y returns here, ahead of any question to the host.
template <class E>
bool nothing_to_do(vrn_int n, E alpha, E beta)
{
    return n == 0 || (alpha == E{} && beta == simd::unity<E>);
}

template <bool Peel, class E>
[[gnu::noinline]] void sbmv(char uplo, vrn_int n, vrn_int k, E alpha, const E* a, vrn_int lda, const E* x,
                            vrn_int incx, E beta, E* y, vrn_int incy)
{
    apply_beta(n, beta, y, incy);
    if (alpha == E{}) return;
    if (uplo == 'U' || uplo == 'u')
        symmetric_product<Peel>(band_triangle<E, true>{a, n, lda, k}, alpha, x, incx, y, incy);
    else symmetric_product<Peel>(band_triangle<E, false>{a, n, lda, k}, alpha, x, incx, y, incy);
}

template <class E>
[[gnu::noinline]] void spmv(char uplo, vrn_int n, E alpha, const E* ap, const E* x, vrn_int incx, E beta, E* y,
                            vrn_int incy)
{
    apply_beta(n, beta, y, incy);
    if (alpha == E{}) return;
    if (uplo == 'U' || uplo == 'u')
        symmetric_product<false>(packed_triangle<E, true>{ap, n}, alpha, x, incx, y, incy);
    else symmetric_product<false>(packed_triangle<E, false>{ap, n}, alpha, x, incx, y, incy);
}

} // namespace vrn::blas::banded
