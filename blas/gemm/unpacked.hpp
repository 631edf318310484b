// blas/gemm/unpacked.hpp - C := alpha op(A) op(B) + beta C with no buffer.
//
// For products too small or too thin to pack, and for when memory runs out. The depth goes in two passes, the
// multiple of 4 and then the 0 to 3 left over; the first applies beta. Columns of C in pairs and the odd one;
// rows, where they lie contiguous, in blocks of 8, then 2, then 1; of complex numbers, whose sums take twice the
// registers, in blocks of two vectors.
#pragma once

#include "blas/gemm/product.hpp"
#include "blas/gemm/rows.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

#include <cstdint>

namespace vrn::blas::unpacked {

using simd::unroll;
using simd::vec;

// How a pass treats C.
enum class update { store, add, scale };

// old and sum are elements or vectors of them.
template <update U, class X, class T>
inline X updated(X old, X sum, const simd::factor<T>& beta)
{
    if constexpr (U == update::store) return sum;
    if constexpr (U == update::add) return old + sum;
    return beta(old) + sum;
}

// One pass over `depth`, with A as stored: rows are lanes. Rows x Columns of C at a time.
template <update U, int Rows, int Columns, class T>
inline void rows_tile(vrn_int depth, T alpha, const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol,
                      bool conjugate_b, T beta, T* c, vrn_int ldc)
{
    using R = rows<T, Rows>;
    using V = typename R::V;
    row_sum<T> acc[Columns][R::count];
    unroll<Columns>([&](auto j) { unroll<R::count>([&](auto r) { acc[j][r] = row_sum<T>::zero(); }); });
    for (vrn_int kk = 0; kk < depth; ++kk, a += lda, b += brow) {
        V y[Columns];
        unroll<Columns>([&](auto j) { y[j] = spread(b + j * bcol); });
        unroll<R::count>([&](auto r) {
            const terms<T> x = R::template take<r>(a);
            unroll<Columns>([&](auto j) { acc[j][r].add(x, y[j]); });
        });
    }
    const simd::factor<T> f(alpha), g(beta);
    unroll<Columns>([&](auto j) {
        unroll<R::count>([&](auto r) {
            T* p = c + j * ldc;
            const V old = U == update::store ? V::zero() : R::template load<r>(p);
            R::template store<r>(p, updated<U>(old, f(acc[j][r].value(conjugate_b)), g));
        });
    });
}

template <class T>
inline T lane_sum(vec<T> x)
{
    alignas(16) T lane[vec<T>::lanes];
    x.store(lane);
    if constexpr (vec<T>::lanes == 2) return lane[0] + lane[1];
    return (lane[0] + lane[1]) + (lane[2] + lane[3]);
}

// The dot products of a with Columns columns of B, all along the depth, by whole vectors; returns how far they went.
// Two sums an element: their lanes and the pair of columns keep the adder busy.
template <int Columns, class T>
inline vrn_int dots(vrn_int depth, const T* a, bool, const T* b, vrn_int bcol, bool, T (&sum)[Columns])
{
    using V = vec<T>;
    V even[Columns], odd[Columns];
    unroll<Columns>([&](auto j) { even[j] = odd[j] = V::zero(); });
    vrn_int kk = 0;
    for (; kk + 2 * V::lanes <= depth; kk += 2 * V::lanes)
        unroll<Columns>([&](auto j) {
            even[j] = even[j] + V::loadu(a + kk) * V::loadu(b + kk + j * bcol);
            odd[j] = odd[j] + V::loadu(a + kk + V::lanes) * V::loadu(b + kk + V::lanes + j * bcol);
        });
    for (; kk + V::lanes <= depth; kk += V::lanes)
        unroll<Columns>([&](auto j) { even[j] = even[j] + V::loadu(a + kk) * V::loadu(b + kk + j * bcol); });
    unroll<Columns>([&](auto j) { sum[j] = lane_sum(even[j] + odd[j]); });
    return kk;
}
// Of complex numbers one sum holds (xu yv), the other (xv yu), and the conjugations are signs of their lanes.
template <int Columns, class R>
inline vrn_int dots(vrn_int depth, const simd::cplx<R>* a, bool conjugate_a, const simd::cplx<R>* b, vrn_int bcol,
                    bool conjugate_b, simd::cplx<R> (&sum)[Columns])
{
    using V = vec<R>;
    constexpr int per = simd::per_vec<simd::cplx<R>>;
    V straight[Columns], crossed[Columns];
    unroll<Columns>([&](auto j) { straight[j] = crossed[j] = V::zero(); });
    vrn_int kk = 0;
    for (; kk + per <= depth; kk += per) {
        const V x = V::loadu(&a[kk].re);
        unroll<Columns>([&](auto j) {
            const V y = V::loadu(&b[kk + j * bcol].re);
            straight[j] = straight[j] + x * y;
            crossed[j] = crossed[j] + x * swap_parts(y);
        });
    }
    const R sign_a = conjugate_a ? -1 : 1, sign_b = conjugate_b ? -1 : 1;
    const V re = V::pair(1, -sign_a * sign_b), im = V::pair(sign_b, sign_a);
    unroll<Columns>([&](auto j) { sum[j] = {lane_sum(straight[j] * re), lane_sum(crossed[j] * im)}; });
    return kk;
}

template <class R>
inline R conjugate_if(bool, R x)
{
    return x;
}
template <class R>
inline simd::cplx<R> conjugate_if(bool conjugate, simd::cplx<R> x)
{
    return {x.re, conjugate ? -x.im : x.im};
}

// The same with A transposed: rows of op(A) lie along the depth, which is taken by lanes where the columns of
// op(B) do so too.
template <update U, int Columns, class T>
inline void depth_tile(const product<T>& o, vrn_int depth, const T* a, const T* b, vrn_int brow, vrn_int bcol, T* c)
{
    const bool conjugate_a = o.a_conjugated(), conjugate_b = o.b_conjugated();
    T sum[Columns] = {};
    vrn_int kk = 0;
    if (brow == 1 && depth >= 4) kk = dots(depth, a, conjugate_a, b, bcol, conjugate_b, sum);
    for (; kk < depth; ++kk) {
        const T x = conjugate_if(conjugate_a, a[kk]);
        unroll<Columns>(
            [&](auto j) { sum[j] = sum[j] + x * conjugate_if(conjugate_b, b[kk * brow + j * bcol]); });
    }
    const simd::factor<T> f(o.alpha), g(o.beta);
    unroll<Columns>([&](auto j) {
        T* p = c + j * o.ldc;
        *p = updated<U>(U == update::store ? T{} : *p, f(sum[j]), g);
    });
}

template <update U, int Columns, class T>
[[gnu::flatten]] void columns(const product<T>& o, vrn_int k0, vrn_int depth, vrn_int j)
{
    const vrn_int brow = o.b_normal() ? 1 : o.ldb, bcol = o.b_normal() ? o.ldb : 1;
    const T* b = o.b + k0 * brow + j * bcol;
    T* c = o.c + j * o.ldc;
    if (o.a_normal()) {
        const T* a = o.a + k0 * o.lda;
        const bool conjugate_b = o.b_conjugated();
        vrn_int i = 0;
        const auto tile = [&]<int Rows>() {
            rows_tile<U, Rows, Columns>(depth, o.alpha, a + i, o.lda, b, brow, bcol, conjugate_b, o.beta, c + i,
                                        o.ldc);
            i += Rows;
        };
        // Four vectors by two columns fill eight accumulators, of complex numbers two: for s that takes two blocks of
        // 8 rows.
        constexpr int block = simd::element<T>::parts == 1 ? 8 : 2 * simd::per_vec<T>;
        if constexpr (simd::per_vec<T> == 4)
            while (i + 16 <= o.m) tile.template operator()<16>();
        while (i + block <= o.m) tile.template operator()<block>();
        // The blocks of 2 and the odd row that are left, side by side, so that their sums overlap.
        const vrn_int left = o.m - i;
        unroll<block - 1>([&](auto r) {
            if (left == r + 1) tile.template operator()<r + 1>();
        });
    } else {
        for (vrn_int i = 0; i < o.m; ++i)
            depth_tile<U, Columns>(o, depth, o.a + i * o.lda + k0, b, brow, bcol, c + i);
    }
}

template <update U, class T>
void pass(const product<T>& o, vrn_int k0, vrn_int depth)
{
    const vrn_int even = o.n & ~vrn_int{1};
    for (vrn_int j = 0; j < even; j += 2) columns<U, 2>(o, k0, depth, j);
    if (even < o.n) columns<U, 1>(o, k0, depth, even);
}

template <class T>
void gemm(const product<T>& o)
{
    const vrn_int k4 = o.k & ~vrn_int{3};
    const auto first = o.beta == T{}    ? pass<update::store, T>
                       : o.beta == simd::unity<T> ? pass<update::add, T>
                                        : pass<update::scale, T>;
    // With no multiple of 4 the pass over the rest is the first.
    if (k4 == 0) return first(o, 0, o.k);
    first(o, 0, k4);
    if (k4 < o.k) pass<update::add>(o, k4, o.k - k4);
}

} // namespace vrn::blas::unpacked
