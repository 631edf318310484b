// blas/level3/syrk.cpp - exported names of the rank-k updates. HERK's factors are real.

#include "blas/level3/syrk_pst.hpp"
#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define SYRK(name, E, F, K, body)                                                                                    \
    VRN_EXPORT void name(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const F* alpha,    \
                         const E* a, const vrn_int* lda, const F* beta, E* c, const vrn_int* ldc)                    \
    {                                                                                                                \
        body<kind::K, E>({{is_letter(uplo, 'U'), *n, c, *ldc},                                                       \
                          is_letter(trans, 'N'),                                                                     \
                          *k,                                                                                        \
                          widened<E>(*alpha),                                                                        \
                          a,                                                                                         \
                          *lda,                                                                                      \
                          widened<E>(*beta)});                                                                       \
    }
SYRK(vrn_blas_s42_xssyrk, float, float, symmetric, rank_update_blocked)
SYRK(vrn_blas_s42_xdsyrk, double, double, symmetric, rank_update_blocked)
SYRK(vrn_blas_s42_xcsyrk, cplx<float>, cplx<float>, symmetric, rank_update_blocked)
SYRK(vrn_blas_s42_xzsyrk, cplx<double>, cplx<double>, symmetric, rank_update_blocked)
SYRK(vrn_blas_s42_xcherk, cplx<float>, float, hermitian, rank_update_blocked)
SYRK(vrn_blas_s42_xzherk, cplx<double>, double, hermitian, rank_update_blocked)
SYRK(vrn_blas_s42_ssyrk_pst, float, float, symmetric, rank_update_pst)
SYRK(vrn_blas_s42_dsyrk_pst, double, double, symmetric, rank_update_pst)
SYRK(vrn_blas_s42_csyrk_pst, cplx<float>, cplx<float>, symmetric, rank_update_pst)
SYRK(vrn_blas_s42_zsyrk_pst, cplx<double>, cplx<double>, symmetric, rank_update_pst)
SYRK(vrn_blas_s42_cherk_pst, cplx<float>, float, hermitian, rank_update_pst)
SYRK(vrn_blas_s42_zherk_pst, cplx<double>, double, hermitian, rank_update_pst)

// Order 4: n is not read.
#define SYRK_4K(name, T)                                                                                             \
    VRN_EXPORT void name(const char* uplo, const char* trans, const vrn_int*, const vrn_int* k, const T* alpha,      \
                         const T* a, const vrn_int* lda, const T* beta, T* c, const vrn_int* ldc)                    \
    {                                                                                                                \
        syrk_4k<T>(is_letter(uplo, 'U'), is_letter(trans, 'N'), *k, *alpha, a, *lda, *beta, c, *ldc);                \
    }
SYRK_4K(vrn_blas_s42_ssyrk_4k, float)
SYRK_4K(vrn_blas_s42_dsyrk_4k, double)
