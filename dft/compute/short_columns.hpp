// dft/compute/short_columns.hpp - columns of short lengths that are transformed where they lie, by the batch kernels.
//
// They take the place of a block's gather, codelet and scatter wherever columns are neighbours on both sides. Work
// stands on the stack. Called by the column driver and by the small squares and cubes.
#pragma once

#include "dft/codelets/batch_kernels.hpp"
#include "dft/commit/engine.hpp"

namespace vrn::dft {

// Half of a first-level cache, with room beside it for the lines of a block's rows.
inline constexpr std::int64_t short_work_bytes = 16384;

// Lines a page apart share one set of the first-level cache, which holds 8 or 12 of them: a longer column in one pass
// evicts its own beginning before its neighbour on the same line comes.
template <class R>
bool lie_well(std::int64_t n, std::int64_t stride)
{
    return n <= 8 || stride * static_cast<std::int64_t>(sizeof(R)) % 4096 != 0;
}

// The way of a length between these strides, n1 0 where there is none.
template <class R>
passes<R> short_way(std::int64_t n, std::int64_t in_stride, std::int64_t out_stride)
{
    if (n < 2) return {0, 0, nullptr};
    if (n <= longest_base && lie_well<R>(n, in_stride) && lie_well<R>(n, out_stride)) return {n, 1, nullptr};
    return two_passes<R>(n);
}

template <class R>
void short_columns(const passes<R>& way, bool forward, const R* in, std::int64_t in_stride, R* out,
                   std::int64_t out_stride, std::int64_t columns, R scale)
{
    if (way.n2 == 1)
        return run_columns<R>(way, forward, in, in_stride, out, out_stride, columns, columns, nullptr, scale);
    alignas(64) R work[short_work_bytes / sizeof(R)];
    const std::int64_t most = short_work_bytes / (way.n1 * way.n2 * static_cast<std::int64_t>(sizeof(cplx<R>)));
    run_columns<R>(way, forward, in, in_stride, out, out_stride, columns, std::min<std::int64_t>(most, 16), work, scale);
}

} // namespace vrn::dft
