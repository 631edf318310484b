// tests/blas/gemm_driver_test.cpp - products through the entry of one thread and the block driver: shapes around
// every threshold, letters, factors, addresses and values that are no ordinary numbers.

#include "tests/blas/gemm_support.hpp"

using namespace vrn::test;

namespace {

template <class T>
struct GemmDriver : Gemm<> {};
TYPED_TEST_SUITE(GemmDriver, Reals);

constexpr const char* letter_pairs[] = {"NN", "NT", "TN", "TT"};

constexpr shape shapes[] = {
    {0, 5, 5, "no rows"},
    {5, 0, 5, "no columns"},
    {5, 6, 0, "no depth: beta alone"},
    {40, 40, 0, "no depth, above the sides that pack"},
    {1, 1, 1, "one number"},
    {10, 10, 10, "the largest of the unrolled kernels"},
    {11, 10, 10, "a row too many for them"},
    {10, 11, 10, "a column too many"},
    {10, 10, 11, "a depth too many"},
    {1, 8, 4, "below the row tile of d"},
    {2, 7, 4, "below the column tile"},
    {2, 8, 3, "below the depth step"},
    {2, 8, 4, "one tile of d; too few rows to pack"},
    {3, 8, 4, "the same, and a row rest"},
    {3, 50, 50, "too few rows to pack"},
    {50, 3, 50, "too few columns to pack"},
    {50, 50, 3, "too shallow to pack"},
    {4, 8, 4, "the least that is packed"},
    {5, 9, 5, "a tile and an edge on every side"},
    {6, 10, 6, "two left over on every side"},
    {7, 11, 7, "three left over: a panel of four with a zero column"},
    {9, 12, 8, "a chain of one four"},
    {9, 13, 13, "four and one; the depth padded to two turns"},
    {9, 14, 12, "four and two; a turn and a block of four"},
    {9, 15, 9, "four and four, the last of three"},
    {10, 16, 16, "full panels"},
    {17, 17, 17, "rests of one behind several tiles"},
    {19, 23, 33, "rests of three"},
    {64, 64, 64, "a square"},
    {65, 66, 67, "just past it"},
    {9, 9, 127, "below the least depth block"},
    {9, 9, 129, "above it"},
    {9, 17, 255, "the largest single depth block, padded"},
    {9, 17, 256, "and full"},
    {9, 17, 257, "halved, with a block of one"},
    {9, 17, 258, "halved, unevenly"},
    {9, 17, 511, "halved, rounded up"},
    {9, 17, 512, "two full blocks"},
    {9, 17, 513, "and a sliver"},
    {8, 9, 1025, "many depth blocks"},
    {384, 9, 9, "one small row block of d"},
    {385, 9, 257, "just past it, and past a depth block"},
    {641, 12, 5, "past the large row block of d"},
    {769, 9, 257, "past the small row block of s"},
    {1281, 8, 4, "past the large row block of s"},
    {5, 4999, 4, "one column block, rounded up"},
    {4, 5001, 5, "past the column block, rest 1"},
    {5, 5013, 130, "past the column block and a depth block"},
};

struct factors {
    double alpha, beta;
};
constexpr factors all_factors[] = {{1, 0}, {1, 1}, {-1, 0.5}, {0.5, -1}, {0, 0}, {0, 2}, {0, 1}};

} // namespace

// With beta zero C is full of NaN; with alpha zero A and B are.
TYPED_TEST(GemmDriver, ShapesLettersFactors)
{
    using T = TypeParam;
    for (const shape& s : shapes)
        for (const char* letters : letter_pairs)
            for (const auto& [alpha, beta] : all_factors) {
                const product<T> p(s, {letters, alpha, beta});
                p(entry<T>);
                EXPECT_TRUE(p.sound());
                if (alpha == 0) continue;
                p.refill();
                gemm_desc d = operations<T>().record();
                EXPECT_EQ(p(par<T>, 2, &d), 0);
                EXPECT_TRUE(p.sound()) << "through the driver";
                if (testing::Test::HasFailure()) return;
            }
}

TYPED_TEST(GemmDriver, LargeBlocksByCache)
{
    host.cache_valid = 0;
    for (const vrn_int m : {640, 641, 1280, 1281}) {
        const product<TypeParam> p({m, 9, 40, "around the large row blocks"}, {"NN", 1, 1});
        p(entry<TypeParam>);
        EXPECT_TRUE(p.sound());
    }
}

// Every size up to ten, where each depth has its own kernel.
TYPED_TEST(GemmDriver, Tiny)
{
    for (vrn_int k = 1; k <= 10; ++k)
        for (vrn_int m = 1; m <= 10; ++m)
            for (vrn_int n = 1; n <= 10; ++n)
                for (const char* letters : letter_pairs) {
                    const product<TypeParam> p({m, n, k, "unrolled"},
                                               {letters, m % 2 ? -0.5 : 1, 1, static_cast<int>(n % 3)});
                    p(entry<TypeParam>);
                    ASSERT_TRUE(p.sound());
                }
    EXPECT_EQ(host.asked, 0) << "no buffer for the tiny ones";
}

// No buffer where nothing is packed, and one where something is.
TYPED_TEST(GemmDriver, AsksForMemoryOnlyToPack)
{
    for (const shape& s : shapes) {
        host.refuse(host.never, host.never);
        product<TypeParam>(s, {"NT", 1, 1})(entry<TypeParam>);
        const bool tiny = s.m <= 10 && s.n <= 10 && s.k <= 10;
        EXPECT_EQ(host.asked, s.m >= 4 && s.n >= 8 && s.k >= 4 && !tiny)
            << s.m << ' ' << s.n << ' ' << s.k << ' ' << s.why;
    }
}

TYPED_TEST(GemmDriver, LettersInBothCases)
{
    using T = TypeParam;
    constexpr std::pair<const char*, const char*> twins[] = {
        {"nn", "NN"}, {"Nn", "NN"}, {"nT", "NT"}, {"Nt", "NT"}, {"NC", "NT"}, {"nc", "NT"}, {"tN", "TN"},
        {"cn", "TN"}, {"CN", "TN"}, {"tt", "TT"}, {"CC", "TT"}, {"cT", "TT"}, {"Tc", "TT"}};
    for (const shape& s : {shape{7, 6, 5, "unrolled"}, shape{20, 6, 5, "unpacked"}, shape{21, 15, 17, "packed"}})
        for (const auto& [letters, plain] : twins)
            for (const std::int32_t mode : {0, 2, 4}) {
                const product<T> p(s, {letters, 1, 1}), q(s, {plain, 1, 1});
                gemm_desc dp = operations<T>().record(), dq = dp;
                if (mode == 0) p(entry<T>), q(entry<T>);
                else p(par<T>, mode, &dp), q(par<T>, mode, &dq);
                EXPECT_TRUE(p.sound());
                EXPECT_TRUE(same_bits(p.c, q.c)) << p;
            }
}

// Addresses and leading dimensions choose instructions and never a result.
TYPED_TEST(GemmDriver, SameBitsAtAnyAddress)
{
    using T = TypeParam;
    for (const shape& s : {shape{9, 7, 10, "unrolled"}, shape{33, 7, 21, "unpacked"}, shape{35, 29, 21, "packed"}})
        for (const char* letters : letter_pairs)
            for (const std::int32_t mode : {0, 2, 4, 128, 256}) {
                const auto run = [&](const product<T>& p) {
                    gemm_desc d = operations<T>().record();
                    if (mode == 0) p(entry<T>);
                    else p(par<T>, mode, &d);
                };
                const product<T> first(s, {letters, 1, 1});
                run(first);
                EXPECT_TRUE(first.sound());
                for (int gap = 0; gap < 4; ++gap)
                    for (int shift = 0; shift < 4; ++shift) {
                        const product<T> p(s, {letters, 1, 1, gap, (shift + 1) % 4, (3 * shift) % 4, shift});
                        run(p);
                        ASSERT_TRUE(p.a.intact() && p.b.intact() && p.c.intact() && same_bits(p.c, first.c)) << p;
                    }
            }
}

// One NaN in A makes one row of C NaN, one infinity in B one column not finite, and nothing else: no element meets
// another's numbers or the padding's zeros.
TYPED_TEST(GemmDriver, NanAndInfinityStayInTheirPlace)
{
    using T = TypeParam;
    for (const shape& s : {shape{9, 7, 9, "unrolled"}, shape{11, 7, 9, "unpacked"}, shape{11, 15, 13, "packed"}})
        for (const char* letters : letter_pairs)
            for (vrn_int at = 0; at < 16; ++at) {
                const vrn_int i = at % s.m, j = at % s.n, kk = at % s.k;
                const product<T> p(s, {letters, 1, 1});
                (p.a_normal ? p.a(i, kk) : p.a(kk, i)) = std::numeric_limits<T>::quiet_NaN();
                (p.b_normal ? p.b(kk, j) : p.b(j, kk)) = std::numeric_limits<T>::infinity();
                p(entry<T>);
                ASSERT_TRUE(p.c.all([&](vrn_int r, vrn_int c, T x) {
                    return r == i ? std::isnan(x) : std::isfinite(x) == (c != j);
                })) << p << ", NaN at " << i << ", " << kk << ", infinity at " << kk << ", " << j;
            }
}

// A times the identity is A, down to subnormal numbers and up to the largest.
TYPED_TEST(GemmDriver, IdentityKeepsEveryNumber)
{
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    const T numbers[] = {
        limits::denorm_min(), -7 * limits::denorm_min(), limits::min(), limits::max(), -limits::max(), T(1) / 3};
    for (const vrn_int n : {9, 21})
        for (const char* letters : letter_pairs) {
            const product<T> p({13, n, n, "identity"}, {letters, 1, 0});
            p.a.fill([&](vrn_int i, vrn_int j) { return numbers[(p.a_normal ? i + 5 * j : j + 5 * i) % 6]; });
            p.b.fill([](vrn_int i, vrn_int j) { return T(i == j); });
            p(entry<T>);
            EXPECT_TRUE(p.c.all([&](vrn_int i, vrn_int j, T x) { return x == numbers[(i + 5 * j) % 6]; })) << p;
        }
}
