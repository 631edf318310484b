// blas/gemm/desc.hpp - the kernel description record of a matrix product.
//
// One plain record drives a product of any of the four types: the register tile, the cache blocks, the packed
// buffers and the functions that do the work. The host fills and reads it too, so the order of the fields is
// part of the contract between the two libraries. Integers are 64-bit unless marked; block sizes count
// elements of the matrix, `bytes` bytes.
#pragma once

#include <cstdint>

namespace vrn::blas {

using vrn_int = std::int64_t;

struct gemm_desc;

// All published arguments by reference. Element pointers are void: one record serves four types.
using get_blks_size_function = void(const vrn_int* m, const vrn_int* n, const vrn_int* k, gemm_desc*);
using get_bufs_size_function = vrn_int(std::int32_t request, std::int32_t limit, const vrn_int* m, const vrn_int* n,
                                       const vrn_int* k, gemm_desc*);
using get_bufs_function = vrn_int(std::int32_t request, void** buffer, gemm_desc*);
// op(A), mb by kb, times alpha, into panels `*panel_distance` elements apart.
using copy_a_function = void(const vrn_int* mb, const vrn_int* kb, const void* a, const vrn_int* lda, void* to,
                             const vrn_int* panel_distance, const void* alpha);
// op(B), kb by nb, into panels `*panel_distance` elements apart; the last argument is not read.
using copy_b_function = void(const vrn_int* kb, const vrn_int* nb, const void* b, const vrn_int* ldb, void* to,
                             const vrn_int* panel_distance, const void* unused);
// Packs into a panel set whose place the caller gives. Ours to define: everything by reference, as the
// siblings; `code` must be 4096, else nothing is done and 1 is returned. The reserved places are not read.
using copy_a_ext_function = vrn_int(const vrn_int* code, const char* trans, const void*, const void*, const void*,
                                    const vrn_int* m, const vrn_int* k, const void* a, const vrn_int* lda, void** to,
                                    const vrn_int* panel_distance);
using copy_b_ext_function = vrn_int(const vrn_int* code, const char* trans, const void*, const void*, const void*,
                                    const vrn_int* k, const vrn_int* n, const void* b, const vrn_int* ldb, void** to,
                                    const vrn_int* panel_distance, const vrn_int* reserved);
// C (m by n) := beta C + packed A times packed B. `k` is the padded depth for variant 2 (both packed) and the
// depth itself for variant 3 (B raw; the kernel packs it into w, panel by panel).
using kernel_function = void(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n,
                             const vrn_int* k, const void* alpha, const void* a, const vrn_int* a_panel_distance,
                             const void* b, const vrn_int* b_panel_distance, const void* beta, void* c,
                             const vrn_int* ldc, void* w, std::int32_t variant);

struct gemm_desc {
    std::int32_t reserved0;
    std::int32_t kernel_index;            // entry of the type's table in use
    std::int32_t mode_mask;               // partition modes of the driver that the type has, as bits
    vrn_int m_block, n_block, k_block;    // cache blocks; 0 is not set yet
    vrn_int m_unroll, n_unroll, k_unroll; // register tile mr, nr and the multiple kr of the packed depth
    vrn_int m_min, n_min, k_min;          // below any of these the driver does not pack
    void* a_buffer;
    vrn_int a_panel_elements; // mr * kb, from one A panel to the next
    vrn_int a_bytes;
    std::int32_t a_align_exp;
    void* b_buffer;
    vrn_int b_panel_elements; // kb * nr
    vrn_int b_bytes;
    std::int32_t b_align_exp;
    get_blks_size_function* get_blks_size;
    get_bufs_size_function* get_bufs_size;
    get_bufs_function* get_bufs;
    copy_a_function* copyan;
    copy_a_function* copyat;
    copy_a_function* copyac;
    copy_b_function* copybn;
    copy_b_function* copybt;
    copy_b_function* copybc;
    copy_a_ext_function* copya_ext; // null for the complex types
    copy_b_ext_function* copyb_ext;
    std::int32_t w_factor; // multiplier of the work panel's size
    kernel_function* kernel;
    void* w_buffer;
    vrn_int w_bytes;
    std::int32_t w_align_exp;
};

// What `request` of get_bufs_size and get_bufs asks for.
enum request : std::int32_t {
    request_awb = 100,
    request_a = 101,
    request_b = 102,
    request_ab = 103,
    request_bw = 104,
    request_aw = 105,
    request_w = 106,
};
// What `limit` of get_bufs_size takes the sizes from: the lesser of block and matrix, or the blocks alone.
enum limit : std::int32_t { limit_actual = 107, limit_blocks = 108 };

} // namespace vrn::blas
