// blas/level1/axpby.cpp - exported names of y := alpha x + beta y.
#include "blas/level1/axpby.hpp"

#define VRN_AXPBY(name, E)                                                                                    \
    VRN_EXPORT void name(const vrn_int* n, const E* alpha, const E* x, const vrn_int* incx, const E* beta,    \
                         E* y, const vrn_int* incy)                                                           \
    {                                                                                                         \
        vrn::blas::axpby<E>(*n, *alpha, x, *incx, *beta, y, *incy);                                           \
    }

VRN_AXPBY(vrn_blas_s42_xsaxpby, float)
VRN_AXPBY(vrn_blas_s42_xdaxpby, double)
VRN_AXPBY(vrn_blas_s42_xcaxpby, vrn::simd::cplx<float>)
VRN_AXPBY(vrn_blas_s42_xzaxpby, vrn::simd::cplx<double>)
