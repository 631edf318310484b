// dft/primitive/chirp.cpp - lengths without a factorisation, as a convolution (Bluestein 1970).
//
//     j k = (j^2 + k^2 - (k-j)^2) / 2, so with c_k = exp(-pi i k^2 / n):
//     X_k = c_k * sum over j of (x_j c_j) conj(c)_(k-j)
//
// The sum is a circular convolution of m >= 2n - 1 points through an inner plan; the filter's transform and 1/m are
// made with the plan. The inverse transform is the forward one with outputs 1 to n-1 in reverse.

#include "dft/primitive/plan.hpp"

#include <utility>

namespace vrn::dft {
namespace {

constexpr std::int32_t good_lengths[] = {128,  144,  160,  192,  200,  256,  288,  320,  384,  400,  512,
                                         576,  640,  768,  800,  1024, 1152, 1280, 1536, 1600, 2048, 2304,
                                         2560, 3072, 3200, 4096, 4608, 5120, 6144, 6400, 8192};

std::int32_t convolution_length(std::int32_t n)
{
    for (std::int32_t m : good_lengths)
        if (m >= 2 * n - 1) return m;
    return static_cast<std::int32_t>(std::bit_ceil(static_cast<std::uint32_t>(2 * n - 1)));
}

} // namespace

template <class R>
std::int32_t make_chirp(primitive_plan& plan)
{
    const std::int32_t n = plan.length, m = convolution_length(n);
    plan.chirp_length = m;
    if (const auto status = make_complex<R>(&plan.conv_plan, m, scale_none, 0, stamp_complex); status != kpr_ok)
        return status;
    auto* sequence = kpr_array<R>(2 * static_cast<std::int64_t>(n));
    auto* filter = kpr_array<R>(2 * static_cast<std::int64_t>(m));
    plan.chirp_sequence = sequence, plan.chirp_filter = filter;
    if (sequence == nullptr || filter == nullptr) return kpr_no_memory;
    const primitive_plan* inner = aligned64(plan.conv_plan);
    work_area work(nullptr, inner->work_size);
    if (work.failed()) return kpr_no_memory;

    std::memset(filter, 0, sizeof(R) * 2 * static_cast<std::size_t>(m));
    std::int64_t index = 0; // k^2 mod 2n
    for (std::int32_t k = 0; k < n; ++k) {
        const root w = table_root(index, 2 * static_cast<std::int64_t>(n));
        const R re = static_cast<R>(w.cos), im = static_cast<R>(w.sin);
        sequence[2 * k] = re, sequence[2 * k + 1] = -im;
        R *low = filter + 2 * k, *high = filter + 2 * ((m - k) % m);
        low[0] = high[0] = re, low[1] = high[1] = im;
        index = (index + 2 * k + 1) % (2 * static_cast<std::int64_t>(n));
    }
    run_complex(inner, direction::forward, filter, filter, work.get());
    scale_reals(filter, 2 * static_cast<std::int64_t>(m), R(1) / static_cast<R>(m));

    const std::int64_t bytes = inner->work_size + 2 * static_cast<std::int64_t>(sizeof(R)) * m + 64;
    if (bytes > INT32_MAX) return kpr_bad_length;
    plan.work_size = static_cast<std::int32_t>(bytes);
    return kpr_ok;
}
template std::int32_t make_chirp<double>(primitive_plan&);
template std::int32_t make_chirp<float>(primitive_plan&);

template <class R>
void run_chirp(const primitive_plan& plan, direction d, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length, m = plan.chirp_length;
    const primitive_plan* inner = aligned64(plan.conv_plan);
    const auto* sequence = static_cast<const R*>(plan.chirp_sequence);
    R* x = reinterpret_cast<R*>(work);
    std::byte* inner_work = aligned64(work + 2 * sizeof(R) * static_cast<std::size_t>(m));

    multiply(x, in, sequence, n);
    std::memset(x + 2 * static_cast<std::ptrdiff_t>(n), 0, 2 * sizeof(R) * static_cast<std::size_t>(m - n));
    run_complex(inner, direction::forward, x, x, inner_work);
    multiply(x, x, static_cast<const R*>(plan.chirp_filter), m);
    run_complex(inner, direction::inverse, x, x, inner_work);
    multiply(out, x, sequence, n);
    if (d == direction::inverse)
        for (std::int32_t low = 1, high = n - 1; low < high; ++low, --high) {
            std::swap(out[2 * low], out[2 * high]);
            std::swap(out[2 * low + 1], out[2 * high + 1]);
        }
}
template void run_chirp<double>(const primitive_plan&, direction, const double*, double*, std::byte*);
template void run_chirp<float>(const primitive_plan&, direction, const float*, float*, std::byte*);

} // namespace vrn::dft
