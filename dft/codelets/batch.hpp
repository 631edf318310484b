// dft/codelets/batch.hpp - many neighbouring transforms at once: column c has its values at data + c + j * stride.
//
// Vectors run across the columns, so nothing is shuffled. A length up to 16 is one pass; the composite lengths of the
// list are two, the first into a buffer of the plan, the second with twiddles. A plan is one block of memory that the
// caller gives and frees; nothing is allocated here. The planner asks for kind and size, builds, and runs.
#pragma once

#include <cstdint>

namespace vrn::dft {

// Base lengths 2 to 16 have index 1 to 15; 20, 25, 32 and 64 have 16 to 19 and run as two passes. 0: none.
int batch_base_index(int length);

// Kinds by (length, distance between columns, distance between values, width):
//     4, 5   columns and values contiguous       two passes, one pass
//     1, 7   values 2 to 32 apart                two passes, one pass
//     9      anything else; refused with 7
int batch_kind(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width);

struct batch_plan {
    std::int32_t length, first, second; // length = first * second; first is 1 for one pass
    std::int64_t stride, width;         // between values, and how many columns
    void *twiddles, *buffer;            // in the caller's block
};

inline constexpr int batch_alignment = 256;
inline constexpr int batch_slack = 272; // what a block needs beyond the size told, to hold the record and be aligned

// R is double or float. Status 0, or 7 for kind 9. `bytes` is without batch_slack; `block` has bytes + batch_slack.
template <class R>
std::int32_t batch_size(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width,
                        std::int64_t* bytes);
template <class R>
std::int32_t batch_build(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width,
                         void* block, batch_plan** plan_out);
// `width` columns from `in` to `out`, the same or apart; columns of both are neighbours and values plan->stride
// apart. One call at a time for a plan of two passes: the buffer is its own.
template <class R>
void batch_run(const batch_plan& plan, bool backward, const R* in, R* out);

} // namespace vrn::dft
