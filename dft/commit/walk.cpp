// dft/commit/walk.cpp - the commit walk. There is no cost model: the order of the list and the tests of each strategy
// decide.

#include "dft/commit/walk.hpp"

#include "dft/commit/text.hpp"
#include "dft/descriptor/tensor.hpp"

namespace vrn::dft {

namespace {

dft_status normalise(descriptor* d)
{
    const bool complex = d->forward_domain == domain_complex;
    // In place there is one set of strides, that of the input.
    const int flags = complex && d->placement == in_place ? tensor::input_both : tensor::plain;
    if (!tensor::copy(d->dims, d->user_dims, flags) || !tensor::copy(d->batch, d->user_batch, flags))
        return no_memory;
    // A real transform's first dimension is the halved one, so its dimensions keep their order.
    if (!complex) return ok;
    tensor::sort(d->dims);
    tensor::drop_units(d->dims);
    tensor::sort(d->batch);
    tensor::drop_units(d->batch);
    tensor::merge(d->batch);
    return ok;
}

void read_tensors(descriptor* d)
{
    d->work_rank = d->dims.count;
    d->length = d->dims.at[0].length;
    d->input_stride = d->dims.at[0].input_stride;
    d->output_stride = d->dims.at[0].output_stride;
    d->number_of_transforms = d->batch.at[0].length;
    d->input_distance = d->batch.at[0].input_stride;
    d->output_distance = d->batch.at[0].output_stride;
    d->forward_scale_used = d->forward_scale;
    d->backward_scale_used = d->backward_scale;
    d->forward_scale_used_single = static_cast<float>(d->forward_scale);
    d->backward_scale_used_single = static_cast<float>(d->backward_scale);
}

void decide_threads(descriptor* d)
{
    const dft_thread_services& s = *d->services;
    d->thread_count = d->thread_limit != 0 ? d->thread_limit : s.max_threads != nullptr ? s.max_threads() : 1;
    d->thread_mode = s.mode != nullptr ? s.mode() : 0;
    d->log2_length = 63 - __builtin_clzll(static_cast<unsigned long long>(d->length));
}

// With `twice` the side whose distances are twice the other's.
bool twice_as_far(const descriptor* d, std::int64_t triple::*twice, std::int64_t triple::*once,
                  std::int64_t offset_twice, std::int64_t offset_once)
{
    if (offset_twice != 2 * offset_once) return false;
    for (std::int32_t i = 1; i < d->dims.count; ++i)
        if (d->dims.at[i].*twice != 2 * (d->dims.at[i].*once)) return false;
    const triple& batch = d->batch.at[0];
    return batch.length <= 1 || batch.*twice == 2 * (batch.*once);
}

dft_status walk(descriptor* d)
{
    read_tensors(d);
    if (!keeps_rule_of_two(d)) return bad_configuration;
    decide_threads(d);
    dft_status last = declined;
    for (const commit_method* const* m = d->commit_list; *m != nullptr; ++m) {
        last = (*m)->commit(*m, d);
        if (last == ok) return ok;
    }
    return last == declined ? bad_configuration : last;
}

} // namespace

bool keeps_rule_of_two(const descriptor* d)
{
    if (d->placement != in_place || d->forward_domain != domain_real ||
        d->conjugate_even_storage != storage_complex || d->dims.at[0].input_stride != 1 ||
        d->dims.at[0].output_stride != 1)
        return true;
    return twice_as_far(d, &triple::output_stride, &triple::input_stride, d->output_offset, d->input_offset) ||
           twice_as_far(d, &triple::input_stride, &triple::output_stride, d->input_offset, d->output_offset);
}

dft_status class_commit(descriptor* d)
{
    if (const dft_status s = normalise(d); s != ok) return s;
    return walk(d);
}

dft_status class_recommit(descriptor* d) { return walk(d); }

int describe(const descriptor* d, char* line, int capacity)
{
    if (d->status != committed) return append(line, capacity, "uncommitted");
    if (d->active_method != nullptr) return d->active_method->describe(d, line, capacity);
    // The general method works under no name of its own: its entry of the list is the one without a decommit.
    for (const commit_method* const* m = d->commit_list; *m != nullptr; ++m)
        if ((*m)->decommit == nullptr) return (*m)->describe(d, line, capacity);
    return append(line, capacity, "unknown");
}

} // namespace vrn::dft
