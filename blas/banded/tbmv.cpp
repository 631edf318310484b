// blas/banded/tbmv.cpp - exported names of the triangular band product.
#include "blas/banded/triangular.hpp"

#define VRN_TBMV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const vrn_int* k,  \
                         const E* a, const vrn_int* lda, E* x, const vrn_int* incx)                                  \
    {                                                                                                                \
        vrn::blas::banded::triangular_band<false, 2>(*uplo, *trans, *diag, *n, *k, a, *lda, x, *incx);               \
    }

VRN_TBMV(vrn_blas_s42_stbmv, float)
VRN_TBMV(vrn_blas_s42_dtbmv, double)
VRN_TBMV(vrn_blas_s42_ctbmv, vrn::simd::cplx<float>)
VRN_TBMV(vrn_blas_s42_ztbmv, vrn::simd::cplx<double>)
