// tests/oracle/dft.hpp - the direct sum over each dimension in turn, in long double. The first dimension is the fastest.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

namespace vrn::test {

using wide_complex = std::complex<long double>;

inline std::vector<wide_complex> direct_sum(std::vector<wide_complex> x, const std::vector<std::int64_t>& lengths, int sign)
{
    const long double turn = 2 * std::acos(-1.0L);
    std::int64_t stride = 1;
    const auto total = static_cast<std::int64_t>(x.size());
    for (const std::int64_t n : lengths) {
        std::vector<wide_complex> root(static_cast<std::size_t>(n)), line(root.size());
        for (std::int64_t k = 0; k < n; ++k)
            root[k] = std::polar(1.0L, sign * turn * static_cast<long double>(k) / static_cast<long double>(n));
        for (std::int64_t p = 0; p < total; ++p) {
            if (p / stride % n != 0) continue;
            for (std::int64_t k = 0; k < n; ++k) {
                wide_complex sum = 0;
                for (std::int64_t j = 0; j < n; ++j) sum += x[p + j * stride] * root[j * k % n];
                line[k] = sum;
            }
            for (std::int64_t k = 0; k < n; ++k) x[p + k * stride] = line[k];
        }
        stride *= n;
    }
    return x;
}

} // namespace vrn::test
