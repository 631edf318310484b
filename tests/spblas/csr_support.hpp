// tests/spblas/csr_support.hpp - CSR arrays and dense operands whose surroundings are watched.
#pragma once

#include "tests/oracle/spblas.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <random>

namespace vrn::test {

template <class T>
T nan_of()
{
    return T(std::numeric_limits<decltype(std::abs(T{}))>::quiet_NaN());
}

template <class T>
T random_number(std::mt19937_64& random)
{
    std::uniform_real_distribution<double> u(-1, 1);
    if constexpr (std::is_floating_point_v<T>) return static_cast<T>(u(random));
    else {
        const double re = u(random), im = u(random);
        return T(static_cast<typename T::value_type>(re), static_cast<typename T::value_type>(im));
    }
}

// Arrays with pointers of their own base, rows out of order, and gaps of NaN that no column index fits.
template <class T, class I>
struct csr_arrays {
    std::vector<T> val;
    std::vector<I> indx, pntrb, pntre;

    csr_arrays(const std::vector<oracle::entry<T>>& entries, std::int64_t m, int base, bool scattered)
        : pntrb(static_cast<std::size_t>(m + 1)), pntre(pntrb.size())
    {
        std::vector<std::vector<oracle::entry<T>>> rows(static_cast<std::size_t>(m));
        for (const auto& e : entries) rows[static_cast<std::size_t>(e.row)].push_back(e);
        const I origin = scattered ? 5 : 1;
        for (std::int64_t step = 0; step < m; ++step) {
            const auto i = static_cast<std::size_t>(scattered && step > 0 ? m - step : step);
            pntrb[i] = static_cast<I>(val.size()) + origin;
            for (const auto& e : rows[i]) {
                val.push_back(e.value);
                indx.push_back(static_cast<I>(e.col + base));
            }
            pntre[i] = static_cast<I>(val.size()) + origin;
            if (!scattered) continue;
            val.push_back(nan_of<T>());
            indx.push_back(std::numeric_limits<I>::max() / 2);
        }
        pntrb.back() = static_cast<I>(val.size()) + origin; // so that rows in order have one array of pointers too
    }
};

// rows by cols elements in a layout, lines farther apart than they are long; NaN in the gaps and around.
template <class T>
struct dense {
    static constexpr std::int64_t guard = 7;
    std::int64_t rows, cols, ld, row_step, col_step;
    std::vector<T> all;

    dense(std::int64_t r, std::int64_t c, bool by_rows, std::int64_t gap)
        : rows(r), cols(c), ld(std::max<std::int64_t>((by_rows ? c : r) + gap, 1)), row_step(by_rows ? ld : 1),
          col_step(by_rows ? 1 : ld), all(static_cast<std::size_t>(2 * guard + (by_rows ? r : c) * ld), nan_of<T>())
    {
    }
    void fill(std::mt19937_64& random)
    {
        for (std::int64_t i = 0; i < rows; ++i)
            for (std::int64_t j = 0; j < cols; ++j) at(i, j) = random_number<T>(random);
    }
    T* data() { return all.data() + guard; }
    const T* data() const { return all.data() + guard; }
    T& at(std::int64_t i, std::int64_t j) { return data()[i * row_step + j * col_step]; }
    const T& at(std::int64_t i, std::int64_t j) const { return data()[i * row_step + j * col_step]; }

    // Bit for bit `before`, but for the rows and columns given.
    bool unchanged_outside(const dense& before, std::int64_t r0, std::int64_t r1, std::int64_t c0,
                           std::int64_t c1) const
    {
        dense copy = before;
        for (std::int64_t i = r0; i < r1; ++i)
            for (std::int64_t j = c0; j < c1; ++j) copy.at(i, j) = at(i, j);
        return same_bits(copy);
    }
    bool same_bits(const dense& other) const
    {
        return std::memcmp(all.data(), other.all.data(), all.size() * sizeof(T)) == 0;
    }
};

} // namespace vrn::test
