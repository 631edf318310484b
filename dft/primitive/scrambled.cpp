// dft/primitive/scrambled.cpp - transforms in place that leave their digits reversed, and the inverses that undo
// them.
//
//     forward   for each radix r, outermost first: butterflies over parts of m values, then times w_(rm)^(qk)
//     (Gentleman
//               and Sande 1966); the parts are transformed in turn
//     inverse   the same steps back, with conjugate roots
//
// Nothing is permuted and nothing copied. Lengths below 5000, powers of 2 and chirps take the complex way and come
// out in order, which their own inverse undoes as well.

#include "dft/primitive/factor.hpp"

namespace vrn::dft {
namespace {

// Roots of one stage: for q = 1 .. r-1 in turn, w_(rm)^(qk) for k < m.
template <class R>
bool make_tables(primitive_plan& plan)
{
    for (int s = 0; s <= plan.last_stage; ++s) {
        stage_record& stage = plan.stages[s];
        const std::int64_t r = stage.radix, m = stage.remaining;
        if (r > longest_unrolled_prime) {
            stage.prime_table = make_prime_table<R>(stage.radix);
            if (stage.prime_table == nullptr) return false;
        }
        if (m == 1) continue;
        R* w = kpr_array<R>(2 * (r - 1) * m);
        stage.twiddles = w;
        if (w == nullptr) return false;
        for (std::int64_t q = 1; q < r; ++q)
            for (std::int64_t k = 0; k < m; ++k, w += 2) {
                const root x = table_root(q * k, r * m);
                w[0] = static_cast<R>(x.cos), w[1] = static_cast<R>(-x.sin);
            }
    }
    return true;
}

template <class R>
std::int32_t build(primitive_plan& plan, const radices& r)
{
    plan.scrambled_mode = 1;
    plan.mixed_radix = 1;
    plan.last_stage = r.count - 1;
    lay_out(plan.stages, r.of, r.count, plan.length);
    std::int32_t reserve = 0;
    for (int s = 0; s < r.count; ++s) {
        plan.stages[s].twiddle_count = 1;
        if (r.of[s] % 2 != 0 && r.of[s] >= 14 && 2 * r.of[s] > reserve) reserve = 2 * r.of[s];
    }
    plan.work_size = reserve == 0 ? 0 : static_cast<std::int32_t>(reserve * 2 * sizeof(R)) + work_slack;
    return make_tables<R>(plan) ? kpr_ok : kpr_no_memory;
}

VRN_INLINE vec<double> load_values(const double* p, int) { return vec<double>::loadu(p); }
VRN_INLINE vec<float> load_values(const float* p, int count)
{
    return count == 2 ? vec<float>::loadu(p) : vec<float>::load2(p);
}
VRN_INLINE void store_values(vec<double> v, double* p, int) { v.storeu(p); }
VRN_INLINE void store_values(vec<float> v, float* p, int count)
{
    if (count == 2) v.storeu(p);
    else v.store2(p);
}
template <bool Backward, class R>
VRN_INLINE vec<R> turned_by(vec<R> x, vec<R> w)
{
    return complex_product(x, Backward ? flip_im(w) : w);
}

// `count` neighbouring butterflies from k on.
template <int Radix, bool Backward, class R>
VRN_INLINE void step(R* x, const stage_record& s, std::ptrdiff_t k, int count)
{
    using C = together<R, Backward>;
    const std::ptrdiff_t m = s.remaining;
    const R* w = static_cast<const R*>(s.twiddles);
    const auto at = [&](auto q) VRN_HERE { return load_values(w + 2 * ((q - 1) * m + k), count); };
    const auto load = [&](auto q) VRN_HERE {
        const vec<R> y = load_values(x + 2 * (k + q * m), count);
        if (!Backward || q == 0 || m == 1) return C{y};
        return C{turned_by<true>(y, at(q))};
    };
    const auto store = [&](auto q, C y) VRN_HERE {
        if (!Backward && q != 0 && m != 1) y.v = turned_by<false>(y.v, at(q));
        store_values(y.v, x + 2 * (k + q * m), count);
    };
    if constexpr (Radix != 0) transform<Radix, C>(load, store);
    else {
        C y[longest_prime];
        for (int q = 0; q < s.radix; ++q) y[q] = load(q);
        prime_butterfly(y, s.radix, prime_roots_at<R>(s.prime_table, s.radix));
        for (int q = 0; q < s.radix; ++q) store(q, y[q]);
    }
}
template <int Radix, bool Backward, class R>
void stage_on(R* x, const stage_record& s)
{
    constexpr int each = vec<R>::lanes / 2;
    std::ptrdiff_t k = 0;
    for (; k + each <= s.remaining; k += each) step<Radix, Backward>(x, s, k, each);
    if constexpr (each > 1)
        if (k < s.remaining) step<Radix, Backward>(x, s, k, 1);
}
template <bool Backward, class R>
void stage_by_radix(R* x, const stage_record& s)
{
    switch (s.radix) {
    case 2:
        return stage_on<2, Backward>(x, s);
    case 3:
        return stage_on<3, Backward>(x, s);
    case 4:
        return stage_on<4, Backward>(x, s);
    case 5:
        return stage_on<5, Backward>(x, s);
    case 7:
        return stage_on<7, Backward>(x, s);
    case 11:
        return stage_on<11, Backward>(x, s);
    case 13:
        return stage_on<13, Backward>(x, s);
    default:
        return stage_on<0, Backward>(x, s);
    }
}

// Depth first: what a part needs stays in the cache.
template <bool Backward, class R>
void run_from(const primitive_plan& plan, int s, R* x)
{
    const stage_record& stage = plan.stages[s];
    if (!Backward) stage_by_radix<false>(x, stage);
    if (s < plan.last_stage)
        for (std::ptrdiff_t q = 0; q < stage.radix; ++q) run_from<Backward>(plan, s + 1, x + 2 * q * stage.remaining);
    if (Backward) stage_by_radix<true>(x, stage);
}

} // namespace

template <class R>
std::int32_t make_scrambled(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                            plan_stamp)
{
    radices r;
    const bool in_order = length < scrambled_from || std::has_single_bit(static_cast<std::uint32_t>(length)) ||
                          length >= mixed_limit || !factor(length, false, r);
    if (in_order) return make_complex<R>(plan_out, length, flag, hint, stamp_scrambled);
    return make_plan(plan_out, length, flag, hint, stamp_scrambled,
                     [&r](primitive_plan& plan) { return build<R>(plan, r); });
}
template std::int32_t make_scrambled<double>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);
template std::int32_t make_scrambled<float>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);

template <class R>
void run_scrambled(const primitive_plan& plan, direction d, const R* in, R* out, std::byte* work)
{
    if (plan.scrambled_mode == 0) {
        run_complex(&plan, d, in, out, work);
        return;
    }
    if (in != out) std::memcpy(out, in, 2 * sizeof(R) * static_cast<std::size_t>(plan.length));
    if (d == direction::forward) run_from<false>(plan, 0, out);
    else run_from<true>(plan, 0, out);
}
template void run_scrambled<double>(const primitive_plan&, direction, const double*, double*, std::byte*);
template void run_scrambled<float>(const primitive_plan&, direction, const float*, float*, std::byte*);

} // namespace vrn::dft
