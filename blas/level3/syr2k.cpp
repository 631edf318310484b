// blas/level3/syr2k.cpp - exported names of the rank-2k updates. HER2K's beta is real.

#include "blas/level3/syr2k.hpp"

#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define SYR2K(name, E, F, K)                                                                                         \
    VRN_EXPORT void name(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const E* alpha,    \
                         const E* a, const vrn_int* lda, const E* b, const vrn_int* ldb, const F* beta, E* c,        \
                         const vrn_int* ldc)                                                                         \
    {                                                                                                                \
        rank_2_update_blocked<kind::K, E>({{is_letter(uplo, 'U'), *n, c, *ldc},                                      \
                                           is_letter(trans, 'N'),                                                    \
                                           *k,                                                                       \
                                           *alpha,                                                                   \
                                           a,                                                                        \
                                           *lda,                                                                     \
                                           b,                                                                        \
                                           *ldb,                                                                     \
                                           widened<E>(*beta)});                                                      \
    }
SYR2K(vrn_blas_s42_xssyr2k, float, float, symmetric)
SYR2K(vrn_blas_s42_xdsyr2k, double, double, symmetric)
SYR2K(vrn_blas_s42_xcsyr2k, cplx<float>, cplx<float>, symmetric)
SYR2K(vrn_blas_s42_xzsyr2k, cplx<double>, cplx<double>, symmetric)
SYR2K(vrn_blas_s42_xcher2k, cplx<float>, float, hermitian)
SYR2K(vrn_blas_s42_xzher2k, cplx<double>, double, hermitian)
