// blas/level1/copy.cpp - exported names of y := x.
#include "blas/level1/copy.hpp"

#define VRN_COPY(name, E)                                                                                     \
    VRN_EXPORT void name(const vrn_int* n, const E* x, const vrn_int* incx, E* y, const vrn_int* incy)        \
    {                                                                                                         \
        vrn::blas::copy(*n, x, *incx, y, *incy);                                                              \
    }

VRN_COPY(vrn_blas_s42_xscopy, float)
VRN_COPY(vrn_blas_s42_xdcopy, double)
VRN_COPY(vrn_blas_s42_xccopy, vrn::simd::cplx<float>)
VRN_COPY(vrn_blas_s42_xzcopy, vrn::simd::cplx<double>)
