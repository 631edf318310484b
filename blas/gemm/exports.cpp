// blas/gemm/exports.cpp - the entries of the matrix products, and of the products of depth 1.

#include "blas/gemm/driver.hpp"
#include "blas/gemm/functions.hpp"
#include "blas/gemm/ger.hpp"
#include "blas/gemm/small.hpp"
#include "frame/export.hpp"

using namespace vrn::blas;
namespace simd = vrn::simd;

namespace {

using cplx8 = vrn::simd::cplx<float>;
using cplx16 = vrn::simd::cplx<double>;

// The entry of one thread: tiny products that only add go to the unrolled kernels; everything else scales C once
// and accumulates.
template <class T>
void gemm(product<T> p, void (*get_optimal_kernel)(gemm_desc*), void (*zero_desc)(gemm_desc*))
{
    if (p.m <= 0 || p.n <= 0) return;
    constexpr vrn_int largest = small::largest;
    constexpr vrn_int least = small_least<T>;
    if (p.m >= least && p.m <= largest && p.n >= least && p.n <= largest && p.k >= 1 && p.k <= largest &&
        p.beta == simd::unity<T>)
        return small::gemm(p);
    gemm_desc desc;
    desc.w_factor = 0;
    zero_desc(&desc);
    get_optimal_kernel(&desc);
    if (p.beta != simd::unity<T>) mscale(p.m, p.n, p.beta, p.c, p.ldc);
    if (p.alpha == T{}) return;
    p.beta = simd::unity<T>;
    if (p.m >= desc.m_unroll && p.n >= desc.n_unroll && p.k >= desc.k_unroll) {
        desc.get_blks_size(&p.m, &p.n, &p.k, &desc);
        driver::gemm<T>(driver::default_mode, {p, &desc});
    } else {
        unpacked::gemm(p);
    }
}

} // namespace

extern "C" {
[[gnu::visibility("default")]] void vrn_blas_s42_dgemm_zero_desc(gemm_desc*);
[[gnu::visibility("default")]] void vrn_blas_s42_sgemm_get_optimal_kernel(gemm_desc*);
[[gnu::visibility("default")]] void vrn_blas_s42_dgemm_get_optimal_kernel(gemm_desc*);
[[gnu::visibility("default")]] void vrn_blas_s42_cgemm_get_optimal_kernel(gemm_desc*);
[[gnu::visibility("default")]] void vrn_blas_s42_zgemm_get_optimal_kernel(gemm_desc*);
}

#define PUBLISHED(T)                                                                                                 \
    const char *transa, const char *transb, const vrn_int *m, const vrn_int *n, const vrn_int *k, const T *alpha,    \
        const T *a, const vrn_int *lda, const T *b, const vrn_int *ldb, const T *beta, T *c, const vrn_int *ldc

#define GEMM(name, T, get_optimal_kernel)                                                                            \
    VRN_EXPORT void name(PUBLISHED(T))                                                                               \
    {                                                                                                                \
        gemm<T>({transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc}, get_optimal_kernel,          \
                vrn_blas_s42_dgemm_zero_desc);                                                                       \
    }
GEMM(vrn_blas_s42_xsgemm, float, vrn_blas_s42_sgemm_get_optimal_kernel)
GEMM(vrn_blas_s42_xdgemm, double, vrn_blas_s42_dgemm_get_optimal_kernel)
GEMM(vrn_blas_s42_xcgemm, cplx8, vrn_blas_s42_cgemm_get_optimal_kernel)
GEMM(vrn_blas_s42_xzgemm, cplx16, vrn_blas_s42_zgemm_get_optimal_kernel)

#define GEMM_PAR(name, T)                                                                                            \
    VRN_EXPORT vrn_int name(PUBLISHED(T), std::int32_t mode, gemm_desc* desc)                                        \
    {                                                                                                                \
        return driver::gemm<T>(mode,                                                                                 \
                               {{transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc}, desc});      \
    }
GEMM_PAR(vrn_blas_s42_xsgemm_par, float)
GEMM_PAR(vrn_blas_s42_xdgemm_par, double)
GEMM_PAR(vrn_blas_s42_xcgemm_par, cplx8)
GEMM_PAR(vrn_blas_s42_xzgemm_par, cplx16)

#define GEMMGER(name, R, Parts)                                                                                      \
    VRN_EXPORT void name(const void*, const void*, const vrn_int* m, const vrn_int* n,                               \
                         const number<R, Parts>* alpha, const number<R, Parts>* x, const vrn_int* incx,              \
                         const number<R, Parts>* y, const vrn_int* incy, const number<R, Parts>* beta,               \
                         number<R, Parts>* c, const vrn_int* ldc)                                                    \
    {                                                                                                                \
        gemmger<R, Parts>(*m, *n, *alpha, x, *incx, y, *incy, *beta, c, *ldc);                                       \
    }
GEMMGER(vrn_blas_s42_xsgemmger, float, 1)
GEMMGER(vrn_blas_s42_xdgemmger, double, 1)
GEMMGER(vrn_blas_s42_xcgemmger, float, 2)
GEMMGER(vrn_blas_s42_xzgemmger, double, 2)
