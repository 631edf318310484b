// dft/compute/short_columns.hpp - columns and rows of short lengths that are transformed where they lie, many a call.
//
// Columns take the place of a block's gather, kernel and scatter wherever they are neighbours on both sides; work
// stands on the stack. Rows are contiguous transforms of a codelet's length with no kernel's wrapper between them. The
// way depends on length and strides alone and every column and row is computed by itself, so that a division over
// threads is not seen. Called by the drivers and by the small squares and cubes.
#pragma once

#include "dft/codelets/batch_kernels.hpp"
#include "dft/commit/engine.hpp"

namespace vrn::dft {

// The work of a block stays in the first-level cache beside the lines of its rows; yet no block is so narrow that its
// rows are single lines, since those are fetched in pairs.
inline constexpr std::int64_t short_work_bytes = 16384, least_columns = 8, longest_in_two_passes = 256;

// A longer column in one pass would lose its own beginning before its neighbour on the same lines comes.
template <class R>
bool lie_well(std::int64_t n, std::int64_t stride)
{
    return n <= most_lines_of_a_set || stride * static_cast<std::int64_t>(sizeof(R)) % 4096 != 0;
}

// The way of a length between these strides, n1 0 where there is none.
template <class R>
passes<R> short_way(std::int64_t n, std::int64_t in_stride, std::int64_t out_stride)
{
    if (n < 2) return {0, 0, nullptr};
    if (n <= longest_base && lie_well<R>(n, in_stride) && lie_well<R>(n, out_stride)) return {n, 1, nullptr};
    return two_passes<R>(n);
}

// The work's room is taken only here.
template <class R>
[[gnu::noinline]] void columns_in_two_passes(const passes<R>& way, bool forward, const R* in, std::int64_t in_stride,
                                             R* out, std::int64_t out_stride, std::int64_t columns, R scale)
{
    constexpr std::int64_t each = sizeof(cplx<R>),
                           room = std::max(short_work_bytes, least_columns * longest_in_two_passes * each);
    alignas(64) R work[room / sizeof(R)];
    const std::int64_t width = std::max(least_columns, short_work_bytes / (way.n1 * way.n2 * each));
    run_columns<R>(way, forward, in, in_stride, out, out_stride, columns, width, work, scale);
}

template <class R>
void short_columns(const passes<R>& way, bool forward, const R* in, std::int64_t in_stride, R* out,
                   std::int64_t out_stride, std::int64_t columns, R scale)
{
    if (way.n2 != 1) return columns_in_two_passes<R>(way, forward, in, in_stride, out, out_stride, columns, scale);
    constexpr std::int64_t lanes = batch_lanes<R>;
    // Eight columns of 8 are done in a tenth of a microsecond: one call, where it is one.
    if (scale == R{1} && columns % (lanes / 2) == 0)
        return batch_kernels<R>().columns.plain[way.n1](in, in_stride, lanes, out,
                                                        forward ? out : out + way.n1 * out_stride,
                                                        forward ? out_stride : -out_stride, lanes, columns);
    run_columns<R>(way, forward, in, in_stride, out, out_stride, columns, columns, nullptr, scale);
}

// ---- rows ----

template <class R>
bool has_short_rows(const descriptor* node, R scale)
{
    return node->length >= 2 && node->length <= longest_codelet && node->ordering == ordered && scale == R{1};
}

// Distances in complex values.
template <class R>
void short_rows(std::int64_t n, bool forward, const cplx<R>* in, std::int64_t in_distance, cplx<R>* out,
                std::int64_t out_distance, std::int64_t rows)
{
    if (n <= longest_base) {
        const auto& k = batch_kernels<R>();
        const auto run = [&](plain_pass<R>* pass, std::int64_t count) {
            pass(&in->re, 2, 2 * in_distance, &out->re, &out->re + (forward ? 0 : 2 * n), forward ? 2 : -2,
                 2 * out_distance, count);
        };
        if constexpr (std::is_same_v<R, double>) return run(k.columns.plain[n], rows);
        // Two to a vector, and the last of an odd number alone in the same way, so that it does not matter which.
        const std::int64_t pairs = rows & ~std::int64_t{1};
        if (pairs > 0) run(k.row_pairs[n], pairs);
        in += pairs * in_distance, out += pairs * out_distance;
        if (pairs < rows) run(k.one.plain[n], 1);
        return;
    }
    auto* codelet = (forward ? codelets<R>().forward : codelets<R>().backward)[n];
    for (; rows > 0; --rows, in += in_distance, out += out_distance) codelet(&in->re, &out->re);
}

} // namespace vrn::dft
