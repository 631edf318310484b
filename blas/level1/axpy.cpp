// blas/level1/axpy.cpp - exported names of y := alpha x + y.
#include "blas/level1/axpy.hpp"

#define VRN_AXPY(name, E)                                                                                     \
    VRN_EXPORT void name(const vrn_int* n, const E* alpha, const E* x, const vrn_int* incx, E* y,             \
                         const vrn_int* incy)                                                                 \
    {                                                                                                         \
        vrn::blas::axpy<E>(*n, *alpha, x, *incx, y, *incy);                                                   \
    }

VRN_AXPY(vrn_blas_s42_xsaxpy, float)
VRN_AXPY(vrn_blas_s42_xdaxpy, double)
VRN_AXPY(vrn_blas_s42_xcaxpy, vrn::simd::cplx<float>)
VRN_AXPY(vrn_blas_s42_xzaxpy, vrn::simd::cplx<double>)
