// dft/commit/core.cpp - the general method: a plan for every node of a chain that the host has built.
//
// Takes every configuration that no other strategy wanted. Threads first, then a plan for each node in the order
// below, then the compute entries. The host's commit_node functions call it by the names at the end.

#include "dft/commit/core.hpp"
#include "dft/commit/batch_plan.hpp"
#include "dft/commit/via_2d.hpp"
#include "dft/commit/walk.hpp"
#include "dft/compute/front.hpp"
#include "dft/compute/kernels.hpp"
#include "frame/export.hpp"

#include <cmath>

namespace vrn::dft {

namespace {

// ---- how many threads pay ----

// Both answer with a count that lowers thread_count, or 0 for no opinion.
std::int32_t rank_2_rule(const descriptor* d)
{
    return d->work_rank == 2 && d->number_of_transforms == 1 && d->total_elements < 625 ? 1 : 0;
}

template <class R>
std::int32_t size_rule(const descriptor* d)
{
    double count = static_cast<double>(d->number_of_transforms);
    for (const descriptor* node = d; node != nullptr; node = node->child) count *= static_cast<double>(node->length);
    if (d->placement == not_in_place) count *= 2;
    if (d->forward_domain == domain_complex) count *= 2;
    const double bytes = count * sizeof(R);
    const std::int32_t threads = d->services->thread_count != nullptr ? d->services->thread_count() : 1;
    if (bytes <= threads * 16384.0) return threads;
    if (d->number_of_transforms > 1) return 0;
    // A fit of where one more thread began to pay for single transforms.
    const auto t = static_cast<std::int32_t>(std::trunc(std::sqrt(bytes * std::log(bytes) / 313600) + 0.5));
    return t * (d->work_rank == 1 ? (d->via_2d != nullptr ? 2 : 1) : d->work_rank);
}

template <class R>
void decide_threads(descriptor* d, bool md)
{
    const bool alone = d->number_of_transforms == 1 &&
                       (d->forward_domain == domain_real ? d->work_rank == 1 : d->parallel_forward == nullptr);
    if (alone || d->user_threads > 1) d->thread_count = 1;
    if (d->thread_mode == 0) return;
    for (const std::int32_t wanted : {md ? rank_2_rule(d) : 0, size_rule<R>(d)}) {
        if (d->thread_count == 1) return;
        if (wanted >= 1 && wanted < d->thread_count) d->thread_count = wanted;
    }
}

// ---- nodes ----

void inherit(descriptor* node, const descriptor* head, std::int64_t index)
{
    node->node_index = index;
    node->parallel_forward = node->parallel_backward = nullptr;
    if (node == head) return;
    node->input_offset = head->input_offset;
    node->output_offset = head->output_offset;
    node->complex_storage = head->complex_storage;
    node->real_storage = head->real_storage;
    node->conjugate_even_storage = head->conjugate_even_storage;
    node->placement = head->placement;
    node->packed_format = head->packed_format;
    node->ordering = head->ordering;
    node->number_of_transforms = head->number_of_transforms;
    node->input_distance = head->input_distance;
    node->output_distance = head->output_distance;
    node->precision = head->precision;
    node->forward_domain = head->forward_domain;
    node->workspace_policy = head->workspace_policy;
    node->inherited_option = head->inherited_option;
    node->option_inherited_2 = head->option_inherited_2;
    node->option_inherited_3 = head->option_inherited_3;
    node->transpose_policy = head->transpose_policy;
}

template <class R, class Create, class Size>
dft_status make_plan(descriptor* node, primitive_plan*& plan, Create create, Size size)
{
    if (over_limit<R>(node->length)) return too_long;
    std::int32_t bytes = 0;
    auto status = create(&plan, static_cast<std::int32_t>(node->length), scale_none, 0);
    if (status == kpr_ok) status = size(plan, &bytes);
    node->node_work_size = static_cast<std::uint64_t>(bytes);
    return dft_status_of(status);
}

template <class R>
dft_status make_complex_plan(descriptor* node)
{
    using E = engine<R>;
    if (node->complex_storage == storage_split && node->forward_domain == domain_complex)
        return make_plan<R>(node, node->*E::split_plan, E::create_split, E::size_split);
    return node->ordering == ordered
               ? make_plan<R>(node, node->*E::complex_plan, E::create_complex, E::size_complex)
               : make_plan<R>(node, node->*E::scrambled_plan, E::create_scrambled, E::size_scrambled);
}

template <class R>
void take_wrappers(descriptor* node)
{
    const bool in_order = node->ordering == ordered;
    node->forward_kernel = in_order ? ordered_kernel<R, true> : scrambled_kernel<R, true>;
    node->backward_kernel = in_order ? ordered_kernel<R, false> : scrambled_kernel<R, false>;
    node->uses_primitive_plan = 1;
}

// A complex node: the head of a complex chain, or any later node of either domain.
template <class R>
dft_status plan_complex_node(descriptor* node, descriptor* head)
{
    const std::int64_t n = node->length;
    const bool in_order = node->ordering == ordered;
    const bool complex = head->forward_domain == domain_complex;
    if (complex && node->complex_storage == storage_split) {
        node->forward_kernel = in_order ? split_kernel<R, true> : nullptr;
        node->backward_kernel = in_order ? split_kernel<R, false> : nullptr;
        node->uses_primitive_plan = 1;
        return make_complex_plan<R>(node);
    }
    if (complex && in_order && node->complex_storage == storage_complex && head->work_rank == 1 &&
        head->input_stride == 1 && head->output_stride == 1 && node->log2_length >= 16 &&
        (over_limit<R>(n) || node->workspace_policy == workspace_prefer_2d) && init_via_2d<R>(node, head) == ok) {
        node->forward_kernel = via_2d_kernel<R, true>;
        node->backward_kernel = via_2d_kernel<R, false>;
        if (head->number_of_transforms == 1) head->flags |= flag_via_2d;
        return ok;
    }
    take_wrappers<R>(node);
    if (is_pow2(n)) return make_complex_plan<R>(node);
    // Scattered neighbours: further dimensions, and batches whose transforms lie interleaved. The plan below stays
    // for what comes one at a time.
    const bool batched_head = head->work_rank == 1 && head->placement == in_place && head->number_of_transforms > 1;
    if (node->active_method == nullptr && (node != head || batched_head))
        if (const dft_status s = init_batch_plans<R>(node, head); s != ok && s != internal_failure && s != declined)
            return s;
    if (n <= longest_codelet && n >= 2 && in_order) {
        node->forward_kernel = codelet_kernel<R, true>;
        node->backward_kernel = codelet_kernel<R, false>;
    }
    return make_complex_plan<R>(node);
}

// The first node of a real chain.
template <class R>
dft_status plan_real_node(descriptor* d)
{
    using E = engine<R>;
    d->real_forward_direct = real_forward_wrapper<R>;
    d->real_backward_direct = real_backward_wrapper<R>;
    auto take = [d](packed_entry<R>* forward, packed_entry<R>* backward) {
        d->real_forward_kernel = reinterpret_cast<packed_function*>(forward);
        d->real_backward_kernel = reinterpret_cast<packed_function*>(backward);
    };
    const std::int32_t layout = layout_of(d);
    if (has_zero_parts(layout)) take(E::template ccs<true>, E::template ccs<false>);
    else if (layout == format_pack) take(E::template pack<true>, E::template pack<false>);
    else if (layout == format_perm) take(E::template perm<true>, E::template perm<false>);
    else return bad_configuration;
    const std::int64_t n = d->length;
    if (is_pow2(n) && n >= 2 && n <= longest_codelet && d->input_stride == 1 && d->output_stride == 1) {
        d->uses_primitive_plan = 0;
        d->real_forward_direct = real_direct_kernel<R, true>;
        d->real_backward_direct = real_direct_kernel<R, false>;
        d->real_md_pack_flag = rows_come_as_perm(d) ? 1 : 0;
        return ok;
    }
    d->uses_primitive_plan = 1;
    return make_plan<R>(d, d->*E::real_plan, E::create_real, E::size_real);
}

template <class R>
dft_status plan_nodes(descriptor* d)
{
    std::int64_t index = 0;
    for (descriptor* node = d; node != nullptr; node = node->child, ++index) {
        inherit(node, d, index);
        const bool real = d->forward_domain == domain_real && node == d;
        if (const dft_status s = real ? plan_real_node<R>(d) : plan_complex_node<R>(node, d); s != ok) return s;
        d->work_size = std::max(d->work_size, node->node_work_size);
        node->status = committed;
    }
    return ok;
}

// ---- entries ----

// The driver of a plane out of place has no exported name.
template <class R>
dft_status complex_plane_apart(const void* in, void* out, const std::int64_t* in_first, const std::int64_t* in_second,
                               const std::int64_t* out_first, const std::int64_t* out_second, kernel_function* first,
                               kernel_function* second, const descriptor* d, void* work)
{
    return plane_apart<R>({static_cast<const cplx<R>*>(in), *in_first, *in_second},
                          {static_cast<cplx<R>*>(out), *out_first, *out_second}, {first, second}, d, work);
}

template <class R>
plane_function* complex_plane(bool inplace);
template <>
plane_function* complex_plane<double>(bool inplace)
{
    return inplace ? reinterpret_cast<plane_function*>(vrn_dft_s42_xzdft2d)
                   : reinterpret_cast<plane_function*>(complex_plane_apart<double>);
}
template <>
plane_function* complex_plane<float>(bool inplace)
{
    return inplace ? reinterpret_cast<plane_function*>(vrn_dft_s42_xcdft2d)
                   : reinterpret_cast<plane_function*>(complex_plane_apart<float>);
}

template <class R>
void real_planes(descriptor* d, bool cce)
{
    auto take = [d](plane_real* forward, plane_real* backward) {
        d->real_2d_forward = reinterpret_cast<plane_function*>(forward);
        d->real_2d_backward = reinterpret_cast<plane_function*>(backward);
    };
    if constexpr (std::is_same_v<R, double>) {
        if (cce) take(vrn_dft_s42_xdzzdft2d, vrn_dft_s42_xzzddft2d);
        else take(vrn_dft_s42_xdzdft2d, vrn_dft_s42_xzddft2d);
    } else {
        if (cce) take(vrn_dft_s42_xsccdft2d, vrn_dft_s42_xccsdft2d);
        else take(vrn_dft_s42_xscdft2d, vrn_dft_s42_xcsdft2d);
    }
}

template <class R, bool InPlace>
void take_entries(descriptor* d)
{
    if (d->forward_domain == domain_real) {
        d->compute_forward = real_front<R, true, InPlace>;
        d->compute_backward = real_front<R, false, InPlace>;
    } else if (d->complex_storage == storage_split) {
        d->compute_forward = split_front<R, true, InPlace>;
        d->compute_backward = split_front<R, false, InPlace>;
    } else {
        d->compute_forward = complex_front<R, true, InPlace>;
        d->compute_backward = complex_front<R, false, InPlace>;
    }
}

bool real_configuration(const descriptor* d, bool md)
{
    if (!keeps_rule_of_two(d)) return false;
    const bool cce = d->conjugate_even_storage == storage_complex;
    if (md && d->work_rank >= 3 && !cce) return false;
    return cce || (d->packed_format >= format_ccs && d->packed_format <= format_perm);
}

template <class R>
dft_status commit_core(descriptor* d, bool md)
{
    const bool real = d->forward_domain == domain_real;
    // What the split strategies could not take for want of memory is not done by halves here.
    if (d->batch.count > 1) {
        d->decommit(d);
        return declined;
    }
    if (!real && d->complex_storage == storage_split && d->work_rank > 1) {
        d->decommit(d);
        return bad_rank;
    }
    if (real && !real_configuration(d, md)) {
        d->decommit(d);
        return bad_configuration;
    }
    decide_threads<R>(d, md);

    const bool one = d->number_of_transforms == 1 && d->thread_count == 1;
    const bool line = d->work_rank == 1 && d->input_stride == 1 && d->output_stride == 1;
    const bool keeps_place = !real || d->placement == not_in_place || d->input_offset == d->output_offset ||
                             d->conjugate_even_storage == storage_complex;
    d->flags = static_cast<std::uint8_t>((d->flags & flag_inner) | (one && line && keeps_place ? flag_simple : 0) |
                                         (one && md && d->work_rank == 2 ? flag_plane : 0));
    if (d->work_rank == 2 && !real) d->two_level_compute = complex_plane<R>(d->placement == in_place);
    if (d->work_rank == 2 && real) real_planes<R>(d, d->conjugate_even_storage == storage_complex);

    // One long transform over threads: the host has planned it (parallel_forward, via_2d).
    const bool planned = !real && d->work_rank == 1 && d->number_of_transforms <= 1 && d->thread_count > 1;
    if (!planned) {
        if (d->via_2d != nullptr) {
            d->via_2d_release(d);
            d->via_2d = nullptr;
        }
        d->work_size = 0;
        if (const dft_status s = plan_nodes<R>(d); s != ok) {
            d->decommit(d);
            return s;
        }
    }
    if (d->placement == in_place) take_entries<R, true>(d);
    else take_entries<R, false>(d);
    d->io_arg_count = vrn_dft_s42_determine_nioargs(d);
    d->status = committed;
    return ok;
}

} // namespace
} // namespace vrn::dft

using namespace vrn::dft;

#define CORE(name, R, md)                                                                                            \
    VRN_EXPORT dft_status name(descriptor* d) { return commit_core<R>(d, md); }
CORE(vrn_dft_s42_commit_descriptor_core_d_c2c_1d, double, false)
CORE(vrn_dft_s42_commit_descriptor_core_d_c2c_md, double, true)
CORE(vrn_dft_s42_commit_descriptor_core_d_r2c_1d, double, false)
CORE(vrn_dft_s42_commit_descriptor_core_d_r2c_md, double, true)
CORE(vrn_dft_s42_commit_descriptor_core_s_c2c_1d, float, false)
CORE(vrn_dft_s42_commit_descriptor_core_s_c2c_md, float, true)
CORE(vrn_dft_s42_commit_descriptor_core_s_r2c_1d, float, false)
CORE(vrn_dft_s42_commit_descriptor_core_s_r2c_md, float, true)
