// blas/gemm/kernel.cpp - the functions behind the kernel fields of the tables.

#include "blas/gemm/kernel.hpp"

#include "blas/gemm/functions.hpp"

namespace vrn::blas {

#define KERNEL(name, T, form)                                                                                        \
    void name(const char*, const char* transb, const vrn_int* m, const vrn_int* n, const vrn_int* k,                 \
              const void* alpha, const void* a, const vrn_int* a_panel_distance, const void* b,                      \
              const vrn_int* b_panel_distance, const void* beta, void* c, const vrn_int* ldc, void* w,               \
              std::int32_t variant)                                                                                  \
    {                                                                                                                \
        kernel<T, scheme::form>(transb, *m, *n, *k, *static_cast<const T*>(alpha), static_cast<const T*>(a),         \
                                *a_panel_distance, static_cast<const T*>(b), *b_panel_distance,                      \
                                *static_cast<const T*>(beta), static_cast<T*>(c), *ldc, static_cast<T*>(w),          \
                                variant);                                                                            \
    }
KERNEL(gemm_kernel_s, float, diagonal)
KERNEL(gemm_kernel_d0, double, diagonal)
KERNEL(gemm_kernel_d1, double, broadcast)
KERNEL(gemm_kernel_c, simd::cplx<float>, broadcast)
KERNEL(gemm_kernel_z, simd::cplx<double>, broadcast)

} // namespace vrn::blas
