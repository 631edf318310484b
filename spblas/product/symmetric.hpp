// spblas/product/symmetric.hpp - y := y + A*x, A symmetric with its upper triangle stored in one-based CSR, rows in
// order. Row by row: the diagonal if the row begins with it, then each further entry serves its own row by a sum and
// its column's row by a scatter, eight a trip. Rows go in blocks, the last of which takes the rest: a block size that
// keeps x and y of a banded matrix in the caches, and changes no result. Called by its one name.
#pragma once

#include "spblas/arguments.hpp"

#include <cstddef>

namespace vrn::spblas::product {

inline constexpr std::ptrdiff_t symmetric_rows = 30000;

template <class T, class I>
void dcsrsymmvs(const I* m, const T* a, const I* ja, const I* ia, const T* x, T* y)
{
    const std::ptrdiff_t rows = *m, size = rows < symmetric_rows ? rows : symmetric_rows;
    const std::ptrdiff_t count = size > 0 ? rows / size : 0;
    for (std::ptrdiff_t block = 0; block < count; ++block)
        for (std::ptrdiff_t i = block * size, end = block + 1 == count ? rows : (block + 1) * size; i < end; ++i) {
            std::ptrdiff_t k = ia[i] - 1;
            const std::ptrdiff_t stop = ia[i + 1] - 1;
            if (k < stop && ja[k] == i + 1) {
                y[i] += a[k] * x[i];
                ++k;
            }
            const T own = x[i];
            T sum{};
            auto add = [&](std::ptrdiff_t q) __attribute__((always_inline))
            {
                const std::ptrdiff_t j = ja[q] - 1;
                sum += x[j] * a[q];
                y[j] += a[q] * own;
            };
            for (; k + 8 <= stop; k += 8)
                for (std::ptrdiff_t q = k; q < k + 8; ++q) add(q);
            for (; k < stop; ++k) add(k);
            y[i] += sum;
        }
}

} // namespace vrn::spblas::product
