// blas/level3/symm.cpp - exported names of the symmetric and Hermitian products.

#include "blas/level3/symm.hpp"

#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define SYMM(name, E, K)                                                                                             \
    VRN_EXPORT void name(const char* side, const char* uplo, const vrn_int* m, const vrn_int* n, const E* alpha,     \
                         const E* a, const vrn_int* lda, const E* b, const vrn_int* ldb, const E* beta, E* c,        \
                         const vrn_int* ldc)                                                                         \
    {                                                                                                                \
        multiply_symmetric<kind::K, E>(                                                                              \
            {is_letter(side, 'L'), is_letter(uplo, 'U'), *m, *n, *alpha, a, *lda, b, *ldb, *beta, c, *ldc});         \
    }
SYMM(vrn_blas_s42_xssymm, float, symmetric)
SYMM(vrn_blas_s42_xdsymm, double, symmetric)
SYMM(vrn_blas_s42_xcsymm, cplx<float>, symmetric)
SYMM(vrn_blas_s42_xzsymm, cplx<double>, symmetric)
SYMM(vrn_blas_s42_xchemm, cplx<float>, hermitian)
SYMM(vrn_blas_s42_xzhemm, cplx<double>, hermitian)
