// blas/level1/nrm2.cpp - exported names of the Euclidean norm. Of one element, xdnrm2 does not read the stride.
#include "blas/level1/nrm2.hpp"

#define VRN_NRM2(name, E, R)                                                                                  \
    VRN_EXPORT R name(const vrn_int* n, const E* x, const vrn_int* incx)                                      \
    {                                                                                                         \
        return vrn::blas::nrm2(*n, x, incx);                                                                  \
    }

VRN_NRM2(vrn_blas_s42_xsnrm2, float, float)
VRN_NRM2(vrn_blas_s42_xdnrm2, double, double)
VRN_NRM2(vrn_blas_s42_xscnrm2, vrn::simd::cplx<float>, float)
VRN_NRM2(vrn_blas_s42_xdznrm2, vrn::simd::cplx<double>, double)
