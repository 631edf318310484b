// blas/level1/cabs1.cpp - |re| + |im| of one complex number.
#include "frame/export.hpp"
#include "simd/complex.hpp"

#define VRN_CABS1(name, R)                                                                                    \
    VRN_EXPORT R name(const vrn::simd::cplx<R>* z)                                                            \
    {                                                                                                         \
        return abs1(*z);                                                                                      \
    }

VRN_CABS1(vrn_blas_s42_scabs1, float)
VRN_CABS1(vrn_blas_s42_dcabs1, double)
