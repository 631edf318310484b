// dft/primitive/pow2.cpp - plans of length 2^order.
//
//     order 0 to 5     a codelet
//     order 6 to 16    stages of radix 4 and 8 behind a leaf of radix 8
//     above            two levels (two_level.hpp)

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/two_level.hpp"

namespace vrn::dft {
namespace {

constexpr int direct_order = 5, longest_order = 27;
// A stage on more values recurses: 16 KiB, with as much input, output and twiddles, are what a first-level cache
// holds.
template <class R>
constexpr int pow2_flat_limit = 16384 / (2 * sizeof(R));

// Radices outermost first. Stages are of order 3 and, so that the sum is right, one or two of order 2; those stand
// outermost, where blocks are longest. Two of order 2 as one leaf of radix 16 spare a pass and cost more in spilled
// registers: 2 to 7 % from 2^10 on.
int radices_of(int order, std::int32_t* radices)
{
    int rest = order, count = 0;
    for (; rest % 3 != 0; rest -= 2) radices[count++] = 4;
    for (; rest > 0; rest -= 3) radices[count++] = 8;
    return count;
}

template <class R>
std::int32_t build(pow2_plan& plan)
{
    const int order = plan.order;
    const std::int64_t n = std::int64_t{1} << order, value = 2 * sizeof(R);
    if (order <= direct_order) return kpr_ok;
    if (order <= in_cache_order) {
        std::int32_t radices[8];
        const int count = radices_of(order, radices);
        plan.last_stage = count - 1;
        lay_out(plan.stages, radices, count, static_cast<std::int32_t>(n));
        plan.table_order = order <= 10 ? 10 : order;
        plan.bit_reversal = make_permutation(plan.stages, plan.last_stage);
        if (plan.bit_reversal == nullptr || !make_stage_tables<R>(plan.stages, plan.last_stage)) return kpr_no_memory;
        plan.work_size = static_cast<std::int32_t>((n * value + 63) & ~std::int64_t{63});
        return kpr_ok;
    }
    return build_two_level<R>(plan);
}

} // namespace

template <class R>
std::int32_t make_pow2(pow2_plan** plan_out, std::int32_t order, std::int32_t flag, std::int32_t hint)
{
    if (order < 0 || order > longest_order) return kpr_bad_order;
    scale_words words;
    if (!scale_words_of(flag, std::int32_t{1} << order, words)) return kpr_bad_flag;
    void* raw = kprMalloc(sizeof(pow2_plan) + 64);
    if (raw == nullptr) return kpr_no_memory;
    auto* plan = reinterpret_cast<pow2_plan*>(aligned64(static_cast<std::byte*>(raw)));
    std::memset(static_cast<void*>(plan), 0, sizeof *plan);
    plan->stamp = stamp_pow2;
    plan->order = order;
    plan->scale_forward = words.forward, plan->scale_inverse = words.inverse, plan->scale = words.scale;
    plan->hint = hint;
    plan->allocation = raw;
    const auto status = build<R>(*plan);
    if (status == kpr_ok) *plan_out = plan;
    else free_pow2(plan);
    return status;
}
template std::int32_t make_pow2<double>(pow2_plan**, std::int32_t, std::int32_t, std::int32_t);
template std::int32_t make_pow2<float>(pow2_plan**, std::int32_t, std::int32_t, std::int32_t);

void free_pow2(pow2_plan* plan)
{
    if (plan == nullptr) return;
    free_pow2(plan->rows);
    free_stage_tables(plan->stages, plan->last_stage);
    kprFree(plan->bit_reversal);
    kprFree(plan->twiddle_table);
    plan->stamp = stamp_none;
    kprFree(plan->allocation);
}

template <class R>
void run_pow2(const pow2_plan* plan, direction d, const R* in, R* out, std::byte* work)
{
    // The stages of orders 6 and 7 are one codelet too: the same factors, held in registers where passes go through
    // memory.
    if (1 << plan->order <= longest_codelet) {
        const auto& table = codelets<R>();
        (d == direction::forward ? table.forward : table.backward)[1 << plan->order](in, out);
    } else if (plan->order == 7) {
        const direct_row<R>& row = direct_tables_of<R>().first[4];
        (d == direction::forward ? row.forward : row.backward)(in, out);
    } else if (plan->order <= in_cache_order)
        run_stages<R, layout::blocked>(plan->stages, plan->last_stage, plan->bit_reversal, pow2_flat_limit<R>, d, in,
                                       out, reinterpret_cast<R*>(work));
    else run_two_level(*plan, d, in, out, work);
}
template void run_pow2<double>(const pow2_plan*, direction, const double*, double*, std::byte*);
template void run_pow2<float>(const pow2_plan*, direction, const float*, float*, std::byte*);

} // namespace vrn::dft
