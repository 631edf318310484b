// blas/banded/sbmv.cpp - exported names of the symmetric and Hermitian band products. Two of them ask the host
// whether rounding may depend on addresses, after their early returns; the others have one body.
#include "blas/banded/symmetric.hpp"
#include "frame/services.hpp"

using vrn::blas::banded::nothing_to_do;
using vrn::blas::banded::sbmv;

#define VRN_SBMV(name, E, peel)                                                                                      \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const vrn_int* k, const E* alpha, const E* a,           \
                         const vrn_int* lda, const E* x, const vrn_int* incx, const E* beta, E* y,                   \
                         const vrn_int* incy)                                                                        \
    {                                                                                                                \
        if (nothing_to_do(*n, *alpha, *beta)) return;                                                                \
        if (peel) return sbmv<true>(*uplo, *n, *k, *alpha, a, *lda, x, *incx, *beta, y, *incy);                      \
        sbmv<false>(*uplo, *n, *k, *alpha, a, *lda, x, *incx, *beta, y, *incy);                                      \
    }

VRN_SBMV(vrn_blas_s42_ssbmv, float, false)
VRN_SBMV(vrn_blas_s42_dsbmv, double, vrn_serv_cbwr_get(1) == 1)
VRN_SBMV(vrn_blas_s42_chbmv, vrn::simd::cplx<float>, vrn_serv_cbwr_get(1) == 1)
VRN_SBMV(vrn_blas_s42_zhbmv, vrn::simd::cplx<double>, false)
