// tests/oracle/dft.hpp - the discrete Fourier transform from its definition, in long double.
// Direct sums up to about two thousand points, FFTW in long double above; errors in the 2-norm, relative.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <fftw3.h>
#include <vector>

namespace vrn::oracle {

using wide = std::complex<long double>;

// sign -1 forward, +1 backward; without a scale.
inline std::vector<wide> dft(const std::vector<wide>& x, int sign)
{
    const auto n = static_cast<std::int64_t>(x.size());
    std::vector<wide> y(x.size());
    if (n > 2000) {
        auto data = [](const std::vector<wide>& v) {
            return reinterpret_cast<fftwl_complex*>(const_cast<wide*>(v.data()));
        };
        const fftwl_plan plan = fftwl_plan_dft_1d(static_cast<int>(n), data(x), data(y), sign, FFTW_ESTIMATE);
        fftwl_execute(plan);
        fftwl_destroy_plan(plan);
        return y;
    }
    std::vector<wide> root(x.size());
    const long double turn = 8 * std::atan(1.0L);
    for (std::int64_t k = 0; k < n; ++k) {
        const long double t = turn * static_cast<long double>(k) / static_cast<long double>(n);
        root[static_cast<std::size_t>(k)] = {std::cos(t), sign * std::sin(t)};
    }
    for (std::int64_t k = 0; k < n; ++k)
        for (std::int64_t j = 0; j < n; ++j)
            y[static_cast<std::size_t>(k)] +=
                x[static_cast<std::size_t>(j)] * root[static_cast<std::size_t>(j * k % n)];
    return y;
}

inline long double distance(const std::vector<wide>& got, const std::vector<wide>& want)
{
    long double error = 0, size = 0;
    for (std::size_t i = 0; i < want.size(); ++i) error += std::norm(got[i] - want[i]), size += std::norm(want[i]);
    return size == 0 ? std::sqrt(error) : std::sqrt(error / size);
}

} // namespace vrn::oracle
