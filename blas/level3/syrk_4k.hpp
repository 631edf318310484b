// blas/level3/syrk_4k.hpp - the rank update of order 4, real: C's triangle := alpha A A' + beta C or alpha A' A +
// beta C.
//
// The 4 by 4 product stands in registers, depths in pairs of sums that are added at the end. A as stored takes a
// column a step; A transposed is turned four depths at a time first, so both meet the same numbers in the same order.
// No allocation. Called by SYRK and by the host.
#pragma once

#include "blas/level3/wide.hpp"

namespace vrn::blas::level3 {

template <class T>
[[gnu::flatten]] void syrk_4k(bool upper, bool normal, vrn_int k, T alpha, const T* a, vrn_int lda, T beta, T* c,
                              vrn_int ldc)
{
    using V = vec<T>;
    constexpr int order = 4, lanes = V::lanes, vs = order / lanes;
    // Column j of the product; sums over even and odd depths.
    V even[order][vs], odd[order][vs];
    unroll<order>([&](auto j) { unroll<vs>([&](auto v) { even[j][v] = odd[j][v] = V::zero(); }); });
    const auto step = [](V(&sum)[order][vs], const T* x) {
        unroll<order>([&](auto j) {
            unroll<vs>([&](auto v) { sum[j][v] = sum[j][v] + V::loadu(x + v * lanes) * V::all(x[j]); });
        });
    };
    if (!(alpha == T{})) {
        alignas(16) T turned[2][order];
        const auto column = [&](vrn_int kk, int slot) -> const T* {
            if (normal) return a + kk * lda;
            for (int i = 0; i < order; ++i) turned[slot][i] = a[kk + i * lda];
            return turned[slot];
        };
        vrn_int kk = 0;
        for (; kk + 2 <= k; kk += 2) {
            step(even, column(kk, 0));
            step(odd, column(kk + 1, 1));
        }
        if (kk < k) step(even, column(kk, 0));
    }
    alignas(16) T square[order][order];
    unroll<order>(
        [&](auto j) { unroll<vs>([&](auto v) { (even[j][v] + odd[j][v]).store(square[j] + v * lanes); }); });
    for (int j = 0; j < order; ++j)
        for (int i = upper ? 0 : j; i < (upper ? j + 1 : order); ++i) {
            T& x = c[i + j * ldc];
            const T old = beta == T{} ? T{} : beta == T{1} ? x : beta * x;
            x = alpha == T{} ? old : old + (alpha == T{1} ? square[j][i] : alpha * square[j][i]);
        }
}

} // namespace vrn::blas::level3
