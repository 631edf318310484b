// blas/level3/trsm.cpp - exported names of the triangular solves.

#include "blas/level3/trsm.hpp"

#include "frame/export.hpp"

using namespace vrn::blas::level3;

#define TRSM(name, E)                                                                                                \
    VRN_EXPORT void name(const char* side, const char* uplo, const char* transa, const char* diag, const vrn_int* m, \
                         const vrn_int* n, const E* alpha, const E* a, const vrn_int* lda, E* b, const vrn_int* ldb) \
    {                                                                                                                \
        solve_triangular<E>({side, uplo, transa, diag, *m, *n, *alpha, a, *lda, b, *ldb});                           \
    }
TRSM(vrn_blas_s42_xstrsm, float)
TRSM(vrn_blas_s42_xdtrsm, double)
TRSM(vrn_blas_s42_xctrsm, cplx<float>)
TRSM(vrn_blas_s42_xztrsm, cplx<double>)
