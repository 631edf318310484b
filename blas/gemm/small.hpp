// blas/gemm/small.hpp - C := alpha op(A) op(B) + beta C for m, n and k up to 10, one kernel a depth.
//
// Depth is unrolled in full. With A as stored, rows are lanes and four columns of C go together. Where rows of
// op(A) and columns of op(B) both lie along the depth, d sums them by its dot-product instruction; that of s was
// measured at half the speed of turning op(A) on the stack first, as both types do when B is transposed too.
#pragma once

#include "blas/gemm/mscale.hpp"
#include "blas/gemm/product.hpp"
#include "blas/gemm/rows.hpp"
#include "blas/gemm/tables.hpp"
#include "frame/services.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

#include <cstdint>

namespace vrn::blas::small {

using simd::unroll;
using simd::vec;

inline constexpr int largest = 10; // of m, n and k

// Rows x Columns of C. Element (kk, j) of op(B) is b[kk*brow + j*bcol].
template <int K, int Rows, int Columns, class T>
[[gnu::always_inline]] inline void lanes_tile(const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol,
                                              T alpha, T* c, vrn_int ldc)
{
    using R = rows<T, Rows>;
    using V = vec<T>;
    V acc[Columns][R::count];
    unroll<K>([&](auto kk) {
        V x[R::count];
        unroll<R::count>([&](auto r) { x[r] = R::template load<r>(a); });
        unroll<Columns>([&](auto j) {
            const V y = V::all(b[j * bcol]);
            unroll<R::count>([&](auto r) {
                if constexpr (kk == 0) acc[j][r] = x[r] * y;
                else acc[j][r] = acc[j][r] + x[r] * y;
            });
        });
        a += lda;
        b += brow;
        // Keeps the compiler from forming all addresses ahead of the row loop and spilling them.
        asm("" : "+r"(a), "+r"(b));
    });
    const V f = V::all(alpha);
    unroll<Columns>([&](auto j) {
        unroll<R::count>([&](auto r) {
            T* p = c + j * ldc;
            R::template store<r>(p, R::template load<r>(p) + acc[j][r] * f);
        });
    });
}

template <int K, int Columns, class T>
[[gnu::flatten]] void lanes_columns(vrn_int m, const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol,
                                    T alpha, T* c, vrn_int ldc)
{
    constexpr int l = vec<T>::lanes;
    vrn_int i = 0;
    const auto step = [&]<int Rows>() {
        lanes_tile<K, Rows, Columns>(a + i, lda, b, brow, bcol, alpha, c + i, ldc);
        i += Rows;
    };
    while (i + 2 * l <= m) step.template operator()<2 * l>();
    if (i + l <= m) step.template operator()<l>();
    if constexpr (l == 4) {
        if (m - i == 3) return step.template operator()<3>();
        if (m - i == 2) return step.template operator()<2>();
    }
    if (i < m) step.template operator()<1>();
}

// A as stored.
template <int K, class T>
void lanes(vrn_int m, vrn_int n, const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol, T alpha, T* c,
           vrn_int ldc)
{
    for (; n >= 4; n -= 4, b += 4 * bcol, c += 4 * ldc) lanes_columns<K, 4>(m, a, lda, b, brow, bcol, alpha, c, ldc);
    if (n >= 2) {
        lanes_columns<K, 2>(m, a, lda, b, brow, bcol, alpha, c, ldc);
        n -= 2, b += 2 * bcol, c += 2 * ldc;
    }
    if (n == 1) lanes_columns<K, 1>(m, a, lda, b, brow, bcol, alpha, c, ldc);
}

// The dot products of one or two rows of op(A) with one column of op(B), row r in lane r.
template <int K, int Rows>
inline vec<double> dots(const double* a, vrn_int lda, const double* b)
{
    __m128d sum = _mm_setzero_pd();
    unroll<(K + 1) / 2>([&](auto g) {
        constexpr bool odd = 2 * g + 1 == K;
        const auto part = [](const double* p) { return odd ? _mm_load_sd(p) : _mm_loadu_pd(p); };
        const __m128d y = part(b + 2 * g);
        sum = _mm_add_pd(sum, _mm_dp_pd(part(a + 2 * g), y, 0x31));
        if constexpr (Rows == 2) sum = _mm_add_pd(sum, _mm_dp_pd(part(a + lda + 2 * g), y, 0x32));
    });
    return {sum};
}

// Rows of op(A) and columns of op(B) both lie along the depth.
template <int K>
[[gnu::flatten]] void along_depth(vrn_int m, vrn_int n, const double* a, vrn_int lda, const double* b, vrn_int ldb,
                                  double alpha, double* c, vrn_int ldc)
{
    const vec<double> f = vec<double>::all(alpha);
    for (vrn_int j = 0; j < n; ++j, b += ldb, c += ldc) {
        vrn_int i = 0;
        for (; i + 2 <= m; i += 2) (vec<double>::loadu(c + i) + dots<K, 2>(a + i * lda, lda, b) * f).storeu(c + i);
        if (i < m) (vec<double>::load1(c + i) + dots<K, 1>(a + i * lda, lda, b) * f).store1(c + i);
    }
}

template <int K, class T>
void multiply(const product<T>& o)
{
    const bool a_normal = vrn_serv_lsame(o.transa, "N", 1, 1) != 0;
    const bool b_normal = vrn_serv_lsame(o.transb, "N", 1, 1) != 0;
    if (o.m == 0 || o.n == 0) return;
    if (o.beta != T{1}) mscale(o.m, o.n, o.beta, o.c, o.ldc);
    if (o.alpha == T{}) return;
    const vrn_int brow = b_normal ? 1 : o.ldb, bcol = b_normal ? o.ldb : 1;
    if (a_normal) return lanes<K>(o.m, o.n, o.a, o.lda, o.b, brow, bcol, o.alpha, o.c, o.ldc);
    if constexpr (vec<T>::lanes == 2)
        if (b_normal) return along_depth<K>(o.m, o.n, o.a, o.lda, o.b, o.ldb, o.alpha, o.c, o.ldc);
    T turned[K * largest];
    for (vrn_int i = 0; i < o.m; ++i)
        for (int kk = 0; kk < K; ++kk) turned[kk * largest + i] = o.a[kk + i * o.lda];
    lanes<K>(o.m, o.n, turned, largest, o.b, brow, bcol, o.alpha, o.c, o.ldc);
}

// k from 1 to 10; anything else is refused by returning.
template <class T>
void gemm(const product<T>& o)
{
    using kernel = void(const product<T>&);
    static constexpr kernel* kernels[] = {multiply<1, T>, multiply<2, T>, multiply<3, T>, multiply<4, T>,
                                          multiply<5, T>, multiply<6, T>, multiply<7, T>, multiply<8, T>,
                                          multiply<9, T>, multiply<10, T>};
    if (o.k < 1 || o.k > largest) return;
    kernels[o.k - 1](o);
}

// Instantiated by small.cpp: the unrolled kernels are the bulk of this folder's code.
extern template void gemm(const product<float>&);
extern template void gemm(const product<double>&);

} // namespace vrn::blas::small
