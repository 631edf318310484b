// tests/spblas/blocks_support.hpp - kernels outside the grammar by type and width, and a heap that refuses.
#pragma once

#include "frame/services.hpp"
#include "spblas/arguments.hpp"
#include "tests/spblas/csr_support.hpp"
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

inline struct {
    int refused_from = -1, asked = 0, live = 0; // number of the first refused allocation, none if negative
    std::uint64_t bytes = 0;
    void refuse(int from) { refused_from = from, asked = 0; }
} heap;

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

} // namespace vrn::test

// Found ahead of the host's; included once in a program.
extern "C" void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment)
{
    using vrn::test::heap;
    EXPECT_EQ(alignment, 128);
    heap.bytes = size;
    if (heap.refused_from >= 0 && heap.asked >= heap.refused_from) return ++heap.asked, nullptr;
    ++heap.asked, ++heap.live;
    void* block = std::malloc(size + 1);
    std::memset(block, 0xff, size); // lest old contents hide a fault
    return block;
}
extern "C" void vrn_serv_deallocate(void* block)
{
    if (block != nullptr) --vrn::test::heap.live;
    std::free(block);
}
