// dft/compute/kernels.hpp - the kernels that commit installs on nodes: one contiguous transform, then the scale.
//
// The engine's plans never scale here (their flag is 8); the wrapper does. Called through forward_kernel,
// backward_kernel and the two real_*_direct fields, from any number of threads, each with its own work.
#pragma once

#include "dft/commit/engine.hpp"

namespace vrn::dft {

template <class R>
void scale_reals(R* x, std::int64_t count, R scale)
{
    if (scale == R{1}) return;
    for (std::int64_t i = 0; i < count; ++i) x[i] *= scale;
}

// ---- complex ----

template <class R, bool Forward>
dft_status ordered_kernel(const void* in, void* out, const descriptor* node, void* work)
{
    auto* y = static_cast<R*>(out);
    const auto status = engine<R>::template complex<Forward>(
        static_cast<const R*>(in), y, node->*engine<R>::complex_plan, static_cast<std::byte*>(work));
    if (status == kpr_ok) scale_reals(y, 2 * node->length, used_scale<R, Forward>(node));
    return dft_status_of(status);
}

template <class R, bool Forward>
dft_status scrambled_kernel(const void* in, void* out, const descriptor* node, void* work)
{
    auto* y = static_cast<R*>(out);
    const auto status = engine<R>::template scrambled<Forward>(
        static_cast<const R*>(in), y, node->*engine<R>::scrambled_plan, static_cast<std::byte*>(work));
    if (status == kpr_ok) scale_reals(y, 2 * node->length, used_scale<R, Forward>(node));
    return dft_status_of(status);
}

// in and out are arrays of two pointers.
template <class R, bool Forward>
dft_status split_kernel(const void* in, void* out, const descriptor* node, void* work)
{
    const R* const* x = static_cast<const R* const*>(in);
    R* const* y = static_cast<R* const*>(out);
    const auto status = engine<R>::template split<Forward>(x[0], x[1], y[0], y[1], node->*engine<R>::split_plan,
                                                           static_cast<std::byte*>(work));
    if (status == kpr_ok)
        for (int part = 0; part < 2; ++part) scale_reals(y[part], node->length, used_scale<R, Forward>(node));
    return dft_status_of(status);
}

// Lengths 2 to 64 that are no power of 2.
template <class R, bool Forward>
dft_status codelet_kernel(const void* in, void* out, const descriptor* node, void*)
{
    const auto& table = codelets<R>();
    auto* y = static_cast<R*>(out);
    (Forward ? table.forward : table.backward)[node->length](static_cast<const R*>(in), y);
    scale_reals(y, 2 * node->length, used_scale<R, Forward>(node));
    return ok;
}

// ---- real ----

// Complex storage of the spectrum is the CCS layout seen as complex values.
inline std::int32_t layout_of(const descriptor* d)
{
    return d->conjugate_even_storage == storage_complex ? static_cast<std::int32_t>(format_cce) : d->packed_format;
}
inline bool has_zero_parts(std::int32_t layout) { return layout == format_ccs || layout == format_cce; }

// Reals of one packed row.
inline std::int64_t packed_count(std::int32_t layout, std::int64_t n)
{
    return has_zero_parts(layout) ? 2 * (n / 2 + 1) : n;
}

// Out of place the passes over the further dimensions leave the rows in PERM form, which has room in a row of the
// output for what they carry.
inline bool rows_come_as_perm(const descriptor* d)
{
    return d->work_rank >= 2 && d->placement == not_in_place && has_zero_parts(layout_of(d));
}

template <class R>
dft_status real_forward_wrapper(const void* in, void* out, const descriptor* node, void* work)
{
    auto* entry = reinterpret_cast<packed_entry<R>*>(node->real_forward_kernel);
    auto* y = static_cast<R*>(out);
    const auto status =
        entry(static_cast<const R*>(in), y, node->*engine<R>::real_plan, static_cast<std::byte*>(work));
    // n + 1, not n + 2: the last value of an even row is a zero that no scale changes.
    if (status == kpr_ok)
        scale_reals(y, node->length + (has_zero_parts(layout_of(node)) ? 1 : 0), used_scale<R, true>(node));
    return dft_status_of(status);
}

template <class R>
dft_status real_backward_wrapper(const void* in, void* out, const descriptor* node, void* work)
{
    auto* entry = rows_come_as_perm(node) ? engine<R>::template perm<false>
                                          : reinterpret_cast<packed_entry<R>*>(node->real_backward_kernel);
    auto* y = static_cast<R*>(out);
    const auto status =
        entry(static_cast<const R*>(in), y, node->*engine<R>::real_plan, static_cast<std::byte*>(work));
    if (status == kpr_ok) {
        // The row held n + 2 values; n + 1 keeps what it had.
        if (in == out && has_zero_parts(layout_of(node)) && !rows_come_as_perm(node)) y[node->length] = R{0};
        scale_reals(y, node->length, used_scale<R, false>(node));
    }
    return dft_status_of(status);
}

// Powers of 2 from 2 to 64 on unit strides.
template <class R, bool Forward>
dft_status real_direct_kernel(const void* in, void* out, const descriptor* node, void*)
{
    const auto& table = engine<R>::real_direct;
    const std::int32_t layout =
        !Forward && node->real_md_pack_flag ? static_cast<std::int32_t>(format_perm) : layout_of(node);
    (Forward ? table.forward : table.backward)[node->length](static_cast<const R*>(in), static_cast<R*>(out), layout,
                                                             used_scale<R, Forward>(node));
    return ok;
}

} // namespace vrn::dft
