// blas/gemm/small.hpp - C := alpha op(A) op(B) + beta C for m, n and k up to 10, one kernel a depth.
//
// Depth is unrolled in full. With A as stored, rows are lanes and four columns of C go together. Where rows of
// op(A) and columns of op(B) both lie along the depth, d sums them by its dot-product instruction; that of s was
// measured at half the speed of turning op(A) on the stack first, as all types do when B is transposed too.
// Conjugates are made on the stack.
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

inline constexpr int largest = small_largest; // of m, n and k

// Rows x Columns of C. Element (kk, j) of op(B) is b[kk*brow + j*bcol].
template <int K, int Rows, int Columns, class T>
[[gnu::always_inline]] inline void lanes_tile(const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol,
                                              T alpha, T* c, vrn_int ldc)
{
    using R = rows<T, Rows>;
    row_sum<T> acc[Columns][R::count];
    unroll<K>([&](auto kk) {
        terms<T> x[R::count];
        unroll<R::count>([&](auto r) { x[r] = R::template take<r>(a); });
        unroll<Columns>([&](auto j) {
            const auto y = spread(b + j * bcol);
            unroll<R::count>([&](auto r) {
                if constexpr (kk == 0) acc[j][r] = row_sum<T>::first(x[r], y);
                else acc[j][r].add(x[r], y);
            });
        });
        a += lda;
        b += brow;
        // Keeps the compiler from forming all addresses ahead of the row loop and spilling them.
        asm("" : "+r"(a), "+r"(b));
    });
    const sum_factor<T> f(alpha);
    unroll<Columns>([&](auto j) {
        unroll<R::count>([&](auto r) {
            T* p = c + j * ldc;
            R::template store<r>(p, R::template load<r>(p) + f(acc[j][r].value()));
        });
    });
}

template <int K, int Columns, class T>
[[gnu::flatten]] void lanes_columns(vrn_int m, const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol,
                                    T alpha, T* c, vrn_int ldc)
{
    constexpr int l = simd::per_vec<T>;
    vrn_int i = 0;
    const auto step = [&]<int Rows>() {
        lanes_tile<K, Rows, Columns>(a + i, lda, b, brow, bcol, alpha, c + i, ldc);
        i += Rows;
    };
    // A complex vector takes two sums, so that one vector of rows fills the registers.
    if constexpr (simd::element<T>::parts == 1)
        while (i + 2 * l <= m) step.template operator()<2 * l>();
    while (i + l <= m) step.template operator()<l>();
    if constexpr (l == 4) {
        if (m - i == 3) return step.template operator()<3>();
        if (m - i == 2) return step.template operator()<2>();
    }
    if constexpr (l > 1)
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

// op(X), transposed where `turn` asks for it and conjugated where `conjugate` does, as a matrix on the stack.
template <int Columns, class T>
void on_stack(vrn_int m, bool turn, bool conjugate, const T* x, vrn_int ld, T* to)
{
    using V = simd::vec<simd::real_of<T>>;
    const vrn_int row = turn ? ld : 1, column = turn ? 1 : ld;
    for (vrn_int i = 0; i < m; ++i, x += row, ++to)
        unroll<Columns>([&](auto j) {
            const T* from = x + j * column;
            if constexpr (simd::element<T>::parts == 1) {
                to[j * largest] = *from;
            } else {
                // Whole numbers: they are loaded again as such, and a wide load behind two narrow stores would wait.
                using one = rows<T, 1>;
                const V e = one::template load<0>(from);
                one::template store<0>(to + j * largest, conjugate ? e * V::pair(1, -1) : e);
            }
        });
}

template <int K, class T>
void multiply(const product<T>& o)
{
    const bool a_normal = vrn_serv_lsame(o.transa, "N", 1, 1) != 0;
    const bool b_normal = vrn_serv_lsame(o.transb, "N", 1, 1) != 0;
    if (o.m == 0 || o.n == 0) return;
    if (o.beta != simd::unity<T>) mscale(o.m, o.n, o.beta, o.c, o.ldc);
    if (o.alpha == T{}) return;
    const T* b = o.b;
    vrn_int brow = b_normal ? 1 : o.ldb, bcol = b_normal ? o.ldb : 1;
    T conjugate[K * largest];
    if constexpr (simd::element<T>::parts == 2)
        if (o.b_conjugated()) {
            on_stack<K>(o.n, false, true, o.b, o.ldb, conjugate);
            b = conjugate, brow = largest;
        }
    if (a_normal) return lanes<K>(o.m, o.n, o.a, o.lda, b, brow, bcol, o.alpha, o.c, o.ldc);
    if constexpr (std::is_same_v<T, double>)
        if (b_normal) return along_depth<K>(o.m, o.n, o.a, o.lda, o.b, o.ldb, o.alpha, o.c, o.ldc);
    T turned[K * largest];
    on_stack<K>(o.m, true, o.a_conjugated(), o.a, o.lda, turned);
    lanes<K>(o.m, o.n, turned, largest, b, brow, bcol, o.alpha, o.c, o.ldc);
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
extern template void gemm(const product<simd::cplx<float>>&);
extern template void gemm(const product<simd::cplx<double>>&);

} // namespace vrn::blas::small
