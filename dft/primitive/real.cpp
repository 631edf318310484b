// dft/primitive/real.cpp - real plans: n real values and their half spectrum in the packed layouts.
//
// Even n: the half-length method (codelets/halves.hpp) on the complex plan of n/2.
// Odd n: primes by the double loop over real pairs, anything else through the complex plan of n.

#include "dft/primitive/real.hpp"
#include "dft/codelets/codelets.hpp"

namespace vrn::dft {
namespace {

// x_0 and pairs of reals in, real sums out; both directions of a prime p below 91. h = (p-1)/2.
//     forward   X_k = x_0 + sum (x_j + x_(p-j)) cos - i sum (x_j - x_(p-j)) sin
//     inverse   x_j, x_(p-j) = X_0 + sum 2 Re X_k cos -+ sum 2 Im X_k sin
// Cosines and sines lie side by side in the table: one product does both sums.
template <class R>
void prime_sums(const R* even, const R* odd, int p, prime_roots<R> w, R first, R* cosines, R* sines)
{
    const int h = (p - 1) / 2;
    for (int u = 0; u < h; ++u) {
        const R* value = w.value + 2 * u;
        R c = first, s = 0;
        for (int t = 0; t < h; ++t) c += value[2 * t] * even[t], s += value[2 * t + 1] * odd[t];
        cosines[u] = c, sines[u] = s;
    }
}

template <class R>
void prime_forward(const R* in, R* spectrum, int p, prime_roots<R> w)
{
    const int h = (p - 1) / 2;
    R even[prime_limit / 2] = {}, odd[prime_limit / 2] = {}, c[prime_limit / 2], s[prime_limit / 2], sum = in[0];
    const R first = in[0];
    for (int t = 0; t < h; ++t) {
        const int j = w.power[t];
        even[t] = in[j] + in[p - j], odd[t] = in[j] - in[p - j];
        sum += even[t];
    }
    prime_sums(even, odd, p, w, first, c, s);
    spectrum[0] = sum, spectrum[1] = 0;
    for (int u = 0; u < h; ++u) {
        const int k = w.power[u];
        if (k <= h) spectrum[2 * k] = c[u], spectrum[2 * k + 1] = -s[u];
        else spectrum[2 * (p - k)] = c[u], spectrum[2 * (p - k) + 1] = s[u];
    }
}

template <class R>
void prime_inverse(const R* spectrum, R* out, int p, prime_roots<R> w)
{
    const int h = (p - 1) / 2;
    R even[prime_limit / 2] = {}, odd[prime_limit / 2] = {}, c[prime_limit / 2], s[prime_limit / 2];
    R sum = spectrum[0];
    const R first = spectrum[0];
    for (int t = 0; t < h; ++t) {
        const int k = w.power[t], low = k <= h ? k : p - k;
        even[t] = 2 * spectrum[2 * low];
        odd[t] = k <= h ? 2 * spectrum[2 * low + 1] : -2 * spectrum[2 * low + 1];
        sum += even[t];
    }
    prime_sums(even, odd, p, w, first, c, s);
    out[0] = sum;
    for (int u = 0; u < h; ++u) {
        const int j = w.power[u];
        out[j] = c[u] - s[u], out[p - j] = c[u] + s[u];
    }
}

// The half spectrum of odd n as (n+1)/2 complex values, to and from the packed forms.
template <class R>
void pack_odd(const R* spectrum, R* out, std::int32_t n, packing form)
{
    R* rest = out + 1;
    out[0] = spectrum[0];
    if (form == packing::ccs) *rest++ = 0;
    std::memcpy(rest, spectrum + 2, sizeof(R) * static_cast<std::size_t>(n - 1));
}
template <class R>
void unpack_odd(const R* in, R* spectrum, std::int32_t n, packing form)
{
    spectrum[0] = in[0], spectrum[1] = 0;
    std::memcpy(spectrum + 2, in + (form == packing::ccs ? 2 : 1), sizeof(R) * static_cast<std::size_t>(n - 1));
}

template <class R>
void run_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length;
    if (plan.prime_table != nullptr) {
        const auto w = prime_roots_at<R>(plan.prime_table, n);
        R spectrum[prime_limit + 2];
        if (d == direction::forward) {
            prime_forward(in, spectrum, n, w);
            pack_odd(spectrum, out, n, form);
        } else {
            unpack_odd(in, spectrum, n, form);
            prime_inverse(spectrum, out, n, w);
        }
        return;
    }
    R on_stack[2 * direct_limit] = {};
    R* z = n <= direct_limit ? on_stack : reinterpret_cast<R*>(work);
    std::byte* inner_work =
        n <= direct_limit ? nullptr : aligned64(work + sizeof(R) * 2 * static_cast<std::size_t>(n));
    const primitive_plan* inner = aligned64(plan.conv_plan);
    if (d == direction::forward) {
        for (std::int32_t j = 0; j < n; ++j) z[2 * j] = in[j], z[2 * j + 1] = 0;
        run_complex(inner, d, z, z, inner_work);
        pack_odd(z, out, n, form);
    } else {
        unpack_odd(in, z, n, form);
        for (std::int32_t k = 1; k <= n / 2; ++k) z[2 * (n - k)] = z[2 * k], z[2 * (n - k) + 1] = -z[2 * k + 1];
        run_complex(inner, d, z, z, inner_work);
        for (std::int32_t j = 0; j < n; ++j) out[j] = z[2 * j];
    }
}

template <class R>
R* make_half_roots(std::int32_t n)
{
    const std::int32_t count = n / 4 + 1;
    R* table = kpr_array<R>(2 * static_cast<std::int64_t>(count));
    if (table != nullptr)
        for (std::int32_t k = 0; k < count; ++k) put_half_root(table + 2 * k, table_root(k, n));
    return table;
}

template <class R>
std::int32_t build(primitive_plan& plan)
{
    const std::int32_t n = plan.length;
    if (n % 2 != 0) {
        if (n > direct_limit && n <= prime_limit && detail::is_prime(n)) {
            plan.prime_table = make_prime_table<R>(n);
            plan.work_size = static_cast<std::int32_t>(n * sizeof(R) + 64);
            return plan.prime_table != nullptr ? kpr_ok : kpr_no_memory;
        }
        if (const auto status = make_complex<R>(&plan.conv_plan, n, scale_none, plan.hint, stamp_complex);
            status != kpr_ok)
            return status;
        if (n > direct_limit) {
            const std::int64_t bytes =
                aligned64(plan.conv_plan)->work_size + 2 * static_cast<std::int64_t>(sizeof(R)) * n + 128;
            if (bytes > INT32_MAX) return kpr_bad_length;
            plan.work_size = static_cast<std::int32_t>(bytes);
        }
        return kpr_ok;
    }
    const std::int32_t h = n / 2;
    if (const auto status = make_complex<R>(&plan.conv_plan, h, scale_none, plan.hint, stamp_complex);
        status != kpr_ok)
        return status;
    plan.work_size = aligned64(plan.conv_plan)->work_size;
    plan.tables[0] = make_half_roots<R>(n);
    return plan.tables[0] != nullptr ? kpr_ok : kpr_no_memory;
}

} // namespace

template <class R>
std::int32_t make_real(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                       plan_stamp)
{
    return make_plan(plan_out, length, flag, hint, stamp_real, [](primitive_plan& plan) { return build<R>(plan); });
}
template std::int32_t make_real<double>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);
template std::int32_t make_real<float>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);

template <class R>
void run_real(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length;
    if (n % 2 != 0) {
        run_odd(plan, d, form, in, out, work);
        return;
    }
    const primitive_plan* inner = aligned64(plan.conv_plan);
    const R* roots = static_cast<const R*>(plan.tables[0]);
    if (d == direction::forward) {
        run_complex(inner, d, in, out, work);
        spectrum_of_halves(out, n / 2, roots);
        from_perm(out, n, form);
    } else {
        const R* perm = form == packing::pack ? to_perm(in, out, n) : in;
        halves_of_spectrum(perm, form == packing::ccs ? in[n] : perm[1], out, n / 2, roots);
        run_complex(inner, d, static_cast<const R*>(out), out, work);
    }
}
template void run_real<double>(const primitive_plan&, direction, packing, const double*, double*, std::byte*);
template void run_real<float>(const primitive_plan&, direction, packing, const float*, float*, std::byte*);

} // namespace vrn::dft
