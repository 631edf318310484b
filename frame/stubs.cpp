// frame/stubs.cpp - the exported names without work: the tier number, the constant answers and the names of
// other tiers' kernel lines. Every tier has the same list of names, so those without meaning here exist too
// and do nothing.

#include "frame/export.hpp"

VRN_EXPORT vrn_int dll_cpu_version() { return 3; }

// One version of the kernel description record exists.
VRN_EXPORT vrn_int vrn_blas_s42_get_kernel_api_version() { return 1; }
VRN_ALIAS(vrn_blas_s42_sgemm_api_support, vrn_blas_s42_get_kernel_api_version);
VRN_ALIAS(vrn_blas_s42_dgemm_api_support, vrn_blas_s42_get_kernel_api_version);
VRN_ALIAS(vrn_blas_s42_cgemm_api_support, vrn_blas_s42_get_kernel_api_version);
VRN_ALIAS(vrn_blas_s42_zgemm_api_support, vrn_blas_s42_get_kernel_api_version);

// Answers of the sparse engine that are constant in this tier.
VRN_EXPORT vrn_int vrn_sparse_get_error_info_i4_s42() { return 0; }
VRN_ALIAS(vrn_sparse_get_error_info_i8_s42, vrn_sparse_get_error_info_i4_s42);
VRN_ALIAS(vrn_sparse_s_csr_ctd_sv_ker_i4_s42, vrn_sparse_get_error_info_i4_s42);
VRN_ALIAS(vrn_sparse_s_csr_ctd_sv_ker_i8_s42, vrn_sparse_get_error_info_i4_s42);
VRN_ALIAS(vrn_sparse_d_csr_ctd_sv_ker_i4_s42, vrn_sparse_get_error_info_i4_s42);
VRN_ALIAS(vrn_sparse_d_csr_ctd_sv_ker_i8_s42, vrn_sparse_get_error_info_i4_s42);

// The empty function. It reads no argument and writes nothing.
VRN_EXPORT void vrn_blas_s42_cgemm_copyac_htn() {}

#define EMPTY(name) VRN_ALIAS(name, vrn_blas_s42_cgemm_copyac_htn)

// Packing of the htn line.
EMPTY(vrn_blas_s42_cgemm_copyan_htn);
EMPTY(vrn_blas_s42_cgemm_copyat_htn);
EMPTY(vrn_blas_s42_cgemm_copybc_htn);
EMPTY(vrn_blas_s42_cgemm_copybn_htn);
EMPTY(vrn_blas_s42_cgemm_copybt_htn);
EMPTY(vrn_blas_s42_dgemm_copyan_htn);
EMPTY(vrn_blas_s42_dgemm_copyat_htn);
EMPTY(vrn_blas_s42_dgemm_copybn_htn);
EMPTY(vrn_blas_s42_dgemm_copybt_htn);
EMPTY(vrn_blas_s42_sgemm_copyan_htn);
EMPTY(vrn_blas_s42_sgemm_copyat_htn);
EMPTY(vrn_blas_s42_sgemm_copybn_htn);
EMPTY(vrn_blas_s42_sgemm_copybt_htn);
EMPTY(vrn_blas_s42_zgemm_copyac_htn);
EMPTY(vrn_blas_s42_zgemm_copyan_htn);
EMPTY(vrn_blas_s42_zgemm_copyat_htn);
EMPTY(vrn_blas_s42_zgemm_copybc_htn);
EMPTY(vrn_blas_s42_zgemm_copybn_htn);
EMPTY(vrn_blas_s42_zgemm_copybt_htn);

// Team set-up.
EMPTY(vrn_blas_s42_sgemm_initialize_buffers);
EMPTY(vrn_blas_s42_sgemm_initialize_kernel_info);
EMPTY(vrn_blas_s42_sgemm_map_thread_to_kernel);
EMPTY(vrn_blas_s42_dgemm_initialize_buffers);
EMPTY(vrn_blas_s42_dgemm_initialize_kernel_info);
EMPTY(vrn_blas_s42_dgemm_map_thread_to_kernel);
EMPTY(vrn_blas_s42_cgemm_initialize_buffers);
EMPTY(vrn_blas_s42_cgemm_initialize_kernel_info);
EMPTY(vrn_blas_s42_cgemm_map_thread_to_kernel);
EMPTY(vrn_blas_s42_zgemm_initialize_buffers);
EMPTY(vrn_blas_s42_zgemm_initialize_kernel_info);
EMPTY(vrn_blas_s42_zgemm_map_thread_to_kernel);

// Block information of other lines.
EMPTY(vrn_blas_s42_dgemm_blk_info_0_brc);
EMPTY(vrn_blas_s42_dgemm_blk_info_1_brc);
EMPTY(vrn_blas_s42_dgemm_blk_info_bdz);
EMPTY(vrn_blas_s42_dgemm_blk_info_hi_thr_bdz);
EMPTY(vrn_blas_s42_sgemm_blk_info_bdz);
EMPTY(vrn_blas_s42_sgemm_blk_info_hi_thr_bdz);
EMPTY(vrn_blas_s42_zgemm_blk_info_bdz);
EMPTY(vrn_blas_s42_zgemm_blk_info_hi_thr_bdz);

// Buffers and scaling of other lines.
EMPTY(vrn_blas_s42_dgemm_getbufs);
EMPTY(vrn_blas_s42_dgemm_freebufs);
EMPTY(vrn_blas_s42_sgemm_getbufs);
EMPTY(vrn_blas_s42_sgemm_freebufs);
EMPTY(vrn_blas_s42_dgemm_mscale_brc);

// Drivers of other lines.
EMPTY(vrn_blas_s42_xcgemm_internal);
EMPTY(vrn_blas_s42_xcgemm_internal_team);
EMPTY(vrn_blas_s42_xdgemm_internal);
EMPTY(vrn_blas_s42_xdgemm_internal_team);
EMPTY(vrn_blas_s42_xsgemm_internal);
EMPTY(vrn_blas_s42_xsgemm_internal_team);
EMPTY(vrn_blas_s42_xzgemm_internal);
EMPTY(vrn_blas_s42_xzgemm_internal_team);
EMPTY(vrn_blas_s42_xdgemm0_1_brc);
EMPTY(vrn_blas_s42_xdgemm0_brc);
EMPTY(vrn_blas_s42_xdgemm1_1_brc);
EMPTY(vrn_blas_s42_xdgemm_bdz);
EMPTY(vrn_blas_s42_xdgemm_hi_thr_bdz);
EMPTY(vrn_blas_s42_xsgemm0_brc);
EMPTY(vrn_blas_s42_xsgemm_bdz);
EMPTY(vrn_blas_s42_xsgemm_hi_thr_bdz);
EMPTY(vrn_blas_s42_xzgemm_bdz);
EMPTY(vrn_blas_s42_xzgemm_hi_thr_bdz);

// Conjugation has no meaning for the real types.
EMPTY(vrn_sparse_s_triangular_block_conj_trans_mv_a_colmajor_i4_s42);
EMPTY(vrn_sparse_s_triangular_block_conj_trans_mv_a_colmajor_i8_s42);
EMPTY(vrn_sparse_s_triangular_block_conj_trans_mv_a_rowmajor_i4_s42);
EMPTY(vrn_sparse_s_triangular_block_conj_trans_mv_a_rowmajor_i8_s42);
EMPTY(vrn_sparse_d_triangular_block_conj_trans_mv_a_colmajor_i4_s42);
EMPTY(vrn_sparse_d_triangular_block_conj_trans_mv_a_colmajor_i8_s42);
EMPTY(vrn_sparse_d_triangular_block_conj_trans_mv_a_rowmajor_i4_s42);
EMPTY(vrn_sparse_d_triangular_block_conj_trans_mv_a_rowmajor_i8_s42);
