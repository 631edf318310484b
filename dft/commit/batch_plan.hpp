// dft/commit/batch_plan.hpp - plans of one node for neighbouring strided transforms of a length that is no power
// of 2.
//
// They stand in for a block's gather, transform and scatter wherever columns lie next to each other. A plan exists
// for each width 2^i up to the node's stride; a run takes the widest that the preferred width allows and steps down.
#pragma once

#include "dft/codelets/batch_kernels.hpp"
#include "dft/commit/engine.hpp"

namespace vrn::dft {

inline constexpr int batch_widths = 13;

// A plan of one width.
struct batch_width {
    std::int64_t width;
    std::uint64_t work_size; // bytes
};

// What all widths share: the factors, the twiddles of the first pass, the output offsets of both directions.
struct batch_plan_record {
    std::uint64_t largest_work;
    std::int64_t preferred_width;
    std::int64_t n, n1, n2;         // n2 is 1 where one pass does
    batch_width plans[batch_widths]; // width 0 where there is none; either direction
    std::int64_t* places;           // output index of butterfly output k1, k2: forward, then backward, n each
    void* twiddles;                 // n2 rows of n1, two vectors each
};

// On the node's active_method after a set-up that succeeded.
extern const commit_method batch_marker;
inline bool has_batch_plans(const descriptor* node) { return node->active_method == &batch_marker; }

// 0: the plans stand. 100: the configuration is none for them. 7: they would be too big, or the length has no kernel.
template <class R>
dft_status init_batch_plans(descriptor* node, const descriptor* head);

// `count` columns, 2 reals apart on both sides; strides in reals. Non-zero: nothing is done.
template <class R>
dft_status run_batch_plans(const descriptor* node, kernel_function* kernel, const cplx<R>* in, std::int64_t in_stride,
                           cplx<R>* out, std::int64_t out_stride, std::int64_t count);

// Columns that one pass transforms where they lie, whatever the node's plan: what gather, codelet and scatter would
// do, to the bit, without the two moves. Strides in reals, columns 2 reals apart on both sides.
template <class R>
void short_columns(std::int64_t n, bool forward, const R* in, std::int64_t in_stride, R* out, std::int64_t out_stride,
                   std::int64_t count, R scale)
{
    std::int64_t offsets[longest_base];
    for (std::int64_t k = 0; k < n; ++k) offsets[k] = (forward || k == 0 ? k : n - k) * out_stride;
    const std::int64_t pairs = sizeof(R) == 8 ? count : count & ~std::int64_t{1};
    const auto& k = batch_kernels<R>();
    k.second[n](in, in_stride, out, offsets, pairs, scale);
    if (pairs < count) k.second_one[n](in + 2 * pairs, in_stride, out + 2 * pairs, offsets, 1, scale);
}

inline bool is_short(const descriptor* node)
{
    return node->length >= 2 && node->length <= longest_base && node->ordering == ordered;
}

// Lines a page apart share one set of the first-level cache, which holds 8 or 12 of them: a column of more evicts its
// own beginning before the neighbour comes, and a block's gather, which takes whole lines, does better.
template <class R>
bool lie_well(std::int64_t n, std::int64_t stride)
{
    return n <= 8 || stride * static_cast<std::int64_t>(sizeof(R)) % 4096 != 0;
}

} // namespace vrn::dft
