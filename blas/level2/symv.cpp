// blas/level2/symv.cpp - exported names of y := alpha A x + beta y, A symmetric or Hermitian.
#include "blas/level2/symv.hpp"

#include "frame/services.hpp"

using vrn::simd::cplx;

// `peels` tells whether this call may let its rounding depend on addresses.
#define VRN_SYMV(name, E, peels)                                                                                     \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const E* alpha, const E* a, const vrn_int* lda,         \
                         const E* x, const vrn_int* incx, const E* beta, E* y, const vrn_int* incy)                  \
    {                                                                                                                \
        if (vrn::blas::symv_is_idle(*n, *alpha, *beta)) return;                                                      \
        const auto body = (peels) ? vrn::blas::symv<std::is_same_v<E, float>, E> : vrn::blas::symv<false, E>;        \
        body(uplo, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);                                                  \
    }

VRN_SYMV(vrn_blas_s42_xssymv, float, vrn_serv_cbwr_get(1) == 1)
VRN_SYMV(vrn_blas_s42_xdsymv, double, false)
VRN_SYMV(vrn_blas_s42_chemv, cplx<float>, false)
VRN_SYMV(vrn_blas_s42_zhemv, cplx<double>, false)

#define VRN_SYMV_KERNEL(name, E)                                                                                     \
    VRN_EXPORT void name(const char* uplo, const vrn_int* last, const vrn_int* first, const E* alpha, const E* a,    \
                         const vrn_int* lda, const E* x, const vrn_int* incx, E* y, const vrn_int* n)                \
    {                                                                                                                \
        vrn::blas::symv_slice(uplo, *last, *first, *n, *alpha, a, *lda, x, *incx, y);                                \
    }

VRN_SYMV_KERNEL(vrn_blas_s42_xssymv_kernel, float)
VRN_SYMV_KERNEL(vrn_blas_s42_xdsymv_kernel, double)
