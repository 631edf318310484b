// blas/gemm/functions.hpp - the exported functions of this folder that others here call or point to.
#pragma once

#include "blas/gemm/desc.hpp"
#include "simd/complex.hpp"

namespace vrn::blas {

template <class T>
using gemm_function = void(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n,
                           const vrn_int* k, const T* alpha, const T* a, const vrn_int* lda, const T* b,
                           const vrn_int* ldb, const T* beta, T* c, const vrn_int* ldc);
template <class T>
using gemm_par_function = vrn_int(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n,
                                  const vrn_int* k, const T* alpha, const T* a, const vrn_int* lda, const T* b,
                                  const vrn_int* ldb, const T* beta, T* c, const vrn_int* ldc, std::int32_t mode,
                                  gemm_desc* desc);

} // namespace vrn::blas

// These names are exported: without the pragma a mere mention would hide them.
#pragma GCC visibility push(default)

#define VRN_GEMM_TYPE(t, T)                                                                                          \
    extern "C" {                                                                                                     \
    vrn::blas::get_blks_size_function vrn_blas_s42_##t##gemm_get_blks_size;                                          \
    vrn::blas::get_bufs_size_function vrn_blas_s42_##t##gemm_get_bufs_size;                                          \
    vrn::blas::get_bufs_function vrn_blas_s42_##t##gemm_get_bufs;                                                    \
    vrn::blas::copy_a_function vrn_blas_s42_##t##gemm_copyan;                                                        \
    vrn::blas::copy_a_function vrn_blas_s42_##t##gemm_copyat;                                                        \
    vrn::blas::copy_b_function vrn_blas_s42_##t##gemm_copybn;                                                        \
    vrn::blas::copy_b_function vrn_blas_s42_##t##gemm_copybt;                                                        \
    void vrn_blas_s42_##t##gemm_get_optimal_kernel(vrn::blas::gemm_desc*);                                           \
    vrn::blas::gemm_function<T> vrn_blas_s42_x##t##gemm;                                                             \
    vrn::blas::gemm_par_function<T> vrn_blas_s42_x##t##gemm_par;                                                     \
    }
VRN_GEMM_TYPE(s, float)
VRN_GEMM_TYPE(d, double)
VRN_GEMM_TYPE(c, vrn::simd::cplx<float>)
VRN_GEMM_TYPE(z, vrn::simd::cplx<double>)
#undef VRN_GEMM_TYPE

extern "C" {
void vrn_blas_s42_dgemm_zero_desc(vrn::blas::gemm_desc*); // one for all types
vrn::blas::copy_a_function vrn_blas_s42_cgemm_copyac, vrn_blas_s42_zgemm_copyac;
vrn::blas::copy_b_function vrn_blas_s42_cgemm_copybc, vrn_blas_s42_zgemm_copybc;
vrn::blas::copy_a_ext_function vrn_blas_s42_sgemm_copya_ext, vrn_blas_s42_dgemm_copya_ext;
vrn::blas::copy_b_ext_function vrn_blas_s42_sgemm_copyb_ext, vrn_blas_s42_dgemm_copyb_ext;
}

#pragma GCC visibility pop

namespace vrn::blas {

kernel_function gemm_kernel_s, gemm_kernel_d0, gemm_kernel_d1, gemm_kernel_c, gemm_kernel_z;

} // namespace vrn::blas
