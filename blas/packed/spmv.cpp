// blas/packed/spmv.cpp - exported names of the symmetric and Hermitian packed products.
#include "blas/banded/symmetric.hpp"

#define VRN_SPMV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const E* alpha, const E* ap, const E* x,                \
                         const vrn_int* incx, const E* beta, E* y, const vrn_int* incy)                              \
    {                                                                                                                \
        if (vrn::blas::banded::nothing_to_do(*n, *alpha, *beta)) return;                                             \
        vrn::blas::banded::spmv(*uplo, *n, *alpha, ap, x, *incx, *beta, y, *incy);                                   \
    }

VRN_SPMV(vrn_blas_s42_sspmv, float)
VRN_SPMV(vrn_blas_s42_dspmv, double)
VRN_SPMV(vrn_blas_s42_chpmv, vrn::simd::cplx<float>)
VRN_SPMV(vrn_blas_s42_zhpmv, vrn::simd::cplx<double>)
