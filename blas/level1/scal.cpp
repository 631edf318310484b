// blas/level1/scal.cpp - exported names of x := alpha x.
#include "blas/level1/scal.hpp"

using vrn::simd::cplx;

#define VRN_SCAL(name, body, A, E)                                                                            \
    VRN_EXPORT void name(const vrn_int* n, const A* alpha, E* x, const vrn_int* incx)                         \
    {                                                                                                         \
        vrn::blas::body(*n, *alpha, x, *incx);                                                                \
    }

VRN_SCAL(vrn_blas_s42_sscal, scal, float, float)
VRN_SCAL(vrn_blas_s42_dscal, scal, double, double)
VRN_SCAL(vrn_blas_s42_cscal, scal, cplx<float>, cplx<float>)
VRN_SCAL(vrn_blas_s42_zscal, scal, cplx<double>, cplx<double>)
VRN_SCAL(vrn_blas_s42_csscal, scal_by_real, float, cplx<float>)
VRN_SCAL(vrn_blas_s42_zdscal, scal_by_real, double, cplx<double>)
