// tests/spblas/blocks_support.hpp - kernels by type and width, and checks of what they compute in both widths.
#pragma once

#include "spblas/arguments.hpp"
#include "tests/spblas/support.hpp"
#include "tests/support/backend.hpp"

#include <gtest/gtest.h>

namespace vrn::test {

namespace arguments = vrn::spblas::arguments;
namespace choice = vrn::spblas::choice;

template <class T>
inline constexpr char letter = 's';
template <>
inline constexpr char letter<double> = 'd';
template <>
inline constexpr char letter<std::complex<float>> = 'c';
template <>
inline constexpr char letter<std::complex<double>> = 'z';
template <class T>
inline constexpr bool is_complex = !std::is_floating_point_v<T>;

// named<arguments::csrcoo, T, I>("vrn_?csrcoo")
template <template <class, class> class List, class T, class I>
List<T, I>* named(std::string stem)
{
    if (const auto at = stem.find('?'); at != std::string::npos) stem[at] = letter<T>;
    return kernel<List<T, I>>((sizeof(I) == 8 ? "vrn_spblas_s42_" : "vrn_spblas_lp64_s42_") + stem);
}

constexpr std::size_t ix(std::int64_t i) { return static_cast<std::size_t>(i); }

template <class A, class B>
struct pair_of {
    using T = A;
    using I = B;
};
using Numbers = testing::Types<float, double, std::complex<float>, std::complex<double>>;
using NumbersAndWidths =
    testing::Types<pair_of<float, std::int64_t>, pair_of<double, std::int64_t>,
                   pair_of<std::complex<float>, std::int64_t>, pair_of<std::complex<double>, std::int64_t>,
                   pair_of<float, std::int32_t>, pair_of<double, std::int32_t>,
                   pair_of<std::complex<float>, std::int32_t>, pair_of<std::complex<double>, std::int32_t>>;

// All but the first `grants` allocations from now on are refused; none if negative.
inline void refuse_after(int grants) { heap.asked = 0, heap.grants = grants < 0 ? INT_MAX : grants; }

// Whole numbers, so that sums and products are exact in any order.
template <class T>
T small_number(std::mt19937_64& random)
{
    const auto n = [&] { return static_cast<float>(static_cast<int>(random() % 17) - 8); };
    if constexpr (is_complex<T>) {
        const float re = n();
        return T(re, n() + 9);
    } else return T(n() == 0 ? 9 : n() + 20);
}

// What f(I{}, result) makes of `before` in 64-bit integers, and that 32-bit ones give the same bits.
template <class T, class F>
dense<T> in_both_widths(const dense<T>& before, F&& f)
{
    dense<T> wide = before, narrow = before;
    f(std::int64_t{}, wide);
    f(std::int32_t{}, narrow);
    EXPECT_TRUE(wide.same_bits(narrow)) << "widths differ";
    return wide;
}

// Rows r0..r1-1 of y against before + alpha*A*x, or A*x alone where it is not kept, and nothing else written.
template <class T>
void expect_product(oracle::meaning w, const std::vector<oracle::entry<T>>& a, T alpha, const dense<T>& x, bool keeps,
                    const dense<T>& before, const dense<T>& y, std::int64_t r0, std::int64_t r1)
{
    const auto meant = oracle::defined(w, a, 0, std::max(x.rows, y.rows));
    double worst = 0;
    for (std::int64_t c = 0; c < y.cols; ++c) {
        const oracle::products<T> want(meant, meant, alpha, &x.at(0, c), x.row_step, T(keeps ? 1 : 0),
                                       &before.at(0, c), before.row_step, y.rows);
        for (std::int64_t r = r0; r < r1; ++r) worst = std::max(worst, want.units(r, y.at(r, c)));
    }
    EXPECT_LE(worst, is_complex<T> ? 2 : 1) << "far from the definition";
    EXPECT_TRUE(y.unchanged_outside(before, r0, r1, 0, y.cols)) << "written outside";
}

} // namespace vrn::test
