// blas/gemm/pack.cpp - the exported packers and the scaling of C, of the real types.

#include "blas/gemm/pack.hpp"

#include "blas/gemm/functions.hpp"
#include "blas/gemm/mscale.hpp"
#include "frame/export.hpp"

using namespace vrn::blas;

namespace {

bool is_normal(const char* trans) { return (*trans & ~0x20) == 'N'; }

// The only code of the packers into an outside buffer.
constexpr vrn_int ext_code = 4096;

template <class T>
vrn_int copy_a_ext(const vrn_int* code, const char* trans, const vrn_int* m, const vrn_int* k, const void* a,
                   const vrn_int* lda, void** to, const vrn_int* distance)
{
    if (*code != ext_code) return 1;
    pack::a(is_normal(trans), *m, *k, static_cast<const T*>(a), *lda, static_cast<T*>(*to), *distance, T{1});
    return 0;
}

template <class T>
vrn_int copy_b_ext(const vrn_int* code, const char* trans, const vrn_int* k, const vrn_int* n, const void* b,
                   const vrn_int* ldb, void** to, const vrn_int* distance)
{
    if (*code != ext_code) return 1;
    pack::b(is_normal(trans), *k, *n, static_cast<const T*>(b), *ldb, static_cast<T*>(*to), *distance);
    return 0;
}

} // namespace

#define COPY_A(name, T, normal)                                                                                      \
    VRN_EXPORT void name(const vrn_int* mb, const vrn_int* kb, const void* a, const vrn_int* lda, void* to,          \
                         const vrn_int* panel_distance, const void* alpha)                                           \
    {                                                                                                                \
        pack::a(normal, *mb, *kb, static_cast<const T*>(a), *lda, static_cast<T*>(to), *panel_distance,              \
                *static_cast<const T*>(alpha));                                                                      \
    }
COPY_A(vrn_blas_s42_sgemm_copyan, float, true)
COPY_A(vrn_blas_s42_sgemm_copyat, float, false)
COPY_A(vrn_blas_s42_dgemm_copyan, double, true)
COPY_A(vrn_blas_s42_dgemm_copyat, double, false)

#define COPY_B(name, T, normal)                                                                                      \
    VRN_EXPORT void name(const vrn_int* kb, const vrn_int* nb, const void* b, const vrn_int* ldb, void* to,          \
                         const vrn_int* panel_distance, const void*)                                                 \
    {                                                                                                                \
        pack::b(normal, *kb, *nb, static_cast<const T*>(b), *ldb, static_cast<T*>(to), *panel_distance);             \
    }
COPY_B(vrn_blas_s42_sgemm_copybn, float, true)
COPY_B(vrn_blas_s42_sgemm_copybt, float, false)
COPY_B(vrn_blas_s42_dgemm_copybn, double, true)
COPY_B(vrn_blas_s42_dgemm_copybt, double, false)

#define COPY_A_EXT(name, T)                                                                                          \
    VRN_EXPORT vrn_int name(const vrn_int* code, const char* trans, const void*, const void*, const void*,           \
                            const vrn_int* m, const vrn_int* k, const void* a, const vrn_int* lda, void** to,        \
                            const vrn_int* panel_distance)                                                           \
    {                                                                                                                \
        return copy_a_ext<T>(code, trans, m, k, a, lda, to, panel_distance);                                         \
    }
COPY_A_EXT(vrn_blas_s42_sgemm_copya_ext, float)
COPY_A_EXT(vrn_blas_s42_dgemm_copya_ext, double)

#define COPY_B_EXT(name, T)                                                                                          \
    VRN_EXPORT vrn_int name(const vrn_int* code, const char* trans, const void*, const void*, const void*,           \
                            const vrn_int* k, const vrn_int* n, const void* b, const vrn_int* ldb, void** to,        \
                            const vrn_int* panel_distance, const vrn_int*)                                           \
    {                                                                                                                \
        return copy_b_ext<T>(code, trans, k, n, b, ldb, to, panel_distance);                                         \
    }
COPY_B_EXT(vrn_blas_s42_sgemm_copyb_ext, float)
COPY_B_EXT(vrn_blas_s42_dgemm_copyb_ext, double)

#define MSCALE(name, T)                                                                                              \
    VRN_EXPORT void name(const vrn_int* m, const vrn_int* n, const T* beta, T* c, const vrn_int* ldc)                \
    {                                                                                                                \
        mscale(*m, *n, *beta, c, *ldc);                                                                              \
    }
MSCALE(vrn_blas_s42_sgemm_mscale, float)
MSCALE(vrn_blas_s42_dgemm_mscale, double)
