// blas/level2/ger.cpp - exported names of A := alpha x y^T + A and of A := alpha x y^H + A.
#include "blas/level2/ger.hpp"

using vrn::simd::cplx;

#define VRN_GER(name, E, conjugate)                                                                                  \
    VRN_EXPORT void name(const vrn_int* m, const vrn_int* n, const E* alpha, const E* x, const vrn_int* incx,        \
                         const E* y, const vrn_int* incy, E* a, const vrn_int* lda)                                  \
    {                                                                                                                \
        vrn::blas::ger<conjugate>(*m, *n, *alpha, x, *incx, y, *incy, a, *lda);                                      \
    }

VRN_GER(vrn_blas_s42_xsger, float, false)
VRN_GER(vrn_blas_s42_xdger, double, false)
VRN_GER(vrn_blas_s42_xcgeru, cplx<float>, false)
VRN_GER(vrn_blas_s42_xzgeru, cplx<double>, false)
VRN_GER(vrn_blas_s42_xcgerc, cplx<float>, true)
VRN_GER(vrn_blas_s42_xzgerc, cplx<double>, true)
