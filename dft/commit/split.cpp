// dft/commit/split.cpp - complex transforms of real and imaginary parts in two arrays.
//
// Several dimensions go one after the other, each a transform of rank 1 batched over all others; several batch
// triples lose the last to a loop; one triple is done here, in blocks that share cache lines, over threads. The first
// two hold no precision of their own and serve both.

#include "dft/commit/strategies.hpp"
#include "dft/compute/move.hpp"
#include "dft/descriptor/functions.hpp"
#include "dft/descriptor/tensor.hpp"

namespace vrn::dft {

namespace {

bool is_split(const descriptor* d)
{
    return d->forward_domain == domain_complex && d->complex_storage == storage_split && !is_inner(d);
}

// An inner descriptor of one dimension with the batch tensor a + b, committed.
dft_status make_inner(descriptor** out, const descriptor* d, const triple& dimension, const dim_tensor& a,
                      const dim_tensor& b)
{
    if (*out == nullptr) {
        const dft_status s = vrn_dft_s42_dfti_create_node(out, d->precision, domain_complex, 1, &dimension.length);
        if (s != ok) return s;
    }
    descriptor* inner = *out;
    inner->complex_storage = storage_split;
    inner->commit_list = d->commit_list;
    inner->thread_limit = d->thread_limit;
    inner->user_threads = d->user_threads;
    inner->placement = d->placement;
    inner->ordering = d->ordering;
    inner->dims.at[0] = dimension;
    if (!tensor::concatenate(inner->batch, a, b)) return no_memory;
    return ok;
}

dft_status commit_inner(descriptor* inner)
{
    tensor::sort(inner->batch);
    tensor::drop_units(inner->batch);
    tensor::merge(inner->batch);
    return inner->class_table->recommit(inner);
}

// ---- several dimensions ----

struct ranks_record {
    descriptor** inner;
    std::int32_t count;
    void release()
    {
        for (std::int32_t i = 0; i < count; ++i) destroy_inner(inner[i]);
        vrn_serv_free(inner);
        inner = nullptr;
        count = 0;
    }
};

template <bool Forward>
dft_status compute_inner(descriptor* inner, void** parts)
{
    return Forward ? inner->compute_forward(inner, parts, nullptr) : inner->compute_backward(inner, parts, nullptr);
}

void** move_parts(const descriptor* d, const void* given, void** parts, std::int64_t in, std::int64_t out)
{
    const std::int64_t bytes = d->precision == precision_double ? sizeof(double) : sizeof(float);
    auto* const* from = static_cast<void* const*>(given);
    for (int p = 0; p < (d->placement == in_place ? 2 : 4); ++p)
        parts[p] = static_cast<std::byte*>(from[p]) + bytes * (p < 2 ? in : out);
    return parts;
}

template <bool Forward>
dft_status compute_ranks(descriptor* d, void* in, void*)
{
    const auto& r = *static_cast<const ranks_record*>(d->method_state);
    void* parts[4];
    move_parts(d, in, parts, d->input_offset, d->output_offset);
    // Only the first goes from input to output; the others work where it left the data.
    void** rest = d->placement == in_place ? parts : parts + 2;
    for (std::int32_t i = 0; i < r.count; ++i)
        if (const dft_status s = compute_inner<Forward>(r.inner[i], i == 0 ? parts : rest); s != ok) return s;
    return ok;
}

dft_status commit_ranks(const commit_method* method, descriptor* d)
{
    if (!is_split(d) || d->work_rank == 1) return declined;
    auto* record = own_record<ranks_record>(method, d);
    if (record == nullptr) return no_memory;
    const std::int32_t rank = d->dims.count;
    if (rank > record->count) {
        auto* larger = static_cast<descriptor**>(
            vrn_serv_calloc(static_cast<std::uint64_t>(rank), sizeof(descriptor*), descriptor_alignment));
        if (larger == nullptr) return give_up(d, no_memory);
        std::copy(record->inner, record->inner + record->count, larger);
        vrn_serv_free(record->inner);
        record->inner = larger;
    }
    for (std::int32_t i = rank; i < record->count; ++i) destroy_inner(record->inner[i]);
    record->count = rank;
    for (std::int32_t i = 0; i < rank; ++i) {
        // The others, without this one.
        triple first = d->dims.at[i];
        std::swap(d->dims.at[i], d->dims.at[rank - 1]);
        const dim_tensor others{rank - 1, d->dims.at};
        dft_status s = make_inner(&record->inner[i], d, first, d->batch, others);
        std::swap(d->dims.at[i], d->dims.at[rank - 1]);
        descriptor* inner = record->inner[i];
        if (s == ok) {
            inner->forward_scale = i == 0 ? d->forward_scale : 1.0;
            inner->backward_scale = i == 0 ? d->backward_scale : 1.0;
            if (i > 0 && d->placement == not_in_place) {
                inner->placement = in_place;
                inner->dims.at[0].input_stride = first.output_stride;
                for (std::int32_t j = 0; j < inner->batch.count; ++j)
                    inner->batch.at[j].input_stride = inner->batch.at[j].output_stride;
            }
            s = commit_inner(inner);
        }
        if (s != ok) return give_up(d, s);
    }
    return take(d, compute_ranks<true>, compute_ranks<false>);
}

int tell_ranks(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const ranks_record*>(d->method_state);
    append(line, capacity, "split ranks (");
    for (std::int32_t i = 0; i < r.count; ++i) {
        if (i > 0) append(line, capacity, "; ");
        describe(r.inner[i], line, capacity);
    }
    return append(line, capacity, ")");
}

// ---- several batch triples ----

struct batch_record {
    descriptor* inner;
    triple loop;
    void release() { destroy_inner(inner); }
};

template <bool Forward>
dft_status compute_batch(descriptor* d, void* in, void*)
{
    const auto& r = *static_cast<const batch_record*>(d->method_state);
    void* parts[4];
    for (std::int64_t i = 0; i < r.loop.length; ++i) {
        move_parts(d, in, parts, d->input_offset + i * r.loop.input_stride,
                   d->output_offset + i * r.loop.output_stride);
        if (const dft_status s = compute_inner<Forward>(r.inner, parts); s != ok) return s;
    }
    return ok;
}

dft_status commit_batch(const commit_method* method, descriptor* d)
{
    if (!is_split(d) || d->work_rank != 1 || d->batch.count < 2) return declined;
    auto* record = own_record<batch_record>(method, d);
    if (record == nullptr) return no_memory;
    const std::int32_t kept = d->batch.count - 1;
    record->loop = d->batch.at[kept];
    dft_status s = make_inner(&record->inner, d, d->dims.at[0], {kept, d->batch.at}, {0, nullptr});
    if (s == ok) {
        record->inner->forward_scale = d->forward_scale;
        record->inner->backward_scale = d->backward_scale;
        s = commit_inner(record->inner);
    }
    if (s != ok) return give_up(d, s);
    return take(d, compute_batch<true>, compute_batch<false>);
}

int tell_batch(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const batch_record*>(d->method_state);
    append(line, capacity, "split loop %d (", static_cast<int>(r.loop.length));
    describe(r.inner, line, capacity);
    return append(line, capacity, ")");
}

// ---- one triple ----

template <class R>
struct primitive_record {
    primitive_plan* plan;
    std::int64_t length;
    std::int32_t flag, work;
    bool scales_apart; // the pair of scales is none that the engine has a flag for
    std::int64_t count, in_stride, in_distance, out_stride, out_distance;
    std::int64_t block, padded_length, work_units;
    void release()
    {
        if (plan != nullptr) engine<R>::free_split(plan);
        plan = nullptr;
    }
};

// Room of a gathered column: at least the length, and an odd multiple of 8, so that the columns of a block do not lie
// on top of each other in the cache.
std::int64_t padded(std::int64_t n)
{
    const std::int64_t rounded = ((n - 1) & ~std::int64_t{7}) + 8;
    return rounded / 8 % 2 != 0 ? rounded : rounded + 8;
}

std::int64_t block_of(std::int64_t stride, std::int64_t distance)
{
    if (stride == 1) return 1;
    return std::max<std::int64_t>(1, 8 / std::max<std::int64_t>(1, distance < 0 ? -distance : distance));
}

template <class R>
void lay_out(primitive_record<R>& r, const descriptor* d)
{
    const bool inplace = d->placement == in_place;
    r.count = d->number_of_transforms;
    r.in_stride = d->input_stride;
    r.in_distance = d->input_distance;
    r.out_stride = inplace ? r.in_stride : d->output_stride;
    r.out_distance = inplace ? r.in_distance : d->output_distance;
    if (r.in_stride == 1 && r.out_stride == 1) {
        r.block = r.padded_length = 1;
        // Below 33 values a transform is less than a thread is worth.
        r.work_units = d->length < 33 ? d->length * r.count / 32 : r.count;
    } else {
        r.block = std::max(block_of(r.in_stride, r.in_distance), block_of(r.out_stride, r.out_distance));
        r.padded_length = padded(d->length);
        r.work_units = r.count / r.block;
    }
    r.work_units = std::max<std::int64_t>(r.work_units, 1);
}

template <class R, bool Forward>
dft_status transform_split(const descriptor* d, const primitive_record<R>& r, const R* const* x, R* const* y,
                           std::byte* work)
{
    const auto status = engine<R>::template split<Forward>(x[0], x[1], y[0], y[1], r.plan, work);
    const double scale = Forward ? d->forward_scale : d->backward_scale;
    if (status == kpr_ok && r.scales_apart && scale != 1.0)
        for (int p = 0; p < 2; ++p)
            for (std::int64_t k = 0; k < r.length; ++k) y[p][k] *= static_cast<R>(scale);
    return dft_status_of(status);
}

// Transforms begin to end - 1.
template <class R, bool Forward>
dft_status compute_range(const descriptor* d, const primitive_record<R>& r, R* const* in, R* const* out,
                         std::int64_t begin, std::int64_t end)
{
    const bool unit = r.in_stride == 1 && r.out_stride == 1;
    const std::uint64_t column = unit ? 0 : static_cast<std::uint64_t>(2 * r.block * r.padded_length) * sizeof(R);
    const auto needed = column + static_cast<std::uint64_t>(r.work);
    const buffer block(needed, 64);
    if (needed != 0 && !block) return no_memory;
    auto* work = r.work == 0 ? nullptr : block.as<std::byte>() + column;
    for (std::int64_t i = begin; i < end;) {
        const R* x[2] = {in[0] + i * r.in_distance, in[1] + i * r.in_distance};
        R* y[2] = {out[0] + i * r.out_distance, out[1] + i * r.out_distance};
        if (unit) {
            if (const dft_status s = transform_split<R, Forward>(d, r, x, y, work); s != ok) return s;
            ++i;
            continue;
        }
        std::int64_t width = r.block;
        while (width > end - i) width /= 2;
        R* part[2] = {block.as<R>(), block.as<R>() + r.block * r.padded_length};
        for (int p = 0; p < 2; ++p)
            gather(r.length, width, x[p], r.in_stride, r.in_distance, part[p], r.padded_length);
        for (std::int64_t w = 0; w < width; ++w) {
            R* columns[2] = {part[0] + w * r.padded_length, part[1] + w * r.padded_length};
            if (const dft_status s = transform_split<R, Forward>(d, r, columns, columns, work); s != ok) return s;
        }
        for (int p = 0; p < 2; ++p)
            scatter(r.length, width, static_cast<const R*>(part[p]), r.padded_length, y[p], r.out_stride,
                    r.out_distance);
        i += width;
    }
    return ok;
}

template <class R, bool Forward>
dft_status compute_primitive(descriptor* d, void* in, void*)
{
    const auto& r = *static_cast<const primitive_record<R>*>(d->method_state);
    auto* const* given = static_cast<R* const*>(in);
    R* x[2] = {given[0] + d->input_offset, given[1] + d->input_offset};
    R* y[2] = {x[0], x[1]};
    if (d->placement == not_in_place) y[0] = given[2] + d->output_offset, y[1] = given[3] + d->output_offset;
    shared_status status;
    on_threads(d, std::min<std::int64_t>(d->thread_count, r.work_units), [&](int thread, int team) {
        const share units(r.work_units, thread, team);
        status(compute_range<R, Forward>(d, r, x, y, units.begin * r.count / r.work_units,
                                         units.end * r.count / r.work_units));
    });
    return status.value;
}

template <class R>
dft_status commit_primitive(const commit_method* method, descriptor* d)
{
    if (!is_split(d) || d->precision != engine<R>::precision || d->work_rank != 1 || d->batch.count != 1)
        return declined;
    if (over_limit<R>(d->length)) return too_long;
    auto* record = own_record<primitive_record<R>>(method, d);
    if (record == nullptr) return no_memory;
    const std::int32_t flag = flag_of_scales(d->forward_scale, d->backward_scale, d->length);
    record->scales_apart = flag == 0;
    const std::int32_t used = flag == 0 ? static_cast<std::int32_t>(scale_none) : flag;
    if (record->plan == nullptr || record->length != d->length || record->flag != used) {
        record->release();
        auto status = engine<R>::create_split(&record->plan, static_cast<std::int32_t>(d->length), used, 0);
        if (status == kpr_ok) status = engine<R>::size_split(record->plan, &record->work);
        if (status != kpr_ok) return give_up(d, dft_status_of(status));
        record->length = d->length;
        record->flag = used;
    }
    lay_out(*record, d);
    return take(d, compute_primitive<R, true>, compute_primitive<R, false>);
}

template <class R>
int tell_primitive(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const primitive_record<R>*>(d->method_state);
    append(line, capacity, "split %d x %d flag %d block %d padded %d units %d", static_cast<int>(r.count),
           static_cast<int>(r.length), r.flag, static_cast<int>(r.block), static_cast<int>(r.padded_length),
           static_cast<int>(r.work_units));
    return append(line, capacity, r.scales_apart ? " scaled apart" : "");
}

} // namespace

constinit const commit_method split_many_ranks = {commit_ranks, release_record<ranks_record>, tell_ranks};
constinit const commit_method split_batch = {commit_batch, release_record<batch_record>, tell_batch};
constinit const commit_method split_primitive_d = {commit_primitive<double>, release_record<primitive_record<double>>,
                                                   tell_primitive<double>};
constinit const commit_method split_primitive_s = {commit_primitive<float>, release_record<primitive_record<float>>,
                                                   tell_primitive<float>};

} // namespace vrn::dft
