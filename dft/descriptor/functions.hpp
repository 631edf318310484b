// dft/descriptor/functions.hpp - argument lists of the exported and imported names, shared with the host.
//
// Everything is by value but what is told as a pointer. Strides, distances and offsets count elements: complex values
// in the complex domain and on the complex side of real transforms, reals elsewhere. Each returns a dft_status.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft {

using create_1d_function = dft_status(descriptor** out, std::int64_t length);
using create_md_function = dft_status(descriptor** out, std::int32_t rank, const std::int64_t* lengths);
using create_node_function = dft_status(descriptor** out, std::int32_t precision, std::int32_t domain,
                                        std::int32_t rank, const std::int64_t* lengths);
using core_commit_function = dft_status(descriptor* d);
using via_2d_function = dft_status(descriptor* node, descriptor* head);

// ---- one-dimensional drivers: `count` transforms; real ones alike, with packed or complex spectra ----
using driver_function = dft_status(const descriptor* d, void* data, std::int64_t count, void* work);
using driver_out_function = dft_status(const descriptor* d, void* in, void* out, std::int64_t count, void* work);

// ---- two dimensions ----
// A node's two strides are passed by the address of its input_stride, which output_stride follows.
using plane_in_place = dft_status(void* data, const std::int64_t* strides_first, const std::int64_t* strides_second,
                                  kernel_function* first, kernel_function* second, const descriptor* d, void* work);
using plane_out = dft_status(const void* in, void* out, const std::int64_t* in_first, const std::int64_t* in_second,
                             const std::int64_t* out_first, const std::int64_t* out_second, kernel_function* first,
                             kernel_function* second, const descriptor* d, void* work);
// Real ones: from `in` to `out`, which may be the same, by the strides of the descriptor and its child.
using plane_real = dft_status(const descriptor* d, const void* in, void* out, void* work);

// ---- passes over one dimension: pieces for threads ----
// `columns` transforms of `node`, `distance` apart, each along the node's stride; the block holds 2 to the `order`
// columns, and null has the pass allocate its own. The _out forms go from input to output strides.
using column_pass = dft_status(void* data, std::int64_t distance, kernel_function* kernel, const descriptor* node,
                               std::int64_t columns, std::int64_t length, void* block, std::int32_t order,
                               void* work);
using column_out_pass = dft_status(const void* in, void* out, std::int64_t in_distance, std::int64_t out_distance,
                                   kernel_function* kernel, const descriptor* node, std::int64_t columns,
                                   std::int64_t length, void* block, std::int32_t order, void* work);
// `rows` transforms of the first dimension, from in to out, which may be the same; distances of neighbouring rows.
using row_pass = dft_status(const descriptor* d, kernel_function* kernel, const void* in, void* out,
                            std::int64_t in_distance, std::int64_t out_distance, std::int64_t rows, void* work);
// Real rows, with the values that each side has.
using real_row_pass = dft_status(const descriptor* d, kernel_function* kernel, const void* in, void* out,
                                 std::int64_t in_distance, std::int64_t in_count, std::int64_t out_distance,
                                 std::int64_t out_count, std::int64_t rows, void* work);
// Planes first to first + count - 1 of the two lowest dimensions, counted over the dimensions above.
using planes_part = dft_status(const descriptor* d, void* data, std::int64_t first, std::int64_t count,
                               std::int32_t forward, void* work);
using planes_out_part = dft_status(const descriptor* d, const void* in, void* out, std::int64_t first,
                                   std::int64_t count, std::int32_t forward, void* work);
// `count` neighbouring columns of one further dimension: strides are (between columns, along a column).
using columns_part = dft_status(const std::int64_t* strides, const descriptor* node, kernel_function* kernel,
                                void* data, const descriptor* d, std::int64_t count, void* work);

// ---- pieces of real transforms: rows, columns or units first to last - 1 (compute/real.cpp) ----
using real_part = dft_status(const descriptor* d, const void* in, void* out, std::int64_t first, std::int64_t last,
                             void* work);
using real_part_in_place = dft_status(const descriptor* d, void* data, std::int64_t first, std::int64_t last,
                                      void* work);
using real_units = dft_status(const descriptor* d, void* spectrum, std::int32_t dim, std::int64_t first,
                              std::int64_t last, void* work);

// ---- two phases of one long transform as rows times cols: columns or rows first to last - 1 ----
using four_step_phase = dft_status(const descriptor* d, const void* in, void* out, std::int64_t first,
                                   std::int64_t last, std::int32_t forward);

// ---- gather and scatter ----
template <class E>
using scatter_function = void(std::int64_t count, std::int64_t width, const E* src, std::int64_t src_stride, E* dst,
                              std::int64_t dst_stride, std::int64_t dst_distance);

// What the front ends hand to the host's threaded loops: data moved by the offsets; `out` null in place.
struct parallel_call {
    descriptor* d;
    void *in, *out;
    void* work;
};
using parallel_import = dft_status(const parallel_call* call);

} // namespace vrn::dft

#pragma GCC visibility push(default)
extern "C" {
vrn::dft::core_commit_function vrn_dft_commit_node_d_c2c_1d_omp, vrn_dft_commit_node_d_c2c_md_omp,
    vrn_dft_commit_node_d_r2c_1d_omp, vrn_dft_commit_node_d_r2c_md_omp, vrn_dft_commit_node_s_c2c_1d_omp,
    vrn_dft_commit_node_s_c2c_md_omp, vrn_dft_commit_node_s_r2c_1d_omp, vrn_dft_commit_node_s_r2c_md_omp;

#define VRN_DFT_IMPORTS(type)                                                                                        \
    vrn::dft::parallel_import vrn_dft_compute_forward_##type##_par, vrn_dft_compute_forward_##type##_out_par;
#define VRN_DFT_IMPORTS_BACK(type)                                                                                   \
    vrn::dft::parallel_import vrn_dft_compute_backward_##type##_par, vrn_dft_compute_backward_##type##_out_par;
VRN_DFT_IMPORTS(c)
VRN_DFT_IMPORTS(z) VRN_DFT_IMPORTS(s) VRN_DFT_IMPORTS(d) VRN_DFT_IMPORTS(sc) VRN_DFT_IMPORTS(dz)
    VRN_DFT_IMPORTS_BACK(c) VRN_DFT_IMPORTS_BACK(z) VRN_DFT_IMPORTS_BACK(s) VRN_DFT_IMPORTS_BACK(d)
        VRN_DFT_IMPORTS_BACK(cs) VRN_DFT_IMPORTS_BACK(zd)
#undef VRN_DFT_IMPORTS
#undef VRN_DFT_IMPORTS_BACK

            vrn::dft::create_1d_function vrn_dft_s42_dfti_create_dc1d,
    vrn_dft_s42_dfti_create_dr1d, vrn_dft_s42_dfti_create_sc1d, vrn_dft_s42_dfti_create_sr1d;
vrn::dft::create_node_function vrn_dft_s42_dfti_create_node;
}
#pragma GCC visibility pop
