// tests/dft/primitive_test.cpp - complex, split and scrambled plans: values, ways, statuses, memory.

#include "tests/dft/primitive_support.hpp"

#include <numeric>

namespace {

using namespace vrn::test;
namespace dft = vrn::dft;
using vrn::oracle::wide;

constexpr int guard = 8; // reals around every array

template <class R>
class Primitive : public ::testing::Test {
};
TYPED_TEST_SUITE(Primitive, reals);

// A vector with guards of NaN, which must be there afterwards.
template <class R>
struct guarded {
    std::vector<R> all;
    explicit guarded(std::size_t count, std::size_t shift = 0) : all(count + 2 * guard + shift, R(NAN)), shift(shift)
    {
    }
    R* data() { return all.data() + guard + shift; }
    std::size_t size() const { return all.size() - 2 * guard - shift; }
    std::vector<R> inner() const { return {all.begin() + guard + static_cast<long>(shift), all.end() - guard}; }
    bool whole() const
    {
        bool good = true;
        for (std::size_t i = 0; i < guard; ++i) good &= std::isnan(all[i]) && std::isnan(all[all.size() - 1 - i]);
        return good;
    }
    std::size_t shift;
};

// Both directions, out of place at odd addresses and in place, with given and own work, against the definition.
template <class R>
void check_complex(int n)
{
    using K = kpr<R>;
    primitive_plan* plan = nullptr;
    ASSERT_EQ(K::init_complex(&plan, n, dft::scale_none, 0), 0) << n;
    const auto x = noise<R>(2 * static_cast<std::size_t>(n), static_cast<unsigned>(n));
    std::int32_t size = -1;
    ASSERT_EQ(K::work_complex(plan, &size), 0);
    for (int d = 0; d < 2; ++d) {
        const auto want = vrn::oracle::dft(widened(x, static_cast<std::size_t>(n)), d == 0 ? -1 : 1);
        guarded<R> out(x.size(), 1), in(x.size(), 1);
        std::copy(x.begin(), x.end(), in.data());
        // The work area may hold anything and lie anywhere; nothing is written behind it.
        std::vector<std::byte> work(static_cast<std::size_t>(size) + 64, std::byte{0xff});
        ASSERT_EQ(K::complex[d](in.data(), out.data(), plan, size == 0 ? nullptr : work.data() + 8), 0);
        EXPECT_LE(vrn::oracle::distance(widened(out.inner(), want.size()), want), bound<R>(n))
            << line_of(plan) << (d == 0 ? " forward" : " inverse");
        EXPECT_EQ(in.inner(), x) << "input written, " << line_of(plan);
        EXPECT_TRUE(in.whole() && out.whole()) << line_of(plan);
        ASSERT_EQ(K::complex[d](in.data(), in.data(), plan, nullptr), 0);
        EXPECT_EQ(in.inner(), out.inner()) << "in place differs, " << line_of(plan);
        EXPECT_TRUE(in.whole());
    }
    EXPECT_EQ(K::free_complex(plan), 0);
}

TYPED_TEST(Primitive, LengthsAgainstTheDefinition)
{
    for (int n = 1; n <= 300; ++n) check_complex<TypeParam>(n);
    for (int n :
         {302, 499, 500, 501, 509, 720, 997, 1000, 1009, 1024, 1260, 1331, 1536, 2048, 2197, 4096, 4999, 5000})
        check_complex<TypeParam>(n);
    for (int n :
         {6561, 8191, 8192, 10000, 16384, 17 * 17 * 17, 32768, 65536, 65537, 89 * 89 * 3, 100000, 131072, 262144})
        check_complex<TypeParam>(n);
    EXPECT_EQ(heap.live, 0);
}

// Two levels of each split, up to an inner plan that is two-level itself in neither; one slow pass.
TYPED_TEST(Primitive, LongPowersOfTwo)
{
    for (int order : {19, 20, 22}) check_complex<TypeParam>(1 << order);
    EXPECT_EQ(heap.live, 0);
}

// An impulse at j gives the roots exp(-2 pi i j k / n), a shift multiplies by them, and sums go to sums.
TYPED_TEST(Primitive, ImpulseShiftAndSum)
{
    using R = TypeParam;
    using K = kpr<R>;
    for (std::size_t n : {7u, 64u, 97u, 360u, 1000u, 1024u, 6561u, 131072u}) {
        primitive_plan* plan = nullptr;
        ASSERT_EQ(K::init_complex(&plan, static_cast<int>(n), dft::scale_none, 0), 0);
        const auto run = [&](const std::vector<R>& x) {
            std::vector<R> y(2 * n);
            K::complex[0](x.data(), y.data(), plan, nullptr);
            return y;
        };
        const std::size_t j = n / 3;
        std::vector<R> impulse(2 * n), shifted(2 * n), sum(2 * n);
        impulse[2 * j] = 1;
        const auto x = noise<R>(2 * n), y = run(x), z = run(impulse);
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t part = 0; part < 2; ++part) {
                shifted[2 * ((i + j) % n) + part] = x[2 * i + part];
                sum[2 * i + part] = x[2 * i + part] - impulse[2 * i + part];
            }
        std::vector<wide> roots(n), turned(n), difference(n);
        const long double turn = 8 * std::atan(1.0L);
        for (std::size_t k = 0; k < n; ++k) {
            const long double t = -turn * static_cast<long double>(j * k % n) / static_cast<long double>(n);
            roots[k] = {std::cos(t), std::sin(t)};
            turned[k] = roots[k] * wide(y[2 * k], y[2 * k + 1]);
            difference[k] = wide(y[2 * k], y[2 * k + 1]) - roots[k];
        }
        const auto b = bound<R>(static_cast<std::int64_t>(n));
        EXPECT_LE(vrn::oracle::distance(widened(z, n), roots), b) << n;
        EXPECT_LE(vrn::oracle::distance(widened(run(shifted), n), turned), 2 * b) << n;
        EXPECT_LE(vrn::oracle::distance(widened(run(sum), n), difference), 2 * b) << n;
        K::free_complex(plan);
    }
}

TEST(PrimitivePlan, WaysByLength)
{
    struct row {
        int n;
        const char* line;
        int work;
    };
    // Work in double: n values and 128 bytes, twice the longest odd radix above 13 more values; 16 n and 64 for
    // primes.
    const row rows[] = {
        {1, "1 = codelet", 0},
        {16, "16 = codelet", 0},
        {17, "17 = prime (codelet)", 336},
        {18, "18 = 3 leaf 6 (codelet)", 18 * 16 + 128},
        {24, "24 = 4 leaf 6 (codelet)", 24 * 16 + 128},
        {32, "32 = codelet (codelet)", 0},
        {64, "64 = 8 leaf 8 (codelet)", 1024 + 64},
        {68, "68 = 17 leaf 4", (68 + 34) * 16 + 128},
        {80, "80 = 5 leaf 16", 80 * 16 + 128},
        {89, "89 = prime", 89 * 16 + 64},
        {91, "91 = 7 leaf 13", 91 * 16 + 128},
        {97, "97 = chirp 200 = 5 5 leaf 8", (200 * 16 + 128) + 200 * 16 + 64},
        {128, "128 = 4 4 leaf 8", 128 * 16 + 64},
        {178, "178 = 89 leaf 2", (178 + 178) * 16 + 128},
        {291, "291 = chirp 640 = 5 4 4 leaf 8", 0},
        {298, "298 = 149 leaf 2", (298 + 298) * 16 + 128},
        {302, "302 = chirp 640 = 5 4 4 leaf 8", 0},
        {360, "360 = 5 4 3 leaf 6", 360 * 16 + 128},
        {1000, "1000 = 5 5 5 leaf 8", 16128},
        {1024, "1024 = 4 4 8 leaf 8", 16384 + 64},
        {2048, "2048 = 4 8 8 leaf 8", 32768 + 64},
        {96, "96 = 4 4 leaf 6", 96 * 16 + 128},
        {100000, "100000 = 5 4 5 5 5 5 leaf 8", 1600128},
        {1 << 17, "131072 = 2^6 columns, rows 2^11 = 4 8 8 leaf 8", 0},
        {1 << 20, "1048576 = 2^8 columns, rows 2^12 = 8 8 8 leaf 8", 0},
    };
    for (const row& r : rows) {
        primitive_plan* plan = nullptr;
        ASSERT_EQ(dft::kprDftInit_Complex_d(&plan, r.n, dft::scale_none, 0), 0);
        EXPECT_EQ(line_of(plan), std::string("complex ") + r.line);
        std::int32_t size = 0;
        dft::kprDftGetWorkSize_Complex_d(plan, &size);
        if (r.work != 0 || r.n <= 16) {
            EXPECT_EQ(size, r.work) << r.n;
        }
        dft::kprDftFree_Complex_d(plan);
    }
}

TYPED_TEST(Primitive, StatusesAndScales)
{
    using R = TypeParam;
    using K = kpr<R>;
    primitive_plan* plan = nullptr;
    R x[8] = {1, 2, 3, 4, 5, 6, 7, 8}, y[8];
    EXPECT_EQ(K::init_complex(nullptr, 4, dft::scale_none, 0), dft::kpr_null);
    EXPECT_EQ(K::init_split(nullptr, 4, dft::scale_none, 0), dft::kpr_null);
    for (auto* init : {K::init_complex, K::init_split, K::init_real, K::init_scrambled}) {
        EXPECT_EQ(init(&plan, 0, dft::scale_none, 0), dft::kpr_bad_length);
        for (int flag : {0, 3, 5, 16}) EXPECT_EQ(init(&plan, 4, flag, 0), dft::kpr_bad_flag);
    }
    EXPECT_EQ(K::init_complex(&plan, 67108864 + 4, dft::scale_none, 0), dft::kpr_bad_length);
    EXPECT_EQ(K::init_complex(&plan, 33554467, dft::scale_none, 0), dft::kpr_bad_length); // a prime
    EXPECT_EQ(plan, nullptr);
    const double inverse_root = 0.5, inverse = 0.25;
    for (auto [flag, forward, backward] :
         {std::tuple{8, 1.0, 1.0}, {1, inverse, 1.0}, {2, 1.0, inverse}, {4, inverse_root, inverse_root}}) {
        ASSERT_EQ(K::init_complex(&plan, 4, flag, 77), 0);
        ASSERT_EQ(K::complex[0](x, y, plan, nullptr), 0);
        EXPECT_EQ(y[0], R(16 * forward));
        ASSERT_EQ(K::complex[1](x, y, plan, nullptr), 0);
        EXPECT_EQ(y[0], R(16 * backward));
        EXPECT_EQ(K::complex[0](nullptr, y, plan, nullptr), dft::kpr_null);
        EXPECT_EQ(K::scrambled[0](x, y, plan, nullptr), dft::kpr_bad_stamp);
        EXPECT_EQ(K::free_real(plan), dft::kpr_bad_stamp);
        EXPECT_EQ(K::free_complex(plan), 0);
        EXPECT_EQ(K::free_complex(plan), dft::kpr_bad_stamp);
    }
    EXPECT_EQ(K::free_complex(nullptr), dft::kpr_null);
    EXPECT_EQ(K::complex[0](x, y, nullptr, nullptr), dft::kpr_null);
}

// Every allocation of creation and compute fails once: nothing stays allocated and the output is as it was.
// How many parts go together is the processor's matter; the bits are not.
TYPED_TEST(Primitive, BatchingKeepsTheBits)
{
    using R = TypeParam;
    using K = kpr<R>;
    for (const std::int32_t n : {5120, 6615, 10000}) {
        const auto x = noise<R>(2 * static_cast<std::size_t>(n));
        std::vector<R> y[2];
        for (const std::int32_t ways : {0, 1}) {
            few_ways = ways;
            primitive_plan* plan = nullptr;
            ASSERT_EQ(K::init_complex(&plan, n, dft::scale_none, 0), 0);
            EXPECT_EQ(reinterpret_cast<primitive_plan*>((reinterpret_cast<std::uintptr_t>(plan) + 63) / 64 * 64)
                          ->stages[0]
                          .batching,
                      ways == 0       ? 6
                      : n % 1024 == 0 ? 1
                      : n == 6615     ? 3
                                      : 5);
            y[ways] = x;
            EXPECT_EQ(K::complex[0](x.data(), y[ways].data(), plan, nullptr), 0);
            K::free_complex(plan);
        }
        few_ways = 0;
        EXPECT_EQ(y[0], y[1]) << n;
    }
}

TYPED_TEST(Primitive, OutOfMemory)
{
    using R = TypeParam;
    using K = kpr<R>;
    const std::tuple<decltype(K::init_complex), decltype(K::free_complex), decltype(K::complex[0])> kinds[] = {
        {K::init_complex, K::free_complex, K::complex[0]},
        {K::init_scrambled, K::free_scrambled, K::scrambled[0]},
        {K::init_real, K::free_real, K::packed[0][0]}};
    for (int n : {12, 17, 45, 97, 128, 289, 298, 1000, 1009, 6561, 17 * 17 * 17, 131072})
        for (const auto& [init, release, compute] : kinds) {
            const std::vector<R> x(2 * static_cast<std::size_t>(n) + 2, R(1));
            for (long good = 0;; ++good) {
                heap = {0, good, 0};
                primitive_plan* plan = nullptr;
                auto y = x;
                auto status = init(&plan, n, dft::scale_none, 0);
                const bool made = status == 0;
                if (made) status = compute(x.data(), y.data(), plan, nullptr);
                const bool refused = heap.asked > good;
                EXPECT_EQ(status, refused ? dft::kpr_no_memory : 0) << n << ' ' << good;
                if (refused) {
                    EXPECT_EQ(y, x);
                }
                if (made) release(plan);
                EXPECT_EQ(heap.live, 0) << n << ' ' << good;
                if (!refused) break;
            }
        }
    heap = {};
}

TYPED_TEST(Primitive, SplitIsTheSameTransform)
{
    using R = TypeParam;
    using K = kpr<R>;
    for (int n : {1, 5, 16, 17, 60, 97, 256, 1000, 131072}) {
        primitive_plan *split = nullptr, *complex = nullptr;
        ASSERT_EQ(K::init_split(&split, n, dft::scale_inverse_only, 0), 0);
        ASSERT_EQ(K::init_complex(&complex, n, dft::scale_inverse_only, 0), 0);
        const auto count = static_cast<std::size_t>(n);
        const auto x = noise<R>(2 * count);
        for (int d = 0; d < 2; ++d) {
            std::vector<R> want(2 * count), re(count), im(count), out_re(count), out_im(count);
            for (std::size_t i = 0; i < count; ++i) re[i] = x[2 * i], im[i] = x[2 * i + 1];
            K::complex[d](x.data(), want.data(), complex, nullptr);
            ASSERT_EQ(K::split[d](re.data(), im.data(), out_re.data(), out_im.data(), split, nullptr), 0);
            ASSERT_EQ(K::split[d](re.data(), im.data(), re.data(), im.data(), split, nullptr), 0);
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(out_re[i], want[2 * i]) << n;
                ASSERT_EQ(out_im[i], want[2 * i + 1]) << n;
            }
            EXPECT_EQ(re, out_re);
            EXPECT_EQ(im, out_im);
        }
        K::free_split(split);
        K::free_complex(complex);
    }
}

// The output is a permutation of the spectrum, the same for every input, and the inverse undoes it.
TYPED_TEST(Primitive, ScrambledIsUndoneByItsInverse)
{
    using R = TypeParam;
    using K = kpr<R>;
    for (int n : {4999, 5000, 6561, 17 * 17 * 18, 77 * 78, 65536}) {
        primitive_plan* plan = nullptr;
        ASSERT_EQ(K::init_scrambled(&plan, n, dft::scale_inverse_only, 0), 0);
        std::int32_t size = -1;
        K::work_scrambled(plan, &size);
        if (n == 5000) {
            EXPECT_EQ(size, 0);
        }
        if (n == 17 * 17 * 18) {
            EXPECT_EQ(size, 34 * 2 * static_cast<int>(sizeof(R)) + 128);
        }
        const auto count = static_cast<std::size_t>(n);
        const auto x = noise<R>(2 * count);
        std::vector<R> y(2 * count), back(2 * count);
        ASSERT_EQ(K::scrambled[0](x.data(), y.data(), plan, nullptr), 0);
        ASSERT_EQ(K::scrambled[1](y.data(), back.data(), plan, nullptr), 0);
        EXPECT_LE(vrn::oracle::distance(widened(back, count), widened(x, count)), 2 * bound<R>(n)) << line_of(plan);
        // Where each value went: the spectrum of an impulse at 1 is exp(-2 pi i k / n), which names k.
        std::vector<R> impulse(2 * count), named(2 * count);
        impulse[2] = 1;
        K::scrambled[0](impulse.data(), named.data(), plan, nullptr);
        const auto want = vrn::oracle::dft(widened(x, count), -1);
        std::vector<wide> ordered(count);
        std::vector<char> seen(count);
        for (std::size_t i = 0; i < count; ++i) {
            const long double turns =
                -std::atan2(static_cast<long double>(named[2 * i + 1]), named[2 * i]) / (8 * std::atan(1.0L));
            const auto k = static_cast<std::size_t>(std::llround(turns * n) + n) % count;
            seen[k] = 1;
            ordered[k] = {y[2 * i], y[2 * i + 1]};
        }
        EXPECT_EQ(std::accumulate(seen.begin(), seen.end(), 0), n);
        EXPECT_LE(vrn::oracle::distance(ordered, want), bound<R>(n)) << line_of(plan);
        K::free_scrambled(plan);
    }
}

} // namespace
