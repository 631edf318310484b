// blas/level1/tables.hpp - blocks of the vector updates, in elements of their type.
// Read by the kernels and by the tests' choice of lengths; nothing else repeats them. A long block keeps the loop's
// own work small beside 16 to 32 vectors; the chain behind it halves, or drops to what one vector holds.
#pragma once

#include "blas/level1/update.hpp"

namespace vrn::blas {

// together: x and y lie alike within 16 bytes. apart: they do not. strided: other strides.
template <class E>
struct axpy_shape;
template <>
struct axpy_shape<double> {
    using together = steps<64, 32, 16, 8, 2>;
    using apart = steps<32, 16, 8, 4, 2>;
    using strided = steps<4, 2>;
};
template <>
struct axpy_shape<float> {
    using together = steps<64, 8, 4>;
    using apart = steps<32, 8, 4>;
    using strided = steps<32>;
};
// Complex vectors are not peeled: an unaligned load costs less here than the test.
template <>
struct axpy_shape<cplx<float>> {
    using any = steps<32, 2>;
};
template <>
struct axpy_shape<cplx<double>> {
    using any = steps<16, 2>;
};

template <class E>
struct axpby_shape;
template <>
struct axpby_shape<double> {
    using together = steps<32, 2>;
    using apart = steps<32, 4>;
    using strided = steps<8, 2>;
};
template <>
struct axpby_shape<float> {
    using together = steps<64, 8, 4>;
    using apart = together;
    using strided = steps<32>;
};
template <class R>
struct axpby_shape<cplx<R>> {
    using any = steps<8>;
};

template <class E>
struct copy_shape;
template <>
struct copy_shape<double> {
    using together = steps<32, 16, 8, 4, 2>;
    using apart = together;
    using strided = steps<4, 2>;
};
template <>
struct copy_shape<float> {
    using together = steps<32, 16, 8, 4>;
    using apart = together;
    using strided = steps<8, 4>;
};

struct swap_shape_double {
    using together = steps<16, 8, 4, 2>;
    using apart = together;
    using strided = steps<4, 2>;
};
using swap_shape_single = steps<8>; // real and complex

template <class E>
struct scal_shape;
template <>
struct scal_shape<double> {
    using together = steps<32, 16, 8, 4, 2>;
    using strided = steps<4, 2>;
};
template <>
struct scal_shape<float> {
    using together = steps<32, 8, 4>;
    using strided = steps<>;
};
template <>
struct scal_shape<cplx<float>> {
    using any = steps<16>;
};
template <>
struct scal_shape<cplx<double>> {
    using any = steps<8>;
};
using scal_real_by_complex_strided = steps<2>; // csscal, zdscal

template <class E>
struct rot_shape;
template <>
struct rot_shape<double> {
    using together = steps<16, 2>;
    using apart = steps<16, 4>;
};
template <>
struct rot_shape<float> {
    using together = steps<32, 8>;
    using apart = together;
};
template <class R>
struct rot_shape<cplx<R>> {
    using any = steps<8>;
};

} // namespace vrn::blas
