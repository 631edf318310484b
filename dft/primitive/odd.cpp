// dft/primitive/odd.cpp - real plans of odd length.
//
//     prime below 91         the double loop over pairs of reals
//     the factor rule holds  real stages (real_stages.hpp)
//     anything else          chirp, through complex values
//
// The shortest are codelets and do not come here.

#include "dft/primitive/factor.hpp"
#include "dft/primitive/real.hpp"
#include "dft/primitive/real_stages.hpp"

namespace vrn::dft {
namespace {

// ---- stages ----

template <bool Inverse, class R>
auto* half_stage_of(int radix)
{
    switch (radix) {
    case 3:
        return half_stage<3, Inverse, R>;
    case 5:
        return half_stage<5, Inverse, R>;
    case 7:
        return half_stage<7, Inverse, R>;
    case 11:
        return half_stage<11, Inverse, R>;
    case 13:
        return half_stage<13, Inverse, R>;
    default:
        return half_stage<0, Inverse, R>;
    }
}
template <bool Inverse, class R>
auto* half_leaf_of(int radix)
{
    switch (radix) {
    case 3:
        return half_leaf<3, Inverse, R>;
    case 5:
        return half_leaf<5, Inverse, R>;
    case 7:
        return half_leaf<7, Inverse, R>;
    case 11:
        return half_leaf<11, Inverse, R>;
    case 13:
        return half_leaf<13, Inverse, R>;
    default:
        return half_leaf<0, Inverse, R>;
    }
}

// Depth first, as complex stages go; the inverse takes the passes from the outermost on.
template <bool Inverse, class R>
struct odd_runner {
    const primitive_plan& plan;
    const R* in;
    R* out;
    field<R, layout::planar> data;

    prime_roots<R> roots_of(const stage_record& s) const
    {
        return s.prime_table == nullptr ? prime_roots<R>{} : prime_roots_at<R>(s.prime_table, s.radix);
    }
    void run(int s, std::int32_t begin) const
    {
        const stage_record& top = plan.stages[s];
        const std::int32_t size = top.radix * top.remaining;
        const bool deeper = size > flat_limit;
        if (s == plan.last_stage) return leaves(begin, size);
        if (Inverse)
            for (int t = s; t < (deeper ? s + 1 : plan.last_stage); ++t) combine(t, begin, size);
        if (deeper)
            for (std::int32_t i = 0; i < top.radix; ++i) run(s + 1, begin + i * top.remaining);
        else leaves(begin, size);
        if (!Inverse)
            for (int t = deeper ? s : plan.last_stage - 1; t >= s; --t) combine(t, begin, size);
    }
    void leaves(std::int32_t begin, std::int32_t size) const
    {
        const stage_record& s = plan.stages[plan.last_stage];
        half_leaf_of<Inverse, R>(s.radix)({in, out, s.product, plan.permutation + begin / s.radix, data.at(begin),
                                           size / s.radix, roots_of(s), s.radix});
    }
    void combine(int t, std::int32_t begin, std::int32_t size) const
    {
        const stage_record& s = plan.stages[t];
        half_stage_of<Inverse, R>(s.radix)({data.at(begin), s.remaining, size / (s.radix * s.remaining),
                                            static_cast<const R*>(s.twiddles), roots_of(s), s.radix, nullptr});
    }
};

// Values 1 to h of the half spectrum, between interleaved memory and two arrays.
template <class R>
void join_parts(const R* re, const R* im, R* to, std::int32_t h)
{
    constexpr int lanes = vec<R>::lanes;
    std::int32_t k = 1;
    for (; k + lanes <= h + 1; k += lanes, to += 2 * lanes)
        interleave<false>(apart<R>{vec<R>::loadu(re + k), vec<R>::loadu(im + k)}, to, lanes);
    for (; k <= h; ++k, to += 2) to[0] = re[k], to[1] = im[k];
}
template <class R>
void part_values(const R* from, R* re, R* im, std::int32_t h)
{
    constexpr int lanes = vec<R>::lanes;
    std::int32_t k = 1;
    for (; k + lanes <= h + 1; k += lanes, from += 2 * lanes) {
        const apart<R> x = gather_side_by_side<false>(from);
        x.re.storeu(re + k), x.im.storeu(im + k);
    }
    for (; k <= h; ++k, from += 2) re[k] = from[0], im[k] = from[1];
}

template <class R>
void run_stages_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length, rest = form == packing::ccs ? 2 : 1;
    R *re = reinterpret_cast<R*>(work), *im = re + n;
    const field<R, layout::planar> data{re, n};
    if (d == direction::forward) {
        odd_runner<false, R>{plan, in, nullptr, data}.run(0, 0);
        out[0] = re[0];
        if (form == packing::ccs) out[1] = 0;
        join_parts(re, im, out + rest, n / 2);
    } else {
        re[0] = in[0], im[0] = 0;
        part_values(in + rest, re, im, n / 2);
        odd_runner<true, R>{plan, nullptr, out, data}.run(0, 0);
    }
}

// ---- primes, and what goes through complex values ----

template <class R>
void run_prime_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out)
{
    const std::int32_t p = plan.length, rest = form == packing::ccs ? 2 : 1;
    const auto w = prime_roots_at<R>(plan.prime_table, p);
    R re[prime_limit / 2 + 1] = {}, im[prime_limit / 2 + 1] = {};
    if (d == direction::forward) {
        real_prime_forward(in, re, im, p, w);
        out[0] = re[0];
        if (form == packing::ccs) out[1] = 0;
        join_parts(re, im, out + rest, p / 2);
    } else {
        re[0] = in[0];
        part_values(in + rest, re, im, p / 2);
        real_prime_inverse(re, im, out, p, w);
    }
}

template <class R>
void run_complex_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length, rest = form == packing::ccs ? 2 : 1;
    const auto values = static_cast<std::size_t>(n - 1) * sizeof(R);
    R* z = reinterpret_cast<R*>(work);
    std::byte* inner_work = aligned64(work + sizeof(R) * 2 * static_cast<std::size_t>(n));
    const primitive_plan* inner = aligned64(plan.conv_plan);
    if (d == direction::forward) {
        for (std::int32_t j = 0; j < n; ++j) z[2 * j] = in[j], z[2 * j + 1] = 0;
        run_complex(inner, d, z, z, inner_work);
        out[0] = z[0];
        if (form == packing::ccs) out[1] = 0;
        std::memcpy(out + rest, z + 2, values);
    } else {
        z[0] = in[0], z[1] = 0;
        std::memcpy(z + 2, in + rest, values);
        for (std::int32_t k = 1; k <= n / 2; ++k) z[2 * (n - k)] = z[2 * k], z[2 * (n - k) + 1] = -z[2 * k + 1];
        run_complex(inner, d, z, z, inner_work);
        for (std::int32_t j = 0; j < n; ++j) out[j] = z[2 * j];
    }
}

} // namespace

template <class R>
std::int32_t build_odd(primitive_plan& plan)
{
    const std::int32_t n = plan.length;
    if (n == 1) return kpr_ok;
    if (n <= prime_limit && detail::is_prime(n)) {
        plan.prime_table = make_prime_table<R>(n);
        plan.work_size = static_cast<std::int32_t>(n * sizeof(R) + 64);
        return plan.prime_table != nullptr ? kpr_ok : kpr_no_memory;
    }
    if (const auto status = build_mixed<R>(plan); status != kpr_bad_length) return status;
    if (const auto status = make_complex<R>(&plan.conv_plan, n, scale_none, plan.hint, stamp_complex);
        status != kpr_ok)
        return status;
    const std::int64_t bytes =
        aligned64(plan.conv_plan)->work_size + 2 * static_cast<std::int64_t>(sizeof(R)) * n + 128;
    if (bytes > INT32_MAX) return kpr_bad_length;
    plan.work_size = static_cast<std::int32_t>(bytes);
    return kpr_ok;
}
template std::int32_t build_odd<double>(primitive_plan&);
template std::int32_t build_odd<float>(primitive_plan&);

template <class R>
void run_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    if (plan.length == 1) {
        out[0] = in[0];
        if (d == direction::forward && form == packing::ccs) out[1] = 0;
    } else if (plan.prime_table != nullptr) run_prime_odd(plan, d, form, in, out);
    else if (plan.mixed_radix != 0) run_stages_odd(plan, d, form, in, out, work);
    else run_complex_odd(plan, d, form, in, out, work);
}
template void run_odd<double>(const primitive_plan&, direction, packing, const double*, double*, std::byte*);
template void run_odd<float>(const primitive_plan&, direction, packing, const float*, float*, std::byte*);

} // namespace vrn::dft
