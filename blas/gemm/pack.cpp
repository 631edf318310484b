// blas/gemm/pack.cpp - the exported packers and the scaling of C.

#include "blas/gemm/pack.hpp"

#include "blas/gemm/functions.hpp"
#include "blas/gemm/mscale.hpp"
#include "frame/export.hpp"

using namespace vrn::blas;

namespace {

constexpr pack::operation as_stored{true, false}, transposed{false, false}, conjugate{false, true};

using cplx8 = vrn::simd::cplx<float>;
using cplx16 = vrn::simd::cplx<double>;

pack::operation real_operation(const char* trans) { return (*trans & ~0x20) == 'N' ? as_stored : transposed; }

// The only code of the packers into an outside buffer.
constexpr vrn_int ext_code = 4096;

template <class T>
vrn_int copy_a_ext(const vrn_int* code, const char* trans, const vrn_int* m, const vrn_int* k, const void* a,
                   const vrn_int* lda, void** to, const vrn_int* distance)
{
    if (*code != ext_code) return 1;
    pack::a(real_operation(trans), *m, *k, static_cast<const T*>(a), *lda, static_cast<T*>(*to), *distance, T{1});
    return 0;
}

template <class T>
vrn_int copy_b_ext(const vrn_int* code, const char* trans, const vrn_int* k, const vrn_int* n, const void* b,
                   const vrn_int* ldb, void** to, const vrn_int* distance)
{
    if (*code != ext_code) return 1;
    pack::b(real_operation(trans), *k, *n, static_cast<const T*>(b), *ldb, static_cast<T*>(*to), *distance);
    return 0;
}

} // namespace

#define COPY_A(name, T, operation)                                                                                   \
    VRN_EXPORT void name(const vrn_int* mb, const vrn_int* kb, const void* a, const vrn_int* lda, void* to,          \
                         const vrn_int* panel_distance, const void* alpha)                                           \
    {                                                                                                                \
        pack::a(operation, *mb, *kb, static_cast<const T*>(a), *lda, static_cast<T*>(to), *panel_distance,              \
                *static_cast<const T*>(alpha));                                                                      \
    }
COPY_A(vrn_blas_s42_sgemm_copyan, float, as_stored)
COPY_A(vrn_blas_s42_sgemm_copyat, float, transposed)
COPY_A(vrn_blas_s42_dgemm_copyan, double, as_stored)
COPY_A(vrn_blas_s42_dgemm_copyat, double, transposed)
COPY_A(vrn_blas_s42_cgemm_copyan, cplx8, as_stored)
COPY_A(vrn_blas_s42_cgemm_copyat, cplx8, transposed)
COPY_A(vrn_blas_s42_cgemm_copyac, cplx8, conjugate)
COPY_A(vrn_blas_s42_zgemm_copyan, cplx16, as_stored)
COPY_A(vrn_blas_s42_zgemm_copyat, cplx16, transposed)
COPY_A(vrn_blas_s42_zgemm_copyac, cplx16, conjugate)

#define COPY_B(name, T, operation)                                                                                   \
    VRN_EXPORT void name(const vrn_int* kb, const vrn_int* nb, const void* b, const vrn_int* ldb, void* to,          \
                         const vrn_int* panel_distance, const void*)                                                 \
    {                                                                                                                \
        pack::b(operation, *kb, *nb, static_cast<const T*>(b), *ldb, static_cast<T*>(to), *panel_distance);             \
    }
COPY_B(vrn_blas_s42_sgemm_copybn, float, as_stored)
COPY_B(vrn_blas_s42_sgemm_copybt, float, transposed)
COPY_B(vrn_blas_s42_dgemm_copybn, double, as_stored)
COPY_B(vrn_blas_s42_dgemm_copybt, double, transposed)
COPY_B(vrn_blas_s42_cgemm_copybn, cplx8, as_stored)
COPY_B(vrn_blas_s42_cgemm_copybt, cplx8, transposed)
COPY_B(vrn_blas_s42_cgemm_copybc, cplx8, conjugate)
COPY_B(vrn_blas_s42_zgemm_copybn, cplx16, as_stored)
COPY_B(vrn_blas_s42_zgemm_copybt, cplx16, transposed)
COPY_B(vrn_blas_s42_zgemm_copybc, cplx16, conjugate)

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
MSCALE(vrn_blas_s42_cgemm_mscale, cplx8)
MSCALE(vrn_blas_s42_zgemm_mscale, cplx16)
