// blas/packed/spr.cpp - exported names of the packed rank updates. One of them asks the host, after its early return,
// whether it may go by addresses.
#include "blas/packed/rank.hpp"
#include "frame/services.hpp"

using vrn::simd::cplx;

#define VRN_SPR(name, E, A)                                                                                          \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const A* alpha, const E* x, const vrn_int* incx, E* ap) \
    {                                                                                                                \
        if (*n == 0 || *alpha == A{}) return;                                                                        \
        vrn::blas::packed::spr(*uplo, *n, *alpha, x, *incx, ap);                                                     \
    }

VRN_SPR(vrn_blas_s42_sspr, float, float)
VRN_SPR(vrn_blas_s42_dspr, double, double)
VRN_SPR(vrn_blas_s42_chpr, cplx<float>, float)
VRN_SPR(vrn_blas_s42_zhpr, cplx<double>, double)

#define VRN_SPR2(name, E, peel)                                                                                      \
    VRN_EXPORT void name(const char* uplo, const vrn_int* n, const E* alpha, const E* x, const vrn_int* incx,        \
                         const E* y, const vrn_int* incy, E* ap)                                                     \
    {                                                                                                                \
        if (*n == 0 || *alpha == E{}) return;                                                                        \
        if (peel) return vrn::blas::packed::spr2<true>(*uplo, *n, *alpha, x, *incx, y, *incy, ap);                   \
        vrn::blas::packed::spr2<false>(*uplo, *n, *alpha, x, *incx, y, *incy, ap);                                   \
    }

VRN_SPR2(vrn_blas_s42_sspr2, float, vrn_serv_cbwr_get(1) == 1)
VRN_SPR2(vrn_blas_s42_dspr2, double, false)
VRN_SPR2(vrn_blas_s42_chpr2, cplx<float>, false)
VRN_SPR2(vrn_blas_s42_zhpr2, cplx<double>, false)
