// tests/dft/codelets_test.cpp - direct codelets, direct table kernels and real direct kernels by their tables.

#include "dft/codelets/codelets.hpp"
#include "dft/codelets/roots.hpp"
#include "tests/dft/primitive_support.hpp"

namespace {

using namespace vrn::test;
namespace dft = vrn::dft;

template <class R>
class Codelets : public ::testing::Test {
};
TYPED_TEST_SUITE(Codelets, reals);

template <class R>
void check(dft::plain_codelet<R>* codelet, std::size_t n, int sign)
{
    const auto x = noise<R>(2 * n);
    auto in = x;
    std::vector<R> out(2 * n);
    codelet(in.data(), out.data());
    EXPECT_EQ(in, x);
    const auto want = vrn::oracle::dft(widened(x, n), sign);
    EXPECT_LE(vrn::oracle::distance(widened(out, n), want), bound<R>(static_cast<std::int64_t>(n)))
        << n << ' ' << sign;
    codelet(in.data(), in.data());
    EXPECT_EQ(in, out) << "in place " << n;
}

TYPED_TEST(Codelets, TablesAgainstTheDefinition)
{
    using R = TypeParam;
    for (std::size_t n = 1; n <= dft::longest_codelet; ++n) {
        check<R>(dft::codelets<R>().forward[n], n, -1);
        check<R>(dft::codelets<R>().backward[n], n, 1);
    }
    std::vector<std::int64_t> lengths;
    const auto rows = [&](const dft::direct_row<R>* row) {
        for (; row->length != 0; ++row) {
            lengths.push_back(row->length);
            check<R>(row->forward, static_cast<std::size_t>(row->length), -1);
            check<R>(row->backward, static_cast<std::size_t>(row->length), 1);
        }
    };
    rows(dft::direct_tables_of<R>().first);
    rows(dft::direct_tables_of<R>().second);
    EXPECT_EQ(lengths, (std::vector<std::int64_t>{8, 16, 32, 64, 128, 2, 4, 8, 16, 32, 64}));
}

// Plans of these lengths are these kernels and are tested as such; here what plans do not ask for: the fourth format,
// which is the first one by another name, and any scale. A power of 2 scales exactly.
TYPED_TEST(Codelets, RealKernelsByFormatAndScale)
{
    using R = TypeParam;
    const auto& table = dft::real_codelets<R>();
    std::vector<int> lengths;
    for (int n = 0; n <= dft::longest_codelet; ++n) {
        ASSERT_EQ(table.forward[n] == nullptr, table.backward[n] == nullptr);
        if (table.forward[n] == nullptr) continue;
        lengths.push_back(n);
        const auto x = noise<R>(static_cast<std::size_t>(n) + 3);
        std::vector<R> ccs;
        for (int format : {54, 55, 56, 57}) {
            auto y = x, half = x, back = x, back_half = x;
            table.forward[n](x.data(), y.data(), format, 1);
            table.forward[n](x.data(), half.data(), format, R(0.5));
            table.backward[n](y.data(), back.data(), format, 1);
            table.backward[n](y.data(), back_half.data(), format, R(0.5));
            const int packed = format == 55 || format == 56 ? n : n + 2 - n % 2;
            for (int i = 0; i < n + 3; ++i) {
                const auto at = static_cast<std::size_t>(i);
                EXPECT_EQ(half[at], i < packed ? y[at] / 2 : x[at]) << n << ' ' << format << ' ' << i;
                EXPECT_EQ(back_half[at], i < n ? back[at] / 2 : x[at]) << n << ' ' << format << ' ' << i;
            }
            if (format == 54) ccs = y;
            if (format == 57) {
                EXPECT_EQ(y, ccs) << n;
            }
        }
    }
    EXPECT_EQ(lengths, (std::vector<int>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 25, 32, 64}));
    // Two values: the sum and the difference, with zeros between in the formats that have room for them.
    const R two[] = {3, 5};
    R y[4] = {9, 9, 9, 9};
    table.forward[2](two, y, 54, 1);
    EXPECT_EQ((std::vector<R>(y, y + 4)), (std::vector<R>{8, 0, -2, 0}));
    table.forward[2](two, y, 55, 1);
    EXPECT_EQ((std::vector<R>(y, y + 2)), (std::vector<R>{8, -2}));
}

// Constants are the nearest doubles: they agree with long double to half a unit wherever that can tell.
TEST(Roots, AreTheNearest)
{
    const long double turn = 8 * std::atan(1.0L);
    for (std::int64_t n : {3, 7, 24, 61, 64, 128})
        for (std::int64_t k = 0; k < n; ++k) {
            const dft::root constant = dft::constant_root(k, n), table = dft::table_root(k, n);
            const long double t = turn * static_cast<long double>(k) / static_cast<long double>(n);
            for (auto [got, near, want] : {std::tuple{constant.cos, table.cos, std::cos(t)},
                                           std::tuple{constant.sin, table.sin, std::sin(t)}}) {
                EXPECT_LE(std::fabs(got - want),
                          std::ldexp(0.501L, std::ilogb(std::fabs(want) + 1e-18L) - 52) + 1e-18L)
                    << k << '/' << n;
                EXPECT_LE(std::fabs(near - want),
                          std::ldexp(1.0L, std::ilogb(std::fabs(want) + 1e-18L) - 52) + 1e-18L);
            }
        }
}

} // namespace
