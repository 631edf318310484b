// dft/descriptor/descriptor.cpp - creation, release, copies and settings of a descriptor.
//
// The class table is how the host reads and changes one; the service table is where it leaves its threads. Both
// tables are the only statics. Records are zeroed at creation, so a partly made one can always be destroyed.

#include "dft/commit/walk.hpp"
#include "dft/descriptor/functions.hpp"
#include "dft/descriptor/tensor.hpp"
#include "dft/primitive/primitive.hpp"
#include "frame/export.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <cstring>

namespace vrn::dft {
namespace {

// In writable storage: the host fills it, and one value serves the whole process.
constinit dft_thread_services services{};

std::int64_t own_cache_size() { return vrn_serv_get_cache_size(0); }

// ---- life ----

void free_plan(primitive_plan*& plan, std::int32_t (*free)(primitive_plan*))
{
    if (plan != nullptr) free(plan);
    plan = nullptr;
}

dft_status decommit(descriptor* d)
{
    if (d->child != nullptr) d->child->destroy(d->child);
    d->child = nullptr;
    if (d->active_method != nullptr && d->active_method->decommit != nullptr)
        d->active_method->decommit(d->active_method, d);
    d->active_method = nullptr;
    if (d->via_2d != nullptr && d->via_2d_release != nullptr) {
        d->via_2d_release(d);
        d->via_2d = nullptr;
        d->via_2d_release = nullptr;
    }
    d->work_size = d->node_work_size = 0;
    d->real_md_pack_flag = 0;
    free_plan(d->plan_complex_double, kprDftFree_Complex_d);
    free_plan(d->plan_complex_single, kprDftFree_Complex_s);
    free_plan(d->plan_split_double, kprDftFree_Split_d);
    free_plan(d->plan_split_single, kprDftFree_Split_s);
    free_plan(d->plan_scrambled_double, kprDftFree_Scrambled_d);
    free_plan(d->plan_scrambled_single, kprDftFree_Scrambled_s);
    for (void*& buffer : d->saved_real_buffers) {
        vrn_serv_free(buffer);
        buffer = nullptr;
    }
    free_plan(d->plan_real_double, kprDftFree_Real_d);
    free_plan(d->plan_real_single, kprDftFree_Real_s);
    d->status = uncommitted;
    d->compute_forward = d->compute_backward = nullptr;
    d->flags &= static_cast<std::uint8_t>(~flag_simple);
    return ok;
}

dft_status destroy(descriptor* d)
{
    d->decommit(d);
    for (dim_tensor* t : {&d->user_dims, &d->user_batch, &d->dims, &d->batch}) tensor::release(*t);
    vrn_serv_free(d);
    return ok;
}

descriptor* new_record()
{
    return static_cast<descriptor*>(vrn_serv_calloc(1, sizeof(descriptor), descriptor_alignment));
}

// ---- class table ----

dft_status get_strides(const descriptor* d, std::int64_t offset, std::int64_t triple::*side, std::int64_t* strides)
{
    *strides++ = offset;
    for (std::int32_t i = 0; i < d->user_dims.count; ++i) *strides++ = d->user_dims.at[i].*side;
    return ok;
}
dft_status get_input_strides(const descriptor* d, std::int64_t* strides)
{
    return get_strides(d, d->input_offset, &triple::input_stride, strides);
}
dft_status get_output_strides(const descriptor* d, std::int64_t* strides)
{
    return get_strides(d, d->output_offset, &triple::output_stride, strides);
}
dft_status set_strides(descriptor* d, std::int64_t& offset, std::int64_t triple::*side, const std::int64_t* strides)
{
    d->decommit(d);
    offset = *strides++;
    for (std::int32_t i = 0; i < d->user_dims.count; ++i) d->user_dims.at[i].*side = *strides++;
    return ok;
}
dft_status set_input_strides(descriptor* d, const std::int64_t* strides)
{
    return set_strides(d, d->input_offset, &triple::input_stride, strides);
}
dft_status set_output_strides(descriptor* d, const std::int64_t* strides)
{
    return set_strides(d, d->output_offset, &triple::output_stride, strides);
}
dft_status get_lengths(const descriptor* d, std::int64_t* lengths)
{
    for (std::int32_t i = 0; i < d->user_dims.count; ++i) lengths[i] = d->user_dims.at[i].length;
    return ok;
}
dft_status get_name(const descriptor* d, char* name, std::int32_t capacity)
{
    std::copy_n(d->name, std::clamp(capacity, 0, name_bytes), name);
    return ok;
}
dft_status set_name(descriptor* d, const char* name, std::int32_t length, char fill)
{
    const int kept = std::clamp(length, 0, name_bytes);
    std::fill(std::copy_n(name, kept, d->name), d->name + name_bytes, fill);
    return ok;
}

double* scale_of(descriptor* d, std::int32_t key)
{
    return key == key_forward_scale ? &d->forward_scale : key == key_backward_scale ? &d->backward_scale : nullptr;
}
dft_status get_scale(const descriptor* d, std::int32_t key, double* scale)
{
    const double* stored = scale_of(const_cast<descriptor*>(d), key);
    if (stored == nullptr) return bad_configuration;
    *scale = *stored;
    return ok;
}
dft_status set_scale(descriptor* d, std::int32_t key, double scale)
{
    double* stored = scale_of(d, key);
    if (stored == nullptr) return bad_configuration;
    // True for a NaN on either side, too.
    if (!(scale == *stored)) d->decommit(d);
    *stored = scale;
    return ok;
}

dft_status get_input_distance(const descriptor* d, std::int64_t* distance)
{
    *distance = d->user_batch.at->input_stride;
    return ok;
}
dft_status get_output_distance(const descriptor* d, std::int64_t* distance)
{
    *distance = d->user_batch.at->output_stride;
    return ok;
}
dft_status get_number_of_transforms(const descriptor* d, std::int64_t* number)
{
    *number = d->user_batch.at->length;
    return ok;
}
dft_status set_input_distance(descriptor* d, std::int64_t distance)
{
    d->user_batch.at->input_stride = d->input_distance = distance;
    return ok;
}
dft_status set_output_distance(descriptor* d, std::int64_t distance)
{
    d->user_batch.at->output_stride = d->output_distance = distance;
    return ok;
}
dft_status set_number_of_transforms(descriptor* d, std::int64_t number)
{
    d->user_batch.at->length = d->number_of_transforms = number;
    return ok;
}

bool pinned(const descriptor* d) { return d->services->pinned != nullptr && d->services->pinned() != 0; }

dft_status get_thread_limit(const descriptor* d, std::int32_t* limit)
{
    if (d->status == committed) {
        const std::int32_t most = d->services->max_threads == nullptr ? 1 : d->services->max_threads();
        *limit = d->thread_count < most ? d->thread_count : most;
    } else {
        *limit = pinned(d) ? 1 : d->thread_limit;
    }
    return ok;
}
dft_status set_thread_limit(descriptor* d, std::int32_t limit)
{
    if (limit < 0) return bad_configuration;
    d->thread_limit = pinned(d) ? 1 : limit;
    return ok;
}

dft_status clone(const descriptor* d, descriptor** copy)
{
    descriptor* c = new_record();
    if (c == nullptr) return no_memory;
    c->decommit = d->decommit;
    c->destroy = d->destroy;
    c->class_table = d->class_table;
    c->services = d->services;
    c->forward_domain = d->forward_domain;
    c->precision = d->precision;
    c->commit_list = d->commit_list;
    c->rank = d->rank;
    c->work_rank = d->work_rank;
    c->ordering = d->ordering;
    c->transpose_policy = d->transpose_policy;
    c->workspace_policy = d->workspace_policy;
    c->option_inherited_3 = d->option_inherited_3;
    c->input_offset = d->input_offset;
    c->output_offset = d->output_offset;
    c->number_of_transforms = d->number_of_transforms;
    c->input_distance = d->input_distance;
    c->output_distance = d->output_distance;
    c->io_arg_count = d->io_arg_count;
    c->magic = d->magic;
    c->thread_limit = d->thread_limit;
    c->user_threads = d->user_threads;
    c->complex_storage = d->complex_storage;
    c->real_storage = d->real_storage;
    c->conjugate_even_storage = d->conjugate_even_storage;
    c->placement = d->placement;
    c->packed_format = d->packed_format;
    c->forward_scale = d->forward_scale;
    c->backward_scale = d->backward_scale;
    if (!tensor::copy(c->user_dims, d->user_dims, tensor::plain) ||
        !tensor::copy(c->user_batch, d->user_batch, tensor::plain)) {
        c->destroy(c);
        return no_memory;
    }
    // Until its first commit a copy is neither committed nor uncommitted.
    c->status = 0;
    *copy = c;
    return ok;
}

constexpr descriptor_class_table class_table = {
    class_commit,
    class_recommit,
    get_input_strides,
    get_output_strides,
    set_input_strides,
    set_output_strides,
    get_lengths,
    get_name,
    set_name,
    get_scale,
    set_scale,
    clone,
    get_input_distance,
    get_output_distance,
    get_number_of_transforms,
    set_input_distance,
    set_output_distance,
    set_number_of_transforms,
    get_thread_limit,
    set_thread_limit,
};

// The first dimension given is the fastest: each stride still unset is the product of what lies before.
void default_strides(dim_tensor& t, std::int64_t triple::*side)
{
    std::int64_t product = 1;
    for (std::int32_t i = 0; i < t.count; ++i) {
        if (t.at[i].*side == stride_unset) t.at[i].*side = product;
        product = t.at[i].*side * t.at[i].length;
    }
}

bool fill_record(descriptor* d, std::int32_t rank, const std::int64_t* lengths)
{
    if (!tensor::allocate(d->user_dims, rank)) return false;
    for (std::int32_t i = 0; i < rank; ++i) d->user_dims.at[i] = {lengths[i], stride_unset, stride_unset};
    if (!tensor::allocate(d->user_batch, 1)) return false;
    d->user_batch.at[0] = {1, 0, 0};
    d->magic = descriptor_magic;
    d->status = uncommitted;
    d->number_of_transforms = 1;
    d->complex_storage = storage_complex;
    d->real_storage = storage_split;
    d->conjugate_even_storage = storage_complex_real;
    d->placement = in_place;
    d->packed_format = format_ccs;
    d->workspace_policy = workspace_default;
    d->ordering = ordered;
    d->transpose_policy = transpose_default;
    d->forward_scale = d->backward_scale = 1.0;
    d->user_threads = 1;
    default_strides(d->user_dims, &triple::input_stride);
    default_strides(d->user_dims, &triple::output_stride);
    return tensor::copy(d->dims, d->user_dims, tensor::plain) && tensor::copy(d->batch, d->user_batch, tensor::plain);
}

} // namespace
} // namespace vrn::dft

using namespace vrn::dft;

VRN_EXPORT dft_status vrn_dft_s42_dfti_create_node(descriptor** out, std::int32_t precision, std::int32_t domain,
                                                   std::int32_t rank, const std::int64_t* lengths)
{
    if (std::any_of(lengths, lengths + std::max(rank, 0), [](std::int64_t n) { return n <= 0; })) return bad_length;
    descriptor* d = new_record();
    if (d == nullptr) return no_memory;
    d->precision = precision;
    d->decommit = decommit;
    d->destroy = destroy;
    d->forward_domain = domain;
    d->class_table = &class_table;
    d->services = &services;
    d->rank = rank;
    if (!fill_record(d, rank, lengths)) {
        d->destroy(d);
        return no_memory;
    }
    *out = d;
    // Several threads may create at once; each would store the same.
    if (__atomic_load_n(&services.cache_size, __ATOMIC_RELAXED) == nullptr)
        __atomic_store_n(&services.cache_size, &own_cache_size, __ATOMIC_RELAXED);
    return ok;
}
