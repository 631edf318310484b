// blas/level2/rank.cpp - exported names of the symmetric and Hermitian updates of rank one and two.
#include "blas/level2/rank.hpp"

#include "frame/services.hpp"

using vrn::simd::cplx;

// E: element, A: type of alpha.
#define VRN_SYR(name, E, A)                                                                                          \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const A* alpha, const E* x, const vrn_int* incx, E* a,  \
                         const vrn_int* lda)                                                                         \
    {                                                                                                                \
        if (*n <= 0 || *alpha == A{}) return;                                                                        \
        vrn::blas::rank_update<false, false>(uplo, 0, *n, *n, *alpha, x, *incx, x, *incx, a, *lda);                  \
    }

VRN_SYR(vrn_blas_s42_xssyr, float, float)
VRN_SYR(vrn_blas_s42_xdsyr, double, double)
VRN_SYR(vrn_blas_s42_cher, cplx<float>, float)
VRN_SYR(vrn_blas_s42_zher, cplx<double>, double)

#define VRN_SYR_SLICE(name, E)                                                                                       \
    VRN_EXPORT void name(const char* uplo, const vrn_int* count, const E* alpha, const E* x, const vrn_int* incx,    \
                         E* a, const vrn_int* lda, const vrn_int* offset, const vrn_int* n)                          \
    {                                                                                                                \
        if (*count <= 0 || *alpha == E{}) return;                                                                    \
        vrn::blas::rank_update<false, false>(uplo, *offset, *count, *n, *alpha, x, *incx, x, *incx, a, *lda);        \
    }

VRN_SYR_SLICE(vrn_blas_s42_xssyr_in_thread, float)
VRN_SYR_SLICE(vrn_blas_s42_xdsyr_in_thread, double)

// The real types choose between two bodies: `peels` tells whether this call may look at addresses.
#define VRN_SYR2(name, E, peels)                                                                                     \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const E* alpha, const E* x, const vrn_int* incx,        \
                         const E* y, const vrn_int* incy, E* a, const vrn_int* lda)                                  \
    {                                                                                                                \
        if (*n <= 0 || *alpha == E{}) return;                                                                        \
        constexpr bool real = vrn::simd::element<E>::parts == 1;                                                     \
        const auto body =                                                                                            \
            (peels) ? vrn::blas::rank_update<true, real, E, E> : vrn::blas::rank_update<true, false, E, E>;          \
        body(uplo, 0, *n, *n, *alpha, x, *incx, y, *incy, a, *lda);                                                  \
    }

VRN_SYR2(vrn_blas_s42_xssyr2, float, vrn_serv_cbwr_get(1) == 1)
VRN_SYR2(vrn_blas_s42_xdsyr2, double, vrn_serv_cbwr_get(1) == 1)
VRN_SYR2(vrn_blas_s42_cher2, cplx<float>, false)
VRN_SYR2(vrn_blas_s42_zher2, cplx<double>, false)

#define VRN_SYR2_SLICE(name, E)                                                                                      \
    VRN_EXPORT void name(const char* uplo, const vrn_int* count, const E* alpha, const E* x, const vrn_int* incx,    \
                         const E* y, const vrn_int* incy, E* a, const vrn_int* lda, const vrn_int* offset,           \
                         const vrn_int* n)                                                                           \
    {                                                                                                                \
        if (*count <= 0 || *alpha == E{}) return;                                                                    \
        const auto body = vrn_serv_cbwr_get(1) == 1 ? vrn::blas::rank_update<true, true, E, E>                       \
                                                    : vrn::blas::rank_update<true, false, E, E>;                     \
        body(uplo, *offset, *count, *n, *alpha, x, *incx, y, *incy, a, *lda);                                        \
    }

VRN_SYR2_SLICE(vrn_blas_s42_xssyr2_in_thread, float)
VRN_SYR2_SLICE(vrn_blas_s42_xdsyr2_in_thread, double)
