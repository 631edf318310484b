// blas/banded/gbmv.cpp - exported names of the general band product.
#include "blas/banded/general.hpp"

#define VRN_GBMV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* trans, const vrn_int* m, const vrn_int* n, const vrn_int* kl,                   \
                         const vrn_int* ku, const E* alpha, const E* a, const vrn_int* lda, const E* x,              \
                         const vrn_int* incx, const E* beta, E* y, const vrn_int* incy)                              \
    {                                                                                                                \
        vrn::blas::banded::gbmv(*trans, *m, *n, *kl, *ku, *alpha, a, *lda, x, *incx, *beta, y, *incy);               \
    }

VRN_GBMV(vrn_blas_s42_sgbmv, float)
VRN_GBMV(vrn_blas_s42_dgbmv, double)
VRN_GBMV(vrn_blas_s42_cgbmv, vrn::simd::cplx<float>)
VRN_GBMV(vrn_blas_s42_zgbmv, vrn::simd::cplx<double>)
