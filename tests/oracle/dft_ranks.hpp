// tests/oracle/dft_ranks.hpp - the transform of several dimensions: each in turn from its definition. The first
// dimension is the fastest.
#pragma once

#include "tests/oracle/dft.hpp"

namespace vrn::oracle {

inline std::vector<wide> dft(std::vector<wide> x, const std::vector<std::int64_t>& lengths, int sign)
{
    std::size_t stride = 1;
    for (const std::int64_t length : lengths) {
        const auto n = static_cast<std::size_t>(length);
        std::vector<wide> line(n);
        for (std::size_t p = 0; p < x.size(); ++p) {
            if (p / stride % n != 0) continue;
            for (std::size_t k = 0; k < n; ++k) line[k] = x[p + k * stride];
            const auto y = dft(line, sign);
            for (std::size_t k = 0; k < n; ++k) x[p + k * stride] = y[k];
        }
        stride *= n;
    }
    return x;
}

} // namespace vrn::oracle
