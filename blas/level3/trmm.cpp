// blas/level3/trmm.cpp - exported names of the triangular products.

#include "blas/level3/trmm.hpp"

#include "blas/level3/ptrmm.hpp"
#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define TRMM(name, E, body)                                                                                          \
    VRN_EXPORT void name(const char* side, const char* uplo, const char* transa, const char* diag, const vrn_int* m, \
                         const vrn_int* n, const E* alpha, const E* a, const vrn_int* lda, E* b, const vrn_int* ldb) \
    {                                                                                                                \
        body<E>({side, uplo, transa, diag, *m, *n, *alpha, a, *lda, b, *ldb});                                       \
    }
TRMM(vrn_blas_s42_xstrmm, float, multiply_triangular)
TRMM(vrn_blas_s42_xdtrmm, double, multiply_triangular)
TRMM(vrn_blas_s42_xctrmm, cplx<float>, multiply_triangular)
TRMM(vrn_blas_s42_xztrmm, cplx<double>, multiply_triangular)
TRMM(vrn_blas_s42_xsptrmm, float, multiply_triangular_panels)
TRMM(vrn_blas_s42_xdptrmm, double, multiply_triangular_panels)
TRMM(vrn_blas_s42_xcptrmm, cplx<float>, multiply_triangular_panels)
TRMM(vrn_blas_s42_xzptrmm, cplx<double>, multiply_triangular_panels)
