// blas/level1/rot.cpp - exported names of the plane rotation.
#include "blas/level1/rot.hpp"

using vrn::simd::cplx;

#define VRN_ROT(name, E, C, S)                                                                                \
    VRN_EXPORT void name(const vrn_int* n, E* x, const vrn_int* incx, E* y, const vrn_int* incy, const C* c,  \
                         const S* s)                                                                          \
    {                                                                                                         \
        vrn::blas::rot(*n, x, *incx, y, *incy, *c, *s);                                                       \
    }

VRN_ROT(vrn_blas_s42_xsrot, float, float, float)
VRN_ROT(vrn_blas_s42_xdrot, double, double, double)
VRN_ROT(vrn_blas_s42_xcsrot, cplx<float>, float, float)
VRN_ROT(vrn_blas_s42_xzdrot, cplx<double>, double, double)
VRN_ROT(vrn_blas_s42_xcrot, cplx<float>, float, cplx<float>)
VRN_ROT(vrn_blas_s42_xzrot, cplx<double>, double, cplx<double>)
