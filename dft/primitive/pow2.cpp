// dft/primitive/pow2.cpp - plans of length 2^order.
//
//     order 0 to 6     a codelet
//     order 7 to 16    stages of radix 4 and 8 behind a leaf of radix 8 or 16
//     above            two levels, n = A B: columns of A values with the roots between, then rows of B values
//
// The two levels read and write memory twice in all; columns go eight at a time, whole lines of the cache, through a
// buffer, and so do the transposed rows. Bailey (1990), FFTs in external or hierarchical memory.

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/plan.hpp"

namespace vrn::dft {
namespace {

constexpr int direct_order = 6, longest_order = 27;
constexpr int group = 8; // columns or rows that move together
// 64 KiB of doubles in the first-level cache and its neighbour: below it, a pass after the other is as fast.
constexpr int pow2_flat_limit = 1024;

constexpr int column_order(int order) { return order <= 18 ? 6 : 8; }

// Radices outermost first. Stages are of order 3 and, so that the sum is right, one or two of order 2; two of order 2
// are the leaf together, one of radix 16, and one stands outermost, where its blocks are longest.
int radices_of(int order, std::int32_t* radices)
{
    const int leaf = order % 3 == 1 ? 4 : 3;
    int rest = order - leaf, count = 0;
    if (rest % 3 != 0) radices[count++] = 4, rest -= 2;
    for (; rest > 0; rest -= 3) radices[count++] = 8;
    radices[count++] = 1 << leaf;
    return count;
}

// The roots between the levels: w^t = coarse[t >> fine_order] * fine[t mod 2^fine_order].
constexpr int fine_order(int order) { return order / 2; }

template <class R>
R* make_twiddles(int order)
{
    const std::int64_t n = std::int64_t{1} << order, fine = std::int64_t{1} << fine_order(order), coarse = n / fine;
    R* table = kpr_array<R>(2 * (fine + coarse));
    if (table == nullptr) return nullptr;
    for (std::int64_t i = 0; i < fine + coarse; ++i) {
        const root w = i < fine ? table_root(i, n) : table_root(i - fine, coarse);
        table[2 * i] = static_cast<R>(w.cos), table[2 * i + 1] = static_cast<R>(-w.sin);
    }
    return table;
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
        if (plan.bit_reversal == nullptr || !make_stage_tables<R>(plan.stages, plan.last_stage))
            return kpr_no_memory;
        plan.work_size = static_cast<std::int32_t>((n * value + 63) & ~std::int64_t{63});
        return kpr_ok;
    }
    const int a = column_order(order), b = order - a;
    plan.table_order = order;
    plan.twiddle_table = make_twiddles<R>(order);
    if (plan.twiddle_table == nullptr) return kpr_no_memory;
    if (const auto status = make_pow2<R>(&plan.columns, a, scale_none, plan.hint); status != kpr_ok) return status;
    if (const auto status = make_pow2<R>(&plan.rows, b, scale_none, plan.hint); status != kpr_ok) return status;
    const std::int64_t inner = plan.rows->work_size > plan.columns->work_size ? plan.rows->work_size
                                                                              : plan.columns->work_size;
    const std::int64_t bytes = n * value + group * (std::int64_t{1} << (a > b ? a : b)) * value + inner + 192;
    if (bytes > INT32_MAX) return kpr_bad_order;
    plan.work_size = static_cast<std::int32_t>(bytes);
    return kpr_ok;
}

// to[j * to_step + i] := from[i * from_step + j] for i < rows, j < columns; steps in complex values.
template <class R>
void transpose(const R* from, std::int64_t from_step, std::int64_t rows, R* to, std::int64_t to_step,
               std::int64_t columns)
{
    for (std::int64_t i = 0; i < rows; ++i)
        for (std::int64_t j = 0; j < columns; ++j)
            std::memcpy(to + 2 * (j * to_step + i), from + 2 * (i * from_step + j), 2 * sizeof(R));
}

template <class R>
void run_two_level(const pow2_plan& plan, direction d, const R* in, R* out, std::byte* work)
{
    const pow2_plan &columns = *plan.columns, &rows = *plan.rows;
    const std::int64_t a = std::int64_t{1} << columns.order, b = std::int64_t{1} << rows.order, n = a * b;
    R* middle = reinterpret_cast<R*>(work);
    R* buffer = middle + 2 * n;
    std::byte* inner = aligned64(reinterpret_cast<std::byte*>(buffer + 2 * group * (a > b ? a : b)));

    const int fine_bits = fine_order(plan.order);
    const R* fine = static_cast<const R*>(plan.twiddle_table);
    const R* coarse = fine + (std::int64_t{2} << fine_bits);
    const std::int64_t mask = (std::int64_t{1} << fine_bits) - 1;
    for (std::int64_t j = 0; j < b; j += group) {
        transpose(in + 2 * j, b, a, buffer, a, group);
        for (int c = 0; c < group; ++c) {
            R* x = buffer + 2 * c * a;
            run_pow2(&columns, d, x, x, inner);
            for (std::int64_t k = 0, t = 0; k < a; ++k, t += j + c) {
                const R *f = fine + 2 * (t & mask), *g = coarse + 2 * (t >> fine_bits);
                const R re = f[0] * g[0] - f[1] * g[1];
                const R im = d == direction::forward ? f[0] * g[1] + f[1] * g[0] : -(f[0] * g[1] + f[1] * g[0]);
                const R xr = x[2 * k], xi = x[2 * k + 1];
                x[2 * k] = xr * re - xi * im, x[2 * k + 1] = xr * im + xi * re;
            }
        }
        transpose(buffer, a, group, middle + 2 * j, b, a);
    }
    for (std::int64_t k = 0; k < a; k += group) {
        for (int c = 0; c < group; ++c) run_pow2(&rows, d, middle + 2 * (k + c) * b, buffer + 2 * c * b, inner);
        transpose(buffer, b, group, out + 2 * k, a, b);
    }
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
    free_pow2(plan->columns);
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
    if (plan->order <= direct_order) {
        const auto& table = codelets<R>();
        (d == direction::forward ? table.forward : table.backward)[1 << plan->order](in, out);
    } else if (plan->order <= in_cache_order)
        run_stages<R, layout::blocked>(plan->stages, plan->last_stage, plan->bit_reversal, pow2_flat_limit, d, in, out,
                                       reinterpret_cast<R*>(work));
    else run_two_level(*plan, d, in, out, work);
}
template void run_pow2<double>(const pow2_plan*, direction, const double*, double*, std::byte*);
template void run_pow2<float>(const pow2_plan*, direction, const float*, float*, std::byte*);

} // namespace vrn::dft
