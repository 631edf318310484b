// blas/level2/trsv.cpp - exported names of the solution of op(A) x = b, A triangular.
#include "blas/level2/trmv.hpp"

using vrn::simd::cplx;

#define VRN_TRSV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const E* a,        \
                         const vrn_int* lda, E* x, const vrn_int* incx)                                              \
    {                                                                                                                \
        vrn::blas::trsv(uplo, trans, diag, *n, a, *lda, x, *incx);                                                   \
    }

VRN_TRSV(vrn_blas_s42_strsv, float)
VRN_TRSV(vrn_blas_s42_xdtrsv, double)
VRN_TRSV(vrn_blas_s42_ctrsv, cplx<float>)
VRN_TRSV(vrn_blas_s42_ztrsv, cplx<double>)
