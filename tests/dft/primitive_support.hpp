// tests/dft/primitive_support.hpp - the engine's entries of either precision by one name, and a host's memory that
// counts.
#pragma once

#include "dft/primitive/primitive.hpp"
#include "tests/oracle/dft.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace vrn::test {

using dft::primitive_plan;

// kprMalloc as the tests answer it: from `refuse_from` on null, and every block full of NaN, at 16 bytes' alignment.
struct heap_state {
    long asked = 0, refuse_from = std::numeric_limits<long>::max(), live = 0;
};
extern heap_state heap;
extern std::int32_t few_ways; // what vrn_serv_cpuisbulldozer answers

#define KPR_OF(R, S)                                                                                                 \
    static constexpr auto init_complex = dft::kprDftInit_Complex_##S, init_split = dft::kprDftInit_Split_##S;        \
    static constexpr auto init_real = dft::kprDftInit_Real_##S, init_scrambled = dft::kprDftInit_Scrambled_##S;      \
    static constexpr auto free_complex = dft::kprDftFree_Complex_##S, free_split = dft::kprDftFree_Split_##S;        \
    static constexpr auto free_real = dft::kprDftFree_Real_##S, free_scrambled = dft::kprDftFree_Scrambled_##S;      \
    static constexpr auto work_complex = dft::kprDftGetWorkSize_Complex_##S;                                         \
    static constexpr auto work_split = dft::kprDftGetWorkSize_Split_##S;                                             \
    static constexpr auto work_real = dft::kprDftGetWorkSize_Real_##S;                                               \
    static constexpr auto work_scrambled = dft::kprDftGetWorkSize_Scrambled_##S;                                     \
    static constexpr decltype(&dft::kprDftForward_Complex_##S) complex[2] = {dft::kprDftForward_Complex_##S,         \
                                                                             dft::kprDftInverse_Complex_##S};        \
    static constexpr decltype(&dft::kprDftForward_Complex_##S) scrambled[2] = {dft::kprDftForward_Scrambled_##S,     \
                                                                               dft::kprDftInverse_Scrambled_##S};    \
    static constexpr decltype(&dft::kprDftForward_Split_##S) split[2] = {dft::kprDftForward_Split_##S,               \
                                                                         dft::kprDftInverse_Split_##S};              \
    static constexpr decltype(&dft::kprDftForward_Complex_##S) packed[3][2] = {                                      \
        {dft::kprDftForward_PackedCcs_##S, dft::kprDftInverse_PackedCcs_##S},                                        \
        {dft::kprDftForward_PackedPack_##S, dft::kprDftInverse_PackedPack_##S},                                      \
        {dft::kprDftForward_PackedPerm_##S, dft::kprDftInverse_PackedPerm_##S}};
template <class R>
struct kpr;
template <>
struct kpr<double> {
    KPR_OF(double, d)
};
template <>
struct kpr<float> {
    KPR_OF(float, s)
};
#undef KPR_OF

using reals = ::testing::Types<double, float>;

template <class R>
std::vector<R> noise(std::size_t count, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> in(-1, 1);
    std::vector<R> x(count);
    for (R& v : x) v = static_cast<R>(in(random));
    return x;
}
template <class R>
std::vector<oracle::wide> widened(const std::vector<R>& x, std::size_t count)
{
    std::vector<oracle::wide> y(count);
    for (std::size_t i = 0; i < count; ++i) y[i] = {x[2 * i], x[2 * i + 1]};
    return y;
}

// Root mean square errors of a transform grow with the square root of log n (Schatzman 1996); 1 eps a stage is loose
// for all radices that are unrolled, and the double loop over pairs adds up to p terms by chance. A chirp is three
// products and two transforms of up to four times the length.
template <class R>
long double bound(std::int64_t n)
{
    return std::numeric_limits<R>::epsilon() * (1 + std::log2(static_cast<long double>(n))) * 0.6L;
}

inline std::string line_of(const primitive_plan* plan)
{
    char line[200];
    const int length = dft::describe(plan, line, sizeof line);
    EXPECT_LT(length, static_cast<int>(sizeof line));
    return line;
}

} // namespace vrn::test
