// blas/level2/staging.hpp - what the walks over a matrix share: blocks, slices of strided vectors in stack buffers,
// so that the inner kernels see unit strides, and option letters.
#pragma once

#include "blas/level1/update.hpp"

namespace vrn::blas {

// Bit 5 tells the cases of an option letter apart.
inline bool is_letter(const char* option, char upper) { return (*option & ~0x20) == upper; }

// A block of A as the staged walks take it: its slice of the vector along the columns and of the one along the rows.
// Two such slices stay in the first-level cache beside the columns that stream past.
inline constexpr vrn_int staged_columns = 128, staged_rows = 1000;

// Two elements at a time; `x` is the element of index 0, the stride of either sign.
template <class E>
void copy_in(vrn_int n, const E* x, vrn_int inc, E* to)
{
    vrn_int i = 0;
    for (; i + 2 <= n; i += 2, x += 2 * inc) {
        const E first = x[0], second = x[inc];
        to[i] = first;
        to[i + 1] = second;
    }
    if (i < n) to[i] = *x;
}

template <class E>
void copy_out(vrn_int n, const E* from, E* x, vrn_int inc)
{
    vrn_int i = 0;
    for (; i + 2 <= n; i += 2, x += 2 * inc) {
        x[0] = from[i];
        x[inc] = from[i + 1];
    }
    if (i < n) *x = from[i];
}

// body(begin, count) for the blocks of n.
template <class Body>
[[gnu::always_inline]] inline void blocks_of(vrn_int n, vrn_int block, Body&& body)
{
    for (vrn_int i = 0; i < n; i += block) body(i, n - i < block ? n - i : block);
}

} // namespace vrn::blas
