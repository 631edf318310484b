// blas/level1/rotm.cpp - exported names of the modified plane rotation and of its generator.
#include "blas/level1/rotm.hpp"

#define VRN_ROTM(name, R)                                                                                            \
    VRN_EXPORT void name(const vrn_int* n, R* x, const vrn_int* incx, R* y, const vrn_int* incy, const R* param)     \
    {                                                                                                                \
        vrn::blas::rotm(*n, x, *incx, y, *incy, param);                                                              \
    }
#define VRN_ROTMG(name, R)                                                                                           \
    VRN_EXPORT void name(R* d1, R* d2, R* x1, const R* y1, R* param) { vrn::blas::rotmg(*d1, *d2, *x1, *y1, param); }

VRN_ROTM(vrn_blas_s42_srotm, float)
VRN_ROTM(vrn_blas_s42_drotm, double)
VRN_ROTMG(vrn_blas_s42_srotmg, float)
VRN_ROTMG(vrn_blas_s42_drotmg, double)
