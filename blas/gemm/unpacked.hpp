// blas/gemm/unpacked.hpp - C := alpha op(A) op(B) + beta C with no buffer.
//
// For products too small or too thin to pack, and for when memory runs out. The depth goes in two passes, the
// multiple of 4 and then the 0 to 3 left over; the first applies beta. Columns of C in pairs and the odd one;
// rows, where they lie contiguous, in blocks of 8, then 2, then 1.
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

template <update U, class X>
inline X updated(X old, X sum, X beta)
{
    if constexpr (U == update::store) return sum;
    if constexpr (U == update::add) return old + sum;
    return beta * old + sum;
}

template <update U, class T>
inline void put(T* c, T sum, T beta)
{
    *c = updated<U>(U == update::store ? T{} : *c, sum, beta);
}

// One pass over `depth`, with A as stored: rows are lanes. Rows x Columns of C at a time.
template <update U, int Rows, int Columns, class T>
inline void rows_tile(vrn_int depth, T alpha, const T* a, vrn_int lda, const T* b, vrn_int brow, vrn_int bcol, T beta,
                      T* c, vrn_int ldc)
{
    using R = rows<T, Rows>;
    using V = vec<T>;
    V acc[Columns][R::count];
    unroll<Columns>([&](auto j) { unroll<R::count>([&](auto r) { acc[j][r] = V::zero(); }); });
    for (vrn_int kk = 0; kk < depth; ++kk, a += lda, b += brow) {
        V y[Columns];
        unroll<Columns>([&](auto j) { y[j] = V::all(b[j * bcol]); });
        unroll<R::count>([&](auto r) {
            const V x = R::template load<r>(a);
            unroll<Columns>([&](auto j) { acc[j][r] = acc[j][r] + x * y[j]; });
        });
    }
    const V f = V::all(alpha), g = V::all(beta);
    unroll<Columns>([&](auto j) {
        unroll<R::count>([&](auto r) {
            T* p = c + j * ldc;
            const V old = U == update::store ? V::zero() : R::template load<r>(p);
            R::template store<r>(p, updated<U>(old, acc[j][r] * f, g));
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

// The same with A transposed: rows of op(A) lie along the depth, which is taken by lanes where the columns of
// op(B) do so too.
template <update U, int Columns, class T>
inline void depth_tile(vrn_int depth, T alpha, const T* a, const T* b, vrn_int brow, vrn_int bcol, T beta, T* c,
                       vrn_int ldc)
{
    using V = vec<T>;
    T sum[Columns] = {};
    vrn_int kk = 0;
    if (brow == 1 && depth >= 4) {
        // Two sums an element: their lanes and the pair of columns keep the adder busy.
        V even[Columns], odd[Columns];
        unroll<Columns>([&](auto j) { even[j] = odd[j] = V::zero(); });
        for (; kk + 2 * V::lanes <= depth; kk += 2 * V::lanes)
            unroll<Columns>([&](auto j) {
                even[j] = even[j] + V::loadu(a + kk) * V::loadu(b + kk + j * bcol);
                odd[j] = odd[j] + V::loadu(a + kk + V::lanes) * V::loadu(b + kk + V::lanes + j * bcol);
            });
        for (; kk + V::lanes <= depth; kk += V::lanes)
            unroll<Columns>([&](auto j) { even[j] = even[j] + V::loadu(a + kk) * V::loadu(b + kk + j * bcol); });
        unroll<Columns>([&](auto j) { sum[j] = lane_sum(even[j] + odd[j]); });
    }
    for (; kk < depth; ++kk) unroll<Columns>([&](auto j) { sum[j] += a[kk] * b[kk * brow + j * bcol]; });
    unroll<Columns>([&](auto j) { put<U>(c + j * ldc, sum[j] * alpha, beta); });
}

template <update U, int Columns, class T>
[[gnu::flatten]] void columns(const product<T>& o, vrn_int k0, vrn_int depth, vrn_int j)
{
    const vrn_int brow = o.b_normal() ? 1 : o.ldb, bcol = o.b_normal() ? o.ldb : 1;
    const T* b = o.b + k0 * brow + j * bcol;
    T* c = o.c + j * o.ldc;
    if (o.a_normal()) {
        const T* a = o.a + k0 * o.lda;
        vrn_int i = 0;
        const auto tile = [&]<int Rows>() {
            rows_tile<U, Rows, Columns>(depth, o.alpha, a + i, o.lda, b, brow, bcol, o.beta, c + i, o.ldc);
            i += Rows;
        };
        // Four vectors by two columns fill eight accumulators: for s that takes two blocks of 8 rows.
        if constexpr (vec<T>::lanes == 4)
            while (i + 16 <= o.m) tile.template operator()<16>();
        while (i + 8 <= o.m) tile.template operator()<8>();
        // The blocks of 2 and the odd row that are left, side by side, so that their sums overlap.
        switch (o.m - i) {
        case 7:
            return tile.template operator()<7>();
        case 6:
            return tile.template operator()<6>();
        case 5:
            return tile.template operator()<5>();
        case 4:
            return tile.template operator()<4>();
        case 3:
            return tile.template operator()<3>();
        case 2:
            return tile.template operator()<2>();
        case 1:
            return tile.template operator()<1>();
        }
    } else {
        for (vrn_int i = 0; i < o.m; ++i)
            depth_tile<U, Columns>(depth, o.alpha, o.a + i * o.lda + k0, b, brow, bcol, o.beta, c + i, o.ldc);
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
                       : o.beta == T{1} ? pass<update::add, T>
                                        : pass<update::scale, T>;
    // With no multiple of 4 the pass over the rest is the first.
    if (k4 == 0) return first(o, 0, o.k);
    first(o, 0, k4);
    if (k4 < o.k) pass<update::add>(o, k4, o.k - k4);
}

} // namespace vrn::blas::unpacked
