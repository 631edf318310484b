// blas/level2/gemv.cpp - exported names of y := alpha op(A) x + beta y.
#include "blas/level2/gemv.hpp"

#include "frame/services.hpp"

using vrn::simd::cplx;

// `peels` tells whether this call may let its rounding depend on addresses.
#define VRN_GEMV(name, E, peels)                                                                                     \
    VRN_EXPORT void name(const char* trans, const vrn_int* m, const vrn_int* n, const E* alpha, const E* a,          \
                         const vrn_int* lda, const E* x, const vrn_int* incx, const E* beta, E* y,                   \
                         const vrn_int* incy)                                                                        \
    {                                                                                                                \
        if (vrn::blas::gemv_is_idle(*m, *n, *alpha, *beta)) return;                                                  \
        const auto body = (peels) ? vrn::blas::gemv<std::is_same_v<E, float>, E> : vrn::blas::gemv<false, E>;        \
        body(trans, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);                                             \
    }

VRN_GEMV(vrn_blas_s42_xsgemv, float, vrn_serv_cbwr_get(1) == 1)
VRN_GEMV(vrn_blas_s42_xdgemv, double, false)
VRN_GEMV(vrn_blas_s42_xcgemv, cplx<float>, false)
VRN_GEMV(vrn_blas_s42_xzgemv, cplx<double>, false)
