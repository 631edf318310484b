// blas/banded/tables.hpp - blocks of rows along a column, in elements, and columns taken together.
// Bands are short, so their blocks are; a packed column is long. A chain ends with what one vector holds; single rows
// follow it. Complex numbers fill twice the vectors, which keeps the code of a block as long as that of reals.
#pragma once

#include "blas/level1/update.hpp"

namespace vrn::blas::banded {

template <class E>
struct band_rows;
template <>
struct band_rows<double> {
    using axpy = steps<16, 2>;
    using dot = steps<8, 2>;
};
template <>
struct band_rows<float> {
    using axpy = steps<16, 4, 2>;
    using dot = steps<8, 4, 2>;
};
template <>
struct band_rows<cplx<float>> {
    using axpy = steps<8, 2>;
    using dot = steps<8, 2>;
};
template <>
struct band_rows<cplx<double>> {
    using axpy = steps<8>;
    using dot = steps<8>;
};

// Symmetric sweeps take pairs, whose rows carry twice the arithmetic of the others; triangles take pairs in a band
// and four columns where they are packed and long.
template <class E>
struct symmetric_rows;
template <>
struct symmetric_rows<double> {
    using both = steps<8, 2>;
};
template <>
struct symmetric_rows<float> {
    using both = steps<8, 4, 2>;
};
template <>
struct symmetric_rows<cplx<float>> {
    using both = steps<8, 2>;
};
template <>
struct symmetric_rows<cplx<double>> {
    using both = steps<4>;
};
inline constexpr int symmetric_group = 2;

template <class E, bool Packed>
struct triangle_rows {
    using blocks = steps<8, 4, 2>;
    static constexpr int group = 2;
};
template <class E>
struct triangle_rows<E, true> {
    using blocks = steps<16, 8, 2>;
    static constexpr int group = 4;
};
template <>
struct triangle_rows<float, false> {
    using blocks = steps<8, 4, 2>;
    static constexpr int group = 2;
};
template <>
struct triangle_rows<float, true> {
    using blocks = steps<16, 8, 4, 2>;
    static constexpr int group = 4;
};

} // namespace vrn::blas::banded
