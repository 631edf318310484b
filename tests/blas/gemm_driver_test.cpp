// tests/blas/gemm_driver_test.cpp - products through the entry of one thread and the block driver: shapes around
// every threshold, letters, factors, addresses and values that are no ordinary numbers.

#include "tests/blas/gemm_support.hpp"

using namespace vrn::test;

namespace {

template <class T>
struct GemmDriver : Gemm<> {};
TYPED_TEST_SUITE(GemmDriver, AllTypes);

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
    {2, 4, 4, "the least that is packed of complex numbers"},
    {3, 5, 5, "tiny of complex numbers too"},
    {161, 2003, 5, "past the small row block and the column block of z"},
    {321, 6, 9, "past the small row block of c"},
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
        for (const char* letters : letter_pairs<T>())
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
    for (const vrn_int m : {256, 257, 513, 640, 641, 1280, 1281}) {
        const product<TypeParam> p({m, 9, 40, "around the large row blocks"}, {"NN", 1, 1});
        p(entry<TypeParam>);
        EXPECT_TRUE(p.sound());
    }
}

// Every size up to ten, where each depth has its own kernel.
TYPED_TEST(GemmDriver, Tiny)
{
    using T = TypeParam;
    long packed = 0;
    for (vrn_int k = 1; k <= 10; ++k)
        for (vrn_int m = 1; m <= 10; ++m)
            for (vrn_int n = 1; n <= 10; ++n)
                for (const char* letters : letter_pairs<T>()) {
                    const product<T> p({m, n, k, "unrolled"},
                                       {letters, m % 2 ? -0.5 : 1, 1, static_cast<int>(n % 3)});
                    p(entry<T>);
                    ASSERT_TRUE(p.sound());
                    packed += packs<T>(p.size);
                }
    // Two rows of complex numbers are too few for the unrolled kernels, and enough to pack.
    EXPECT_EQ(host.asked, packed) << "no buffer for the tiny ones";
    EXPECT_EQ(packed > 0, is_complex<T>);
}

// No buffer where nothing is packed, and one where something is.
TYPED_TEST(GemmDriver, AsksForMemoryOnlyToPack)
{
    for (const shape& s : shapes) {
        host.refuse(host.never, host.never);
        product<TypeParam>(s, {"NT", 1, 1})(entry<TypeParam>);
        EXPECT_EQ(host.asked, packs<TypeParam>(s)) << s.m << ' ' << s.n << ' ' << s.k << ' ' << s.why;
    }
}

TYPED_TEST(GemmDriver, LettersInBothCases)
{
    using T = TypeParam;
    // Of a complex type whatever is neither N nor T conjugates.
    using pairs = std::vector<std::pair<const char*, const char*>>;
    const pairs complex = {{"nn", "NN"}, {"nT", "NT"}, {"tN", "TN"}, {"nc", "NC"}, {"cn", "CN"}, {"tc", "TC"},
                           {"Ct", "CT"}, {"cc", "CC"}, {"HN", "CN"}, {"n*", "NC"}};
    const pairs plain = {
        {"nn", "NN"}, {"Nn", "NN"}, {"nT", "NT"}, {"Nt", "NT"}, {"NC", "NT"}, {"nc", "NT"}, {"tN", "TN"},
        {"cn", "TN"}, {"CN", "TN"}, {"tt", "TT"}, {"CC", "TT"}, {"cT", "TT"}, {"Tc", "TT"}};
    for (const shape& s : {shape{7, 6, 5, "unrolled"}, shape{20, 6, 5, "unpacked"}, shape{21, 15, 17, "packed"}})
        for (const auto& [letters, twin] : is_complex<T> ? complex : plain)
            for (const std::int32_t mode : {0, 2, 4}) {
                const product<T> p(s, {letters, 1, 1}), q(s, {twin, 1, 1});
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
        for (const char* letters : letter_pairs<T>())
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
        for (const char* letters : letter_pairs<T>())
            for (vrn_int at = 0; at < 16; ++at) {
                const vrn_int i = at % s.m, j = at % s.n, kk = at % s.k;
                const product<T> p(s, {letters, 1, 1});
                p.a_at(i, kk) = std::numeric_limits<real<T>>::quiet_NaN();
                p.b_at(kk, j) = std::numeric_limits<real<T>>::infinity();
                p(entry<T>);
                ASSERT_TRUE(p.c.all([&](vrn_int r, vrn_int c, T x) {
                    return r == i ? has_nan(x) : is_finite(x) == (c != j);
                })) << p << ", NaN at " << i << ", " << kk << ", infinity at " << kk << ", " << j;
            }
}

// A times the identity is A, down to subnormal numbers and up to the largest.
TYPED_TEST(GemmDriver, IdentityKeepsEveryNumber)
{
    using T = TypeParam;
    using R = real<T>;
    using limits = std::numeric_limits<R>;
    const R reals[] = {
        limits::denorm_min(), -7 * limits::denorm_min(), limits::min(), limits::max(), -limits::max(), R(1) / 3};
    const auto number = [&](vrn_int i, vrn_int j) -> T {
        const vrn_int at = i + 5 * j;
        if constexpr (is_complex<T>) return {reals[at % 6], reals[(at + j) % 6]};
        else return reals[at % 6];
    };
    for (const vrn_int n : {9, 21})
        for (const char* letters : letter_pairs<T>()) {
            const product<T> p({13, n, n, "identity"}, {letters, 1, 0});
            p.a.fill(number);
            p.b.fill([](vrn_int i, vrn_int j) { return T(i == j); });
            p(entry<T>);
            EXPECT_TRUE(p.c.all([&](vrn_int i, vrn_int j, T x) { return x == p.op_a(i, j); })) << p;
        }
}
