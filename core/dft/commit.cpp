// core/dft/commit.cpp - the node chain of a commit, and what is decided about threads before the back-end plans.
//
// The back-end's general method calls in here by class; one node is made for each normalised dimension, and its core
// commit is called back. Whatever fails undoes the chain.

#include "core/dft/parallel.hpp"

#include "core/dft/kernels.hpp"
#include "core/threads/threads.hpp"
#include "dft/compute/shape.hpp"

#include <algorithm>
#include <bit>

namespace vrn::dft {
namespace {

using vrn::loader::backend;

std::int64_t log2_of(std::int64_t n) { return 63 - std::countl_zero(static_cast<std::uint64_t>(n)); }

dft_status add_node(descriptor* last, const triple& t)
{
    descriptor* node = nullptr;
    if (const dft_status s =
            backend(vrn_slot_vrn_dft_s42_dfti_create_node)(&node, last->precision, domain_complex, 1, &t.length);
        s != ok)
        return s;
    node->length = t.length;
    node->log2_length = log2_of(t.length);
    node->input_stride = t.input_stride;
    node->output_stride = t.output_stride;
    // The head scales for all dimensions.
    node->forward_scale_used = node->backward_scale_used = 1.0;
    node->forward_scale_used_single = node->backward_scale_used_single = 1.0F;
    last->child = node;
    return ok;
}

dft_status build_chain(descriptor* d)
{
    d->decommit(d);
    d->log2_length = log2_of(d->length);
    d->total_elements = d->longest_length = d->length;
    descriptor* last = d;
    std::int32_t rank = 1;
    // A real transform's dimensions are not normalised. Those of length 1 behind the first would be passes that do
    // nothing; a packed spectrum has them in its layout.
    const bool drop_units = d->conjugate_even_storage == storage_complex || d->forward_domain == domain_complex;
    for (std::int32_t i = 1; i < d->dims.count; ++i) {
        const triple& t = d->dims.at[i];
        if (t.length == 1 && drop_units) continue;
        if (++rank > most_dimensions) return bad_length;
        if (const dft_status s = add_node(last, t); s != ok) return s;
        last = last->child;
        d->total_elements *= t.length;
        d->longest_length = std::max(d->longest_length, t.length);
    }
    d->work_rank = rank;
    for (descriptor* node = d->child; node != nullptr; node = node->child) {
        node->total_elements = d->total_elements;
        node->longest_length = d->longest_length;
        node->work_rank = rank;
    }
    return ok;
}

// Below this a transform in two dimensions over threads loses to one kernel on one.
constexpr std::int64_t log2_of_shared_line = 16;

// parallel_forward says that one transform may use threads: of one dimension by these functions themselves, of more
// by the loops of parallel.cpp, for which its being set is the permission.
template <class R>
void plan_threads(descriptor* d)
{
    d->parallel_forward = d->parallel_backward = nullptr;
    if (d->thread_count < 2 || d->number_of_transforms != 1 || d->forward_domain != domain_complex ||
        d->complex_storage != storage_complex || d->user_threads > 1)
        return;
    if (d->work_rank == 1 && (d->ordering != ordered || d->input_stride != 1 || d->output_stride != 1 ||
                              d->log2_length < log2_of_shared_line || backend(names<R>::init_via_2d)(d, d) != ok))
        return;
    d->parallel_forward = line_on_threads<R, true>;
    d->parallel_backward = line_on_threads<R, false>;
}

template <class R>
dft_status commit_nodes(descriptor* d, vrn::loader::slot<core_commit_function>& core)
{
    if (const dft_status s = build_chain(d); s != ok) {
        d->decommit(d);
        return s;
    }
    plan_threads<R>(d);
    return backend(core)(d);
}

} // namespace
} // namespace vrn::dft

#define COMMIT(name, R, core)                                                                                        \
    extern "C" vrn::dft::dft_status name(vrn::dft::descriptor* d)                                                    \
    {                                                                                                                \
        return vrn::dft::commit_nodes<R>(d, vrn_slot_##core);                                                        \
    }
COMMIT(vrn_dft_commit_node_d_c2c_1d_omp, double, vrn_dft_s42_commit_descriptor_core_d_c2c_1d)
COMMIT(vrn_dft_commit_node_d_c2c_md_omp, double, vrn_dft_s42_commit_descriptor_core_d_c2c_md)
COMMIT(vrn_dft_commit_node_d_r2c_1d_omp, double, vrn_dft_s42_commit_descriptor_core_d_r2c_1d)
COMMIT(vrn_dft_commit_node_d_r2c_md_omp, double, vrn_dft_s42_commit_descriptor_core_d_r2c_md)
COMMIT(vrn_dft_commit_node_s_c2c_1d_omp, float, vrn_dft_s42_commit_descriptor_core_s_c2c_1d)
COMMIT(vrn_dft_commit_node_s_c2c_md_omp, float, vrn_dft_s42_commit_descriptor_core_s_c2c_md)
COMMIT(vrn_dft_commit_node_s_r2c_1d_omp, float, vrn_dft_s42_commit_descriptor_core_s_r2c_1d)
COMMIT(vrn_dft_commit_node_s_r2c_md_omp, float, vrn_dft_s42_commit_descriptor_core_s_r2c_md)
