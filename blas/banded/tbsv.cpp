// blas/banded/tbsv.cpp - exported names of the triangular band solution.
// The complex ones are entries over two bodies: the full sweep takes columns in pairs, the second body in fours,
// which pays once the system is long enough for the triangles of four columns not to count.
#include "blas/banded/triangular.hpp"

using vrn::blas::banded::triangular_band;
using vrn::simd::cplx;

namespace {

// Long systems with wide bands stay with pairs: four columns of 501 numbers of 16 bytes fill a first-level cache of
// 32 KiB, and x has to lie there too.
bool fours(const cplx<double>*, bool, vrn_int n, vrn_int k) { return n >= 64 && !(n >= 1001 && k > 500); }
// In single precision a column is half as long in bytes: without transposition the triangles count up to 256 columns.
bool fours(const cplx<float>*, bool plain, vrn_int n, vrn_int k)
{
    return n >= 64 && !(plain && n < 256) && !(n >= 1001 && k > 500);
}

} // namespace

#define VRN_TBSV_ARGUMENTS(E)                                                                                        \
    const char *uplo, const char *trans, const char *diag, const vrn_int *n, const vrn_int *k, const E *a,           \
        const vrn_int *lda, E *x, const vrn_int *incx

#define VRN_TBSV(name, E)                                                                                            \
    VRN_EXPORT void name(VRN_TBSV_ARGUMENTS(E))                                                                      \
    {                                                                                                                \
        triangular_band<true, 2>(*uplo, *trans, *diag, *n, *k, a, *lda, x, *incx);                                   \
    }
#define VRN_COMPLEX_TBSV(name, E)                                                                                    \
    VRN_EXPORT void name(VRN_TBSV_ARGUMENTS(E))                                                                      \
    {                                                                                                                \
        if (*n == 0) return;                                                                                         \
        if (fours(a, *trans == 'N' || *trans == 'n', *n, *k))                                                        \
            triangular_band<true, 4>(*uplo, *trans, *diag, *n, *k, a, *lda, x, *incx);                               \
        else triangular_band<true, 2>(*uplo, *trans, *diag, *n, *k, a, *lda, x, *incx);                              \
    }

VRN_TBSV(vrn_blas_s42_stbsv, float)
VRN_TBSV(vrn_blas_s42_dtbsv, double)
VRN_COMPLEX_TBSV(vrn_blas_s42_ctbsv, cplx<float>)
VRN_COMPLEX_TBSV(vrn_blas_s42_ztbsv, cplx<double>)
