// blas/level1/asum.cpp - exported names of the sum of magnitudes.
#include "blas/level1/asum.hpp"

#define VRN_ASUM(name, E, R)                                                                                  \
    VRN_EXPORT R name(const vrn_int* n, const E* x, const vrn_int* incx)                                      \
    {                                                                                                         \
        return vrn::blas::asum(*n, x, *incx);                                                                 \
    }

VRN_ASUM(vrn_blas_s42_sasum, float, float)
VRN_ASUM(vrn_blas_s42_dasum, double, double)
VRN_ASUM(vrn_blas_s42_scasum, vrn::simd::cplx<float>, float)
VRN_ASUM(vrn_blas_s42_dzasum, vrn::simd::cplx<double>, double)
