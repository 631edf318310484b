// tests/dft/primitive_real_test.cpp - real plans in the three packed layouts.

#include "tests/dft/primitive_support.hpp"

namespace {

using namespace vrn::test;
namespace dft = vrn::dft;

template <class R>
class PrimitiveReal : public ::testing::Test {
};
TYPED_TEST_SUITE(PrimitiveReal, reals);

enum form { ccs, pack, perm };

// The half spectrum as each layout has it, from the definition.
template <class R>
std::vector<R> packed(const std::vector<vrn::oracle::wide>& spectrum, int f)
{
    const std::size_t n = spectrum.size(), h = n / 2;
    std::vector<R> y;
    y.push_back(static_cast<R>(spectrum[0].real()));
    if (f == ccs) y.push_back(0);
    if (f == perm && n % 2 == 0) y.push_back(static_cast<R>(spectrum[h].real()));
    for (std::size_t k = 1; 2 * k < n; ++k) {
        y.push_back(static_cast<R>(spectrum[k].real()));
        y.push_back(static_cast<R>(spectrum[k].imag()));
    }
    if (n % 2 == 0 && f != perm) y.push_back(static_cast<R>(spectrum[h].real()));
    if (n % 2 == 0 && f == ccs) y.push_back(0);
    return y;
}

template <class R>
long double difference(const std::vector<R>& a, const std::vector<R>& b, std::size_t count)
{
    long double error = 0, size = 0;
    for (std::size_t i = 0; i < count; ++i) {
        error += (static_cast<long double>(a[i]) - b[i]) * (static_cast<long double>(a[i]) - b[i]);
        size += static_cast<long double>(b[i]) * b[i];
    }
    return std::sqrt(error / size);
}

template <class R>
void check_real(int n)
{
    using K = kpr<R>;
    primitive_plan* plan = nullptr;
    ASSERT_EQ(K::init_real(&plan, n, dft::scale_inverse_only, 0), 0) << n;
    const auto count = static_cast<std::size_t>(n);
    const auto x = noise<R>(count, static_cast<unsigned>(n));
    std::vector<vrn::oracle::wide> z(count);
    for (std::size_t i = 0; i < count; ++i) z[i] = x[i];
    const auto spectrum = vrn::oracle::dft(z, -1);
    for (int f : {ccs, pack, perm}) {
        const auto want = packed<R>(spectrum, f);
        std::vector<R> y(want.size() + 1, R(7)), in = x;
        ASSERT_EQ(K::packed[f][0](in.data(), y.data(), plan, nullptr), 0);
        EXPECT_EQ(in, x);
        EXPECT_LE(difference(y, want, want.size()), bound<R>(n)) << line_of(plan) << " layout " << f;
        EXPECT_EQ(y.back(), R(7)) << "wrote past the end, " << line_of(plan);
        // In place the same bits, and back.
        std::vector<R> same(y.size(), R(7));
        std::copy(x.begin(), x.end(), same.begin());
        ASSERT_EQ(K::packed[f][0](same.data(), same.data(), plan, nullptr), 0);
        EXPECT_EQ(same, y) << line_of(plan) << " layout " << f;
        std::vector<R> back(count + 1, R(7));
        ASSERT_EQ(K::packed[f][1](y.data(), back.data(), plan, nullptr), 0);
        EXPECT_EQ(same, y) << "spectrum written";
        EXPECT_LE(difference(back, x, count), 2 * bound<R>(n)) << line_of(plan) << " layout " << f;
        EXPECT_EQ(back.back(), R(7));
        ASSERT_EQ(K::packed[f][1](same.data(), same.data(), plan, nullptr), 0);
        same.resize(count), back.resize(count);
        EXPECT_EQ(same, back) << line_of(plan) << " layout " << f;
    }
    EXPECT_EQ(K::free_real(plan), 0);
}

TYPED_TEST(PrimitiveReal, LayoutsAgainstTheDefinition)
{
    for (int n = 1; n <= 300; ++n) check_real<TypeParam>(n);
    for (int n : {604, 1000, 1009, 1024, 2018, 3645, 4096, 10000, 13122, 65536, 65537, 262144})
        check_real<TypeParam>(n);
    EXPECT_EQ(heap.live, 0);
}

TEST(PrimitiveRealPlan, WaysByLength)
{
    struct row {
        int n;
        const char* line;
    };
    const row rows[] = {{2, "2 = codelet"},
                        {18, "18 = halves of 9 = codelet"},
                        {25, "25 = codelet"},
                        {17, "17 = prime"},
                        {15, "15 = codelet"},
                        {194, "194 = halves of 97 = chirp 200 = 5 5 leaf 8"},
                        {2048, "2048 = halves of 1024 = 4 4 8 leaf 8"}};
    for (const row& r : rows) {
        primitive_plan* plan = nullptr;
        ASSERT_EQ(dft::kprDftInit_Real_d(&plan, r.n, dft::scale_none, 0), 0);
        EXPECT_EQ(line_of(plan), std::string("real ") + r.line);
        std::int32_t size = 0;
        dft::kprDftGetWorkSize_Real_d(plan, &size);
        if (r.n == 17) {
            EXPECT_EQ(size, 8 * 17 + 64);
        }
        dft::kprDftFree_Real_d(plan);
    }
}

} // namespace
