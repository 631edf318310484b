// blas/level2/trmv.cpp - exported names of x := op(A) x, A triangular.
#include "blas/level2/trmv.hpp"

using vrn::simd::cplx;

#define VRN_TRMV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const E* a,        \
                         const vrn_int* lda, E* x, const vrn_int* incx)                                              \
    {                                                                                                                \
        vrn::blas::trmv(uplo, trans, diag, *n, a, *lda, x, *incx);                                                   \
    }

VRN_TRMV(vrn_blas_s42_xstrmv, float)
VRN_TRMV(vrn_blas_s42_xdtrmv, double)
VRN_TRMV(vrn_blas_s42_xctrmv, cplx<float>)
VRN_TRMV(vrn_blas_s42_xztrmv, cplx<double>)

#define VRN_TRMV_SLICE(name, E)                                                                                      \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const E* a,        \
                         const vrn_int* lda, const E* x, const vrn_int* incx, const vrn_int* first,                  \
                         const vrn_int* last, E* y)                                                                  \
    {                                                                                                                \
        vrn::blas::trmv_slice(uplo, trans, diag, *n, a, *lda, x, *incx, *first, *last, y);                           \
    }

VRN_TRMV_SLICE(vrn_blas_s42_xstrmv_in_thread, float)
VRN_TRMV_SLICE(vrn_blas_s42_xdtrmv_in_thread, double)
