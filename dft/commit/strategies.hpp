// dft/commit/strategies.hpp - every strategy of the commit lists, and what they share.
//
// A strategy declines with 100 or 101, or takes the descriptor: it makes its record (or keeps its own where it still
// fits), installs the compute entries and sets the status. One that finds another's plan undoes it first.
#pragma once

#include "dft/commit/engine.hpp"
#include "dft/commit/text.hpp"
#include "dft/commit/walk.hpp"

namespace vrn::dft {

extern const commit_method split_many_ranks, split_batch;
extern const commit_method split_primitive_d, split_primitive_s, direct_to_128_d, direct_to_128_s, direct_to_64_d,
    direct_to_64_s, small_primitive_d, small_primitive_s, chirp_z_d, chirp_z_s, real_chirp_z_d, real_chirp_z_s;
extern const commit_method slab_3d_d, slab_3d_s, slab_3d_real_d, slab_3d_real_s, slab_2d_real_d, slab_2d_real_s;
extern const commit_method small_cube_d, small_cube_s, small_square_d, small_square_s, small_cube_real_d,
    small_cube_real_s, small_square_real_d, small_square_real_s, factored_real_d, factored_real_s;
extern const commit_method general_dc1d, general_sc1d, general_dcmd, general_scmd, general_dr1d, general_sr1d,
    general_drmd, general_srmd;

// The method's own record, kept from an earlier commit or made new; null where there is no memory.
template <class Record>
Record* own_record(const commit_method* method, descriptor* d, std::int32_t alignment = 64)
{
    if (d->active_method != method) {
        d->decommit(d);
        d->method_state = new_record<Record>(alignment);
        if (d->method_state == nullptr) return nullptr;
        d->active_method = method;
    }
    return static_cast<Record*>(d->method_state);
}

inline dft_status take(descriptor* d, compute_function* forward, compute_function* backward)
{
    d->compute_forward = forward;
    d->compute_backward = backward;
    const bool split = d->forward_domain == domain_complex && d->complex_storage == storage_split;
    d->io_arg_count = (d->placement == in_place ? 1 : 2) * (split ? 2 : 1);
    d->status = committed;
    return ok;
}

// A failure part-way leaves the descriptor clean for the next strategy.
inline dft_status give_up(descriptor* d, dft_status status)
{
    d->decommit(d);
    return status;
}

// The decommit of a method whose record has release().
template <class Record>
dft_status release_record(const commit_method* method, descriptor* d)
{
    if (d->active_method != method) return internal_failure;
    d->compute_forward = d->compute_backward = nullptr;
    d->status = uncommitted;
    if (auto* record = static_cast<Record*>(d->method_state); record != nullptr) record->release();
    vrn_serv_free(d->method_state);
    d->method_state = nullptr;
    return ok;
}

inline void destroy_inner(descriptor*& inner)
{
    if (inner != nullptr) inner->destroy(inner);
    inner = nullptr;
}

template <class T>
T* moved(T* p, std::int64_t elements)
{
    return p + elements;
}

// One complex transform on unit strides of interleaved data, without offsets, or with an output offset of 0 out of
// place: what the direct tables, the small plan and the chirp ask for alike.
template <class R>
bool one_plain_line(const descriptor* d)
{
    return d->precision == engine<R>::precision && d->forward_domain == domain_complex && d->work_rank == 1 &&
           d->complex_storage == storage_complex && d->input_offset == 0 && !is_inner(d) &&
           (d->placement == in_place || d->output_offset == 0) &&
           (d->batch.count == 0 || (d->batch.count == 1 && d->batch.at[0].length == 1)) && d->input_stride == 1 &&
           (d->placement == in_place || d->output_stride == 1);
}

} // namespace vrn::dft
