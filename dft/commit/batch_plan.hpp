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

// What all widths share: the factors and the twiddles of the first pass (passes).
struct batch_plan_record {
    std::uint64_t largest_work;
    std::int64_t preferred_width;
    std::int64_t n, n1, n2;          // n2 is 1 where one pass does
    batch_width plans[batch_widths]; // width 0 where there is none; either direction
    void* twiddles;
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

} // namespace vrn::dft
