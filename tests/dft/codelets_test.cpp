// tests/dft/codelets_test.cpp - direct codelets, direct table kernels and real direct kernels by their tables.

#include "dft/codelets/codelets.hpp"
#include "dft/codelets/roots.hpp"
#include "tests/dft/primitive_support.hpp"

#include <bit>

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

// The layouts are those of the plans, which have their own test; the scale multiplies.
TYPED_TEST(Codelets, RealKernelsAsThePlans)
{
    using R = TypeParam;
    using K = kpr<R>;
    for (int n = 2; n <= 64; n *= 2)
        for (int format : {54, 55, 56, 57}) {
            const int f = format == 57 ? 0 : format - 54;
            primitive_plan* plan = nullptr;
            ASSERT_EQ(K::init_real(&plan, n, dft::scale_none, 0), 0);
            const auto slot = static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(n)));
            const auto x = noise<R>(static_cast<std::size_t>(n) + 3);
            auto want = x, got = x, back_want = x, back = x;
            K::packed[f][0](x.data(), want.data(), plan, nullptr);
            dft::real_codelets<R>().forward[slot](x.data(), got.data(), format, 1);
            for (std::size_t i = 0; i < x.size(); ++i)
                EXPECT_NEAR(got[i], want[i], 8 * n * bound<R>(n)) << n << ' ' << i;
            K::packed[f][1](want.data(), back_want.data(), plan, nullptr);
            dft::real_codelets<R>().backward[slot](want.data(), back.data(), format, R(0.5));
            for (int i = 0; i < n; ++i)
                EXPECT_NEAR(2 * back[static_cast<std::size_t>(i)], back_want[static_cast<std::size_t>(i)],
                            8 * n * bound<R>(n));
            EXPECT_EQ(back[static_cast<std::size_t>(n)], x[static_cast<std::size_t>(n)]) << "past the end";
            K::free_real(plan);
        }
    // Two values: the sum and the difference, with zeros between in the formats that have room for them.
    const R two[] = {3, 5};
    R y[4] = {9, 9, 9, 9};
    dft::real_codelets<R>().forward[1](two, y, 54, 1);
    EXPECT_EQ((std::vector<R>(y, y + 4)), (std::vector<R>{8, 0, -2, 0}));
    dft::real_codelets<R>().forward[1](two, y, 55, 1);
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
