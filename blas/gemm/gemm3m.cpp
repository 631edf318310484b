// blas/gemm/gemm3m.cpp - the exported names of products by three multiplications.

#include "blas/gemm/gemm3m.hpp"

#include "blas/gemm/functions.hpp"
#include "frame/export.hpp"

using namespace vrn::blas;

namespace {

using cplx8 = vrn::simd::cplx<float>;
using cplx16 = vrn::simd::cplx<double>;
constexpr pack::operation as_stored{true, false}, transposed{false, false}, conjugate{false, true};

} // namespace

#define GEMM3M(name, R, routine, plain, multiply, get_optimal_kernel)                                                \
    VRN_EXPORT void name(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n,                 \
                         const vrn_int* k, const vrn::simd::cplx<R>* alpha, const vrn::simd::cplx<R>* a,             \
                         const vrn_int* lda, const vrn::simd::cplx<R>* b, const vrn_int* ldb,                        \
                         const vrn::simd::cplx<R>* beta, vrn::simd::cplx<R>* c, const vrn_int* ldc)                  \
    {                                                                                                                \
        gemm_desc desc;                                                                                              \
        desc.w_factor = 0;                                                                                           \
        vrn_blas_s42_dgemm_zero_desc(&desc);                                                                         \
        get_optimal_kernel(&desc);                                                                                   \
        if (!three::gemm<R>({transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc}, routine,         \
                            multiply, &desc))                                                                        \
            plain(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                     \
    }
GEMM3M(vrn_blas_s42_xcgemm3m, float, "CGEMM3M", vrn_blas_s42_xcgemm, vrn_blas_s42_xsgemm_par,
       vrn_blas_s42_sgemm_get_optimal_kernel)
GEMM3M(vrn_blas_s42_xzgemm3m, double, "ZGEMM3M", vrn_blas_s42_xzgemm, vrn_blas_s42_xdgemm_par,
       vrn_blas_s42_dgemm_get_optimal_kernel)

// Everything by value: rows and columns of op(X), X with its leading dimension, the first row and column of op(X),
// and the planes of real parts, imaginary parts and their sums, which lie as X is stored, without gaps.
#define COPY3M(name, R, operation)                                                                                   \
    VRN_EXPORT void name(vrn_int rows, vrn_int columns, const vrn::simd::cplx<R>* x, vrn_int ld, vrn_int row,        \
                         vrn_int column, R* re, R* im, R* sum)                                                       \
    {                                                                                                                \
        three::split<R>(operation, rows, columns, x, ld, row, column, re, im, sum);                                  \
    }
COPY3M(vrn_blas_s42_cgemm3m_copyan, float, as_stored)
COPY3M(vrn_blas_s42_cgemm3m_copyat, float, transposed)
COPY3M(vrn_blas_s42_cgemm3m_copyac, float, conjugate)
COPY3M(vrn_blas_s42_cgemm3m_copybc, float, conjugate)
COPY3M(vrn_blas_s42_zgemm3m_copyan, double, as_stored)
COPY3M(vrn_blas_s42_zgemm3m_copyat, double, transposed)
COPY3M(vrn_blas_s42_zgemm3m_copyac, double, conjugate)
COPY3M(vrn_blas_s42_zgemm3m_copybc, double, conjugate)
// A and B are taken apart alike.
VRN_ALIAS(vrn_blas_s42_cgemm3m_copybn, vrn_blas_s42_cgemm3m_copyan);
VRN_ALIAS(vrn_blas_s42_cgemm3m_copybt, vrn_blas_s42_cgemm3m_copyat);
VRN_ALIAS(vrn_blas_s42_zgemm3m_copybn, vrn_blas_s42_zgemm3m_copyan);
VRN_ALIAS(vrn_blas_s42_zgemm3m_copybt, vrn_blas_s42_zgemm3m_copyat);
