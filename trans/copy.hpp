// trans/copy.hpp - b[i][j] := alpha op(a[i][j]), row after row, eight columns a step. The product is always made: a
// copy is one with alpha 1.
#pragma once

#include "trans/transpose.hpp"

namespace vrn::trans {

template <class E, class Op>
void copy_row(vrn_int n, const E* a, E* b, const Op& f)
{
    constexpr int w = per_vec<E>;
    vrn_int j = 0;
    for (; j + 8 <= n; j += 8)
        simd::unroll<8 / w>([&](auto g) { store(f(load(a + j + g * w)), b + j + g * w); });
    for (; j < n; ++j) b[j] = f(a[j]);
}

template <bool Conj, class E>
void copy(vrn_int rows, vrn_int cols, E alpha, strided<const E> a, strided<E> b)
{
    const scaled<Conj, E> f(alpha);
    for (vrn_int i = 0; i < rows; ++i) {
        if (a.inc == 1 && b.inc == 1) {
            copy_row(cols, &a(i, 0), &b(i, 0), f);
            continue;
        }
        vrn_int j = 0;
        for (; j + 8 <= cols; j += 8) simd::unroll<8>([&](auto u) { b(i, j + u) = f(a(i, j + u)); });
        for (; j < cols; ++j) b(i, j) = f(a(i, j));
    }
}

} // namespace vrn::trans
