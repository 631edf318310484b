// blas/level3/gemmt.cpp - exported names of the products of which one triangle is wanted.

#include "blas/level3/gemmt.hpp"

#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define GEMMT(name, E)                                                                                               \
    VRN_EXPORT void name(const char* uplo, const char* transa, const char* transb, const vrn_int* n,                 \
                         const vrn_int* k, const E* alpha, const E* a, const vrn_int* lda, const E* b,               \
                         const vrn_int* ldb, const E* beta, E* c, const vrn_int* ldc)                                \
    {                                                                                                                \
        multiply_triangle<E>(is_letter(uplo, 'U'),                                                                   \
                             {transa, transb, *n, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc});                \
    }
GEMMT(vrn_blas_s42_xsgemmt, float)
GEMMT(vrn_blas_s42_xdgemmt, double)
GEMMT(vrn_blas_s42_xcgemmt, cplx<float>)
GEMMT(vrn_blas_s42_xzgemmt, cplx<double>)
