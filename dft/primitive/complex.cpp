// dft/primitive/complex.cpp - complex plans: which of the engine's ways a length takes, and the transform.
//
//     1 to 16                        codelet
//     power of 2                     an inner pow2 plan
//     the factor rule holds          stages; up to 64 values all of them are one codelet
//     prime below 91                 the double loop over pairs
//     anything else below 2^25       chirp

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/factor.hpp"
#include "frame/services.hpp"

namespace vrn::dft {
namespace {

// How many neighbouring parts of a transform go together. A line of the cache holds 4 or 8 values, so that 6 read
// most lines once; where a core's first-level cache has few ways, as a Bulldozer's, parts of a multiple of 1024 meet
// in one set and go one by one, and other lengths as their plan would have it.
std::int32_t batching(std::int32_t n, std::int32_t own)
{
    if (vrn_serv_cpuisbulldozer() == 0) return 6;
    return n % 1024 == 0 ? 1 : own;
}

} // namespace

template <class R>
std::int32_t build_mixed(primitive_plan& plan)
{
    const std::int32_t n = plan.length;
    constexpr std::int64_t value = 2 * sizeof(R);
    radices r;
    if (n >= mixed_limit || !factor(n, true, r)) return kpr_bad_length;
    arrange(r);
    std::int64_t reserve = 0;
    for (int s = 0; s < r.count; ++s)
        if (r.of[s] % 2 != 0 && r.of[s] >= 14 && 2 * r.of[s] > reserve) reserve = 2 * r.of[s];
    const std::int64_t bytes = (n + reserve) * value + work_slack;
    if (bytes > INT32_MAX) return kpr_bad_length;
    plan.mixed_radix = 1;
    plan.last_stage = r.count - 1;
    lay_out(plan.stages, r.of, r.count, n);
    plan.stages[0].batching = batching(n, r.of[0]);
    plan.work_size = static_cast<std::int32_t>(bytes);
    plan.permutation = make_permutation(plan.stages, plan.last_stage);
    return plan.permutation != nullptr && make_stage_tables<R>(plan.stages, plan.last_stage) ? kpr_ok : kpr_no_memory;
}
template std::int32_t build_mixed<double>(primitive_plan&);
template std::int32_t build_mixed<float>(primitive_plan&);

namespace {

template <class R>
std::int32_t build(primitive_plan& plan)
{
    const std::int32_t n = plan.length;
    constexpr std::int64_t value = 2 * sizeof(R);
    if (n <= direct_limit) return kpr_ok;
    if (std::has_single_bit(static_cast<std::uint32_t>(n))) {
        plan.is_pow2 = 1;
        const int order = std::countr_zero(static_cast<std::uint32_t>(n));
        if (const auto status = make_pow2<R>(&plan.pow2, order, scale_none, plan.hint); status != kpr_ok)
            return status;
        plan.work_size = plan.pow2->work_size == 0 ? 0 : plan.pow2->work_size + 64;
        return kpr_ok;
    }
    if (n >= mixed_limit) return kpr_bad_length;
    if (const auto status = build_mixed<R>(plan); status != kpr_bad_length) return status;
    if (n <= prime_limit) {
        plan.prime_table = make_prime_table<R>(n);
        plan.work_size = static_cast<std::int32_t>(n * value + 64);
        return plan.prime_table != nullptr ? kpr_ok : kpr_no_memory;
    }
    return n < chirp_limit ? make_chirp<R>(plan) : kpr_bad_length;
}

template <bool Backward, class R>
void run_prime(const primitive_plan& plan, const R* in, R* out)
{
    together<R, Backward> x[longest_prime];
    const int p = plan.length;
    for (int i = 0; i < p; ++i) {
        if constexpr (sizeof(R) == 8) x[i].v = vec<R>::loadu(in + 2 * i);
        else x[i].v = vec<R>::load2(in + 2 * i);
    }
    prime_butterfly(x, p, prime_roots_at<R>(plan.prime_table, p));
    for (int i = 0; i < p; ++i) {
        if constexpr (sizeof(R) == 8) x[i].v.storeu(out + 2 * i);
        else x[i].v.store2(out + 2 * i);
    }
}

} // namespace

template <class R>
std::int32_t make_complex(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                          plan_stamp stamp)
{
    return make_plan(plan_out, length, flag, hint, stamp, [](primitive_plan& plan) { return build<R>(plan); });
}
template std::int32_t make_complex<double>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);
template std::int32_t make_complex<float>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);

void free_plan(primitive_plan* raw)
{
    primitive_plan& plan = *aligned64(raw);
    free_stage_tables(plan.stages, plan.last_stage);
    kprFree(plan.permutation);
    kprFree(plan.prime_table);
    for (void*& table : plan.tables) kprFree(table);
    kprFree(plan.chirp_sequence);
    kprFree(plan.chirp_filter);
    free_pow2(plan.pow2);
    if (plan.conv_plan != nullptr) free_plan(plan.conv_plan);
    plan.stamp = stamp_none;
    kprFree(raw);
}

template <class R>
void run_complex(const primitive_plan* plan, direction d, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan->length;
    // Stages that fit one codelet are one: the same factors, held in registers from the first pass to the last.
    if (n <= direct_limit || (plan->is_pow2 == 0 && n <= longest_codelet)) {
        const auto& table = codelets<R>();
        (d == direction::forward ? table.forward : table.backward)[n](in, out);
    } else if (plan->is_pow2 != 0) run_pow2(plan->pow2, d, in, out, work);
    else if (plan->mixed_radix != 0)
        run_stages<R, layout::planar>(plan->stages, plan->last_stage, plan->permutation, flat_limit, d, in, out,
                                      reinterpret_cast<R*>(work));
    else if (n > prime_limit) run_chirp(*plan, d, in, out, work);
    else if (d == direction::forward) run_prime<false>(*plan, in, out);
    else run_prime<true>(*plan, in, out);
}
template void run_complex<double>(const primitive_plan*, direction, const double*, double*, std::byte*);
template void run_complex<float>(const primitive_plan*, direction, const float*, float*, std::byte*);

} // namespace vrn::dft
