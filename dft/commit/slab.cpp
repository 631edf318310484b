// dft/commit/slab.cpp - two and three dimensions as slabs: each thread has its planes, then its rows of columns.
//
//     complex: planes (first dimension, then second) | barrier | third dimension, a line of neighbours at a time
//     real:    rows to a complex spectrum first, its columns after; backward the columns first
//
// The inner descriptors are one-dimensional, of one thread each; a thread of the slab computes with all of them.

#include "dft/commit/strategies.hpp"
#include "dft/descriptor/functions.hpp"

namespace vrn::dft {

namespace {

// A page of its own: every thread reads the record, none writes beside it.
inline constexpr std::int32_t record_alignment = 4096;

struct slab_record {
    descriptor* first;  // a row, or the rows of a plane
    descriptor* second; // the columns of a plane
    descriptor* third;  // the third dimension of neighbouring columns
    std::int64_t n[3];
    std::int64_t in[3], out[3]; // strides
    void release()
    {
        destroy_inner(first);
        destroy_inner(second);
        destroy_inner(third);
    }
};

// `count` transforms of `length`: strides and distances of the two sides.
struct line {
    std::int64_t length, count, in_stride, in_distance, out_stride, out_distance;
};

dft_status make(descriptor** out, const descriptor* d, const line& l, bool real, bool inplace)
{
    const bool wide = d->precision == precision_double;
    auto* create = real ? (wide ? vrn_dft_s42_dfti_create_dr1d : vrn_dft_s42_dfti_create_sr1d)
                        : (wide ? vrn_dft_s42_dfti_create_dc1d : vrn_dft_s42_dfti_create_sc1d);
    if (const dft_status s = create(out, l.length); s != ok) return s;
    descriptor* inner = *out;
    inner->thread_limit = 1;
    inner->user_threads = d->thread_count;
    inner->placement = inplace ? in_place : not_in_place;
    inner->conjugate_even_storage = d->conjugate_even_storage;
    inner->user_dims.at[0] = {l.length, l.in_stride, l.out_stride};
    inner->user_batch.at[0] = {l.count, l.in_distance, l.out_distance};
    return inner->class_table->commit(inner);
}

template <bool Forward>
dft_status run(descriptor* inner, void* in, void* out)
{
    return Forward ? inner->compute_forward(inner, in, out) : inner->compute_backward(inner, in, out);
}

// ---- complex, three dimensions ----

template <class R, bool Forward>
dft_status compute_slab(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const slab_record*>(d->method_state);
    const bool inplace = d->placement == in_place;
    auto* x = static_cast<cplx<R>*>(in) + d->input_offset;
    auto* y = inplace ? x : static_cast<cplx<R>*>(out) + d->output_offset;
    shared_status status;
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share planes(r.n[2], thread, team);
        for (std::int64_t k = planes.begin; k < planes.end && !status.failed(); ++k) {
            auto* to = y + k * r.out[2];
            status(run<Forward>(r.first, x + k * r.in[2], inplace ? nullptr : to));
            if (!status.failed()) status(run<Forward>(r.second, to, nullptr));
        }
    });
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share rows(r.n[1], thread, team);
        for (std::int64_t j = rows.begin; j < rows.end && !status.failed(); ++j)
            status(run<Forward>(r.third, y + j * r.out[1], nullptr));
    });
    return status.value;
}

void lay_out(slab_record& r, const descriptor* d, bool one_set)
{
    for (int i = 0; i < d->work_rank; ++i) {
        r.n[i] = d->dims.at[i].length;
        r.in[i] = d->dims.at[i].input_stride;
        r.out[i] = one_set ? r.in[i] : d->dims.at[i].output_stride;
    }
}

template <class R>
dft_status commit_slab(const commit_method* method, descriptor* d)
{
    const bool inplace = d->placement == in_place;
    if (d->forward_domain != domain_complex || d->precision != engine<R>::precision ||
        d->complex_storage != storage_complex || d->ordering != ordered || !unit_scales(d) || d->work_rank != 3 ||
        d->number_of_transforms != 1 || d->input_stride != 1 || d->output_stride != 1)
        return declined;
    bool long_enough = true, short_ones = true;
    for (int i = 0; i < 3; ++i) {
        long_enough = long_enough && d->dims.at[i].length > 8;
        short_ones = short_ones && d->dims.at[i].length <= 16;
    }
    if (!long_enough || (short_ones && d->thread_count == 1)) return declined;
    if (d->dims.at[1].input_stride >= d->dims.at[2].input_stride ||
        d->dims.at[1].output_stride >= d->dims.at[2].output_stride)
        return declined;
    // Every commit makes its inner descriptors anew: they are cheap beside the planes.
    d->decommit(d);
    auto* r = own_record<slab_record>(method, d, record_alignment);
    if (r == nullptr) return no_memory;
    lay_out(*r, d, inplace);
    dft_status s = make(&r->first, d, {r->n[0], r->n[1], 1, r->in[1], 1, r->out[1]}, false, inplace);
    if (s == ok) s = make(&r->second, d, {r->n[1], r->n[0], r->out[1], 1, r->out[1], 1}, false, true);
    if (s == ok) s = make(&r->third, d, {r->n[2], r->n[0], r->out[2], 1, r->out[2], 1}, false, true);
    if (s != ok) return give_up(d, s);
    return take(d, compute_slab<R, true>, compute_slab<R, false>);
}

// ---- real in place, complex spectrum: two and three dimensions ----
// Out of place the general method has a road of its own that spares the copy which the inverse would need here.

// Rows of one plane; of two dimensions there is one plane, and its rows are dealt out.
template <class R, bool Forward>
dft_status rows_of(const slab_record& r, cplx<R>* plane, std::int64_t first, std::int64_t last)
{
    for (std::int64_t j = first; j < last; ++j)
        if (const dft_status s = run<Forward>(r.first, plane + j * r.out[1], nullptr); s != ok) return s;
    return ok;
}

template <class R, bool Forward>
dft_status compute_real_slab(descriptor* d, void* data, void*)
{
    const auto& r = *static_cast<const slab_record*>(d->method_state);
    const bool cube = d->work_rank == 3;
    // The spectrum's offset is half that of the reals.
    auto* x = static_cast<cplx<R>*>(data) + std::min(d->input_offset, d->output_offset);
    shared_status status;
    auto planes = [&] {
        on_threads(d, d->thread_count, [&](int thread, int team) {
            const share s(cube ? r.n[2] : r.n[1], thread, team);
            if (!cube) return status(rows_of<R, Forward>(r, x, s.begin, s.end));
            for (std::int64_t k = s.begin; k < s.end && !status.failed(); ++k) {
                cplx<R>* plane = x + k * r.out[2];
                if (Forward) status(rows_of<R, Forward>(r, plane, 0, r.n[1]));
                if (!status.failed()) status(run<Forward>(r.second, plane, nullptr));
                if (!Forward && !status.failed()) status(rows_of<R, Forward>(r, plane, 0, r.n[1]));
            }
        });
    };
    auto columns = [&] {
        on_threads(d, d->thread_count, [&](int thread, int team) {
            // A plane's columns go in blocks of 8, the last with what is left; the third dimension by lines of them.
            const std::int64_t half = r.n[0] / 2 + 1;
            const share s(cube ? r.n[1] : (half + 7) / 8, thread, team);
            for (std::int64_t j = s.begin; j < s.end && !status.failed(); ++j) {
                if (cube) status(run<Forward>(r.third, x + j * r.out[1], nullptr));
                else status(run<Forward>(8 * j + 8 <= half ? r.second : r.third, x + 8 * j, nullptr));
            }
        });
    };
    if (Forward) planes(), columns();
    else columns(), planes();
    return status.value;
}

template <class R, int Rank>
dft_status commit_real_slab(const commit_method* method, descriptor* d)
{
    if (d->forward_domain != domain_real || d->precision != engine<R>::precision ||
        d->conjugate_even_storage != storage_complex || d->placement != in_place || !unit_scales(d) ||
        d->work_rank != Rank || d->number_of_transforms != 1 || d->input_stride != 1 || d->output_stride != 1)
        return declined;
    const triple* t = d->dims.at;
    const std::int64_t n0 = t[0].length, half = n0 / 2 + 1;
    if (n0 % 2 != 0 || (Rank == 2 ? n0 < 16 || t[1].length <= 16 : n0 <= 8 || t[1].length <= 8 || t[2].length <= 8))
        return declined;
    d->decommit(d);
    auto* r = own_record<slab_record>(method, d, record_alignment);
    if (r == nullptr) return no_memory;
    // The rule of two has been checked: the spectrum's strides are the smaller ones, whichever side they are given
    // on.
    lay_out(*r, d, false);
    for (int i = 1; i < Rank; ++i) r->out[i] = std::min(r->in[i], r->out[i]);
    if (r->out[1] < half || (Rank == 3 && r->out[2] <= r->out[1])) return give_up(d, declined);
    const std::int64_t s1 = r->out[1], s2 = r->out[Rank - 1], tail = half % 8;
    dft_status s = make(&r->first, d, {n0, 1, 1, 0, 1, 0}, true, true);
    if (s == ok) s = make(&r->second, d, {r->n[1], Rank == 3 ? half : 8, s1, 1, s1, 1}, false, true);
    if (s == ok && (Rank == 3 || tail > 0))
        s = make(&r->third, d, {r->n[Rank - 1], Rank == 3 ? half : tail, s2, 1, s2, 1}, false, true);
    if (s != ok) return give_up(d, s);
    return take(d, compute_real_slab<R, true>, compute_real_slab<R, false>);
}

int tell_slab(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const slab_record*>(d->method_state);
    append(line, capacity, "slab, %d threads (", d->thread_count);
    describe(r.first, line, capacity);
    append(line, capacity, "; ");
    describe(r.second, line, capacity);
    append(line, capacity, "; ");
    if (r.third != nullptr) describe(r.third, line, capacity);
    return append(line, capacity, ")");
}

} // namespace

constinit const commit_method slab_3d_d = {commit_slab<double>, release_record<slab_record>, tell_slab};
constinit const commit_method slab_3d_s = {commit_slab<float>, release_record<slab_record>, tell_slab};
constinit const commit_method slab_3d_real_d = {commit_real_slab<double, 3>, release_record<slab_record>, tell_slab};
constinit const commit_method slab_3d_real_s = {commit_real_slab<float, 3>, release_record<slab_record>, tell_slab};
constinit const commit_method slab_2d_real_d = {commit_real_slab<double, 2>, release_record<slab_record>, tell_slab};
constinit const commit_method slab_2d_real_s = {commit_real_slab<float, 2>, release_record<slab_record>, tell_slab};

} // namespace vrn::dft
