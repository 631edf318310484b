// blas/level2/mixed.cpp - exported names of y := alpha op(A) x + beta y with a real A and complex vectors.
#include "blas/level2/mixed.hpp"

using vrn::simd::cplx;

#define VRN_MIXED(name, R, title)                                                                                    \
    VRN_EXPORT void name(const char* trans, const vrn_int* m, const vrn_int* n, const cplx<R>* alpha, const R* a,    \
                         const vrn_int* lda, const cplx<R>* x, const vrn_int* incx, const cplx<R>* beta, cplx<R>* y, \
                         const vrn_int* incy)                                                                        \
    {                                                                                                                \
        vrn::blas::mixed_gemv(title, trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);                     \
    }

VRN_MIXED(vrn_blas_s42_scgemv, float, "SCGEMV")
VRN_MIXED(vrn_blas_s42_dzgemv, double, "DZGEMV")
