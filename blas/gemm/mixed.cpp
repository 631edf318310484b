// blas/gemm/mixed.cpp - the exported names of products of a real A with complex B and C. Everything by reference.
//
//     x{dz,sc}gemm        the published arguments; {dz,sc}gemm_pst: the same for sides from 4 on
//     _mscale             m, n, beta, c, ldc: C := beta C
//     _getbufs            elements of B's planes and of C's, and where to write their two addresses; returns the
//                         block, null without memory. _freebufs(block) gives it back
//     _copyb, 1_copyb     transb, rows, columns, alpha, b, ldb, re, im, ld: planes of alpha op(B), and of op(B) (its
//                         alpha is not read), as B is stored
//     _copyc_fwd          m, n, c, ldc, re, im, ld: C into planes
//     _copyc_bwd          the same: planes into C
//     1_copyc_b_bwd       m, n, alpha, re, im, ld, beta, c, ldc: C := beta C + P (its alpha is not read)
//     2_copyc_b_bwd       the same: C := beta C + alpha P

#include "blas/gemm/mixed.hpp"

#include "frame/export.hpp"

using namespace vrn::blas;

namespace {

template <class R>
using number = vrn::simd::cplx<R>;

template <class R>
mixed::operands<R> taken(const char* transa, const char* transb, vrn_int m, vrn_int n, vrn_int k, number<R> alpha,
                         const R* a, vrn_int lda, const number<R>* b, vrn_int ldb, number<R> beta, number<R>* c,
                         vrn_int ldc)
{
    return {{transa, transb, m, n, k, alpha, nullptr, lda, b, ldb, beta, c, ldc}, a};
}

template <class R>
void copy_b(const char* transb, vrn_int rows, vrn_int columns, number<R> alpha, const number<R>* b, vrn_int ldb,
            R* re, R* im, vrn_int ld)
{
    using letters = product<number<R>>;
    mixed::copy_b<R>({letters::is(transb, 'N'), letters::conjugates(transb)}, rows, columns, alpha, b, ldb,
                     {re, im, ld});
}

} // namespace

#define MIXED(name, R, body, routine, multiply, get_optimal_kernel)                                                  \
    VRN_EXPORT void name(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n,                 \
                         const vrn_int* k, const number<R>* alpha, const R* a, const vrn_int* lda,                   \
                         const number<R>* b, const vrn_int* ldb, const number<R>* beta, number<R>* c,                \
                         const vrn_int* ldc)                                                                         \
    {                                                                                                                \
        gemm_desc desc;                                                                                              \
        desc.w_factor = 0;                                                                                           \
        vrn_blas_s42_dgemm_zero_desc(&desc);                                                                         \
        get_optimal_kernel(&desc);                                                                                   \
        body<R>(taken<R>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc), routine, multiply,   \
                &desc);                                                                                              \
    }
#define DZ                                vrn_blas_s42_xdgemm_par, vrn_blas_s42_dgemm_get_optimal_kernel
#define SC                                vrn_blas_s42_xsgemm_par, vrn_blas_s42_sgemm_get_optimal_kernel
#define WITH(name, R, body, routine, ...) MIXED(name, R, body, routine, __VA_ARGS__)
WITH(vrn_blas_s42_xdzgemm, double, mixed::gemm, "DZGEMM", DZ)
WITH(vrn_blas_s42_xscgemm, float, mixed::gemm, "SCGEMM", SC)
WITH(vrn_blas_s42_dzgemm_pst, double, mixed::with_planes, "DZGEMM", DZ)
WITH(vrn_blas_s42_scgemm_pst, float, mixed::with_planes, "SCGEMM", SC)

#define MSCALE(name, R)                                                                                              \
    VRN_EXPORT void name(const vrn_int* m, const vrn_int* n, const number<R>* beta, number<R>* c,                    \
                         const vrn_int* ldc)                                                                         \
    {                                                                                                                \
        mscale(*m, *n, *beta, c, *ldc);                                                                              \
    }
MSCALE(vrn_blas_s42_dzgemm_mscale, double)
MSCALE(vrn_blas_s42_scgemm_mscale, float)

#define GETBUFS(name, R)                                                                                             \
    VRN_EXPORT void* name(const vrn_int* b_elements, const vrn_int* c_elements, void** b, void** c)                  \
    {                                                                                                                \
        mixed::areas area;                                                                                           \
        void* block = mixed::get_areas<R>(*b_elements, *c_elements, area);                                           \
        *b = area.b, *c = area.c;                                                                                    \
        return block;                                                                                                \
    }
GETBUFS(vrn_blas_s42_dzgemm_getbufs, double)
GETBUFS(vrn_blas_s42_scgemm_getbufs, float)

VRN_EXPORT void vrn_blas_s42_dzgemm_freebufs(void* block) { vrn_serv_deallocate(block); }
VRN_ALIAS(vrn_blas_s42_scgemm_freebufs, vrn_blas_s42_dzgemm_freebufs);

#define COPY_B(name, R, factor)                                                                                      \
    VRN_EXPORT void name(const char* transb, const vrn_int* rows, const vrn_int* columns,                            \
                         [[maybe_unused]] const number<R>* alpha, const number<R>* b, const vrn_int* ldb, R* re,     \
                         R* im, const vrn_int* ld)                                                                   \
    {                                                                                                                \
        copy_b<R>(transb, *rows, *columns, factor, b, *ldb, re, im, *ld);                                            \
    }
COPY_B(vrn_blas_s42_dzgemm_copyb, double, *alpha)
COPY_B(vrn_blas_s42_scgemm_copyb, float, *alpha)
COPY_B(vrn_blas_s42_dzgemm1_copyb, double, vrn::simd::unity<number<double>>)
COPY_B(vrn_blas_s42_scgemm1_copyb, float, vrn::simd::unity<number<float>>)

#define COPY_C(forward, backward, R)                                                                                 \
    VRN_EXPORT void forward(const vrn_int* m, const vrn_int* n, const number<R>* c, const vrn_int* ldc, R* re,       \
                            R* im, const vrn_int* ld)                                                                \
    {                                                                                                                \
        mixed::split<R>(*m, *n, c, *ldc, pack::plain<number<R>>{}, {re, im, *ld});                                   \
    }                                                                                                                \
    VRN_EXPORT void backward(const vrn_int* m, const vrn_int* n, number<R>* c, const vrn_int* ldc, R* re, R* im,     \
                             const vrn_int* ld)                                                                      \
    {                                                                                                                \
        mixed::copy_c<mixed::back::replace, R>(*m, *n, {}, {re, im, *ld}, {}, c, *ldc);                              \
    }
COPY_C(vrn_blas_s42_dzgemm_copyc_fwd, vrn_blas_s42_dzgemm_copyc_bwd, double)
COPY_C(vrn_blas_s42_scgemm_copyc_fwd, vrn_blas_s42_scgemm_copyc_bwd, float)

#define COPY_C_BETA(name, R, how)                                                                                    \
    VRN_EXPORT void name(const vrn_int* m, const vrn_int* n, const number<R>* alpha, R* re, R* im,                   \
                         const vrn_int* ld, const number<R>* beta, number<R>* c, const vrn_int* ldc)                 \
    {                                                                                                                \
        mixed::copy_c<mixed::back::how, R>(*m, *n, *alpha, {re, im, *ld}, *beta, c, *ldc);                           \
    }
COPY_C_BETA(vrn_blas_s42_dzgemm1_copyc_b_bwd, double, beta)
COPY_C_BETA(vrn_blas_s42_scgemm1_copyc_b_bwd, float, beta)
COPY_C_BETA(vrn_blas_s42_dzgemm2_copyc_b_bwd, double, alpha_beta)
COPY_C_BETA(vrn_blas_s42_scgemm2_copyc_b_bwd, float, alpha_beta)
