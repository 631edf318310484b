// blas/gemm/functions.hpp - the functions that the tables point to, for those who call them by name.
#pragma once

#include "blas/gemm/desc.hpp"

// These names are exported: without the pragma a mere mention would hide them.
#pragma GCC visibility push(default)

#define VRN_GEMM_TYPE(t)                                                                                             \
    extern "C" {                                                                                                     \
    vrn::blas::get_blks_size_function vrn_blas_s42_##t##gemm_get_blks_size;                                          \
    vrn::blas::get_bufs_size_function vrn_blas_s42_##t##gemm_get_bufs_size;                                          \
    vrn::blas::get_bufs_function vrn_blas_s42_##t##gemm_get_bufs;                                                    \
    vrn::blas::copy_a_function vrn_blas_s42_##t##gemm_copyan;                                                        \
    vrn::blas::copy_a_function vrn_blas_s42_##t##gemm_copyat;                                                        \
    vrn::blas::copy_b_function vrn_blas_s42_##t##gemm_copybn;                                                        \
    vrn::blas::copy_b_function vrn_blas_s42_##t##gemm_copybt;                                                        \
    }
VRN_GEMM_TYPE(s)
VRN_GEMM_TYPE(d)
VRN_GEMM_TYPE(c)
VRN_GEMM_TYPE(z)
#undef VRN_GEMM_TYPE

extern "C" {
vrn::blas::copy_a_function vrn_blas_s42_cgemm_copyac, vrn_blas_s42_zgemm_copyac;
vrn::blas::copy_b_function vrn_blas_s42_cgemm_copybc, vrn_blas_s42_zgemm_copybc;
vrn::blas::copy_a_ext_function vrn_blas_s42_sgemm_copya_ext, vrn_blas_s42_dgemm_copya_ext;
vrn::blas::copy_b_ext_function vrn_blas_s42_sgemm_copyb_ext, vrn_blas_s42_dgemm_copyb_ext;
}

#pragma GCC visibility pop

namespace vrn::blas {

kernel_function gemm_kernel_s, gemm_kernel_d0, gemm_kernel_d1, gemm_kernel_c, gemm_kernel_z;

} // namespace vrn::blas
