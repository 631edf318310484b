// tests/spblas/sky_test.cpp - skyline kernels, in both integer widths, against the triangle that the runs stand for.
#include "tests/spblas/blocks_support.hpp"

namespace {

using namespace vrn::test;
using vrn::oracle::entry;
namespace oracle = vrn::oracle;

template <class T>
struct Sky : testing::Test {
};
TYPED_TEST_SUITE(Sky, Numbers);

constexpr std::int64_t m = 23;

// Runs of 1 to 9 elements; what does not count on the diagonal is NaN.
template <class T>
struct skyline {
    std::vector<T> val;
    std::vector<std::int64_t> pntr{4};
    std::vector<entry<T>> entries;

    skyline(bool lower, bool stored, T shift, float scale, std::mt19937_64& random)
    {
        for (std::int64_t i = 0; i < m; ++i) {
            for (std::int64_t j = i - std::min<std::int64_t>(i, static_cast<std::int64_t>(random() % 9)); j <= i;
                 ++j) {
                val.push_back(j < i    ? random_number<T>(random) / T(scale)
                              : stored ? random_number<T>(random) + shift
                                       : nan_of<T>());
                entries.push_back(lower ? entry<T>{i, j, val.back()} : entry<T>{j, i, val.back()});
            }
            pntr.push_back(static_cast<std::int64_t>(val.size()) + 4);
        }
    }
    template <class I>
    std::vector<I> pointers() const
    {
        return {pntr.begin(), pntr.end()};
    }
};

TYPED_TEST(Sky, Products)
{
    using T = TypeParam;
    std::mt19937_64 random(5);
    for (const char kind : {'g', 's', 'k'})
        for (int bits = 0; bits < 8; ++bits) {
            const bool transposed = bits & 1, upper = bits & 2, stored = bits & 4;
            SCOPED_TRACE(std::string(1, kind) + " " + std::to_string(bits));
            const skyline<T> a(!upper, stored, T{}, 1, random);
            dense<T> x(m, 3, false, 2), y(m, 3, false, 1);
            x.fill(random), y.fill(random);
            const T alpha = random_number<T>(random);
            const auto got = in_both_widths(y, [&]<class I>(I, dense<T>& z) {
                const I op = transposed ? 7 : 0, uplo = upper, diag = stored, rows = m, n = 3,
                        ldb = static_cast<I>(x.ld), ldc = static_cast<I>(z.ld);
                const auto p = a.template pointers<I>();
                named<arguments::sky_mm, T, I>(std::string("?skymm") + kind +
                                               "k")(&op, nullptr, &rows, &n, &uplo, &diag, &alpha, a.val.data(),
                                                    p.data(), x.data(), &ldb, z.data(), &ldc);
            });
            // A diagonal that is not stored is nothing here, not one.
            const oracle::meaning w{transposed ? 't' : 'n',
                                    kind == 'g'   ? 't'
                                    : kind == 's' ? 's'
                                                  : 'a',
                                    upper ? 'u' : 'l', stored && kind != 'k' ? 'n' : '_'};
            expect_product<T>(w, a.entries, alpha, x, true, y, got, 0, m);
        }
}

TYPED_TEST(Sky, Solves)
{
    using T = TypeParam;
    std::mt19937_64 random(6);
    for (int bits = 0; bits < 8; ++bits) {
        const bool transposed = bits & 1, upper = bits & 2, stored = bits & 4;
        SCOPED_TRACE(bits);
        const skyline<T> a(!upper, stored, T(2), 9, random);
        dense<T> y(m, 1, false, 0);
        y.fill(random);
        const auto got = in_both_widths(y, [&]<class I>(I, dense<T>& z) {
            const I op = transposed, uplo = upper, diag = stored, rows = m;
            const auto p = a.template pointers<I>();
            named<arguments::sky_sv, T, I>("?skysvk")(&op, nullptr, &uplo, &diag, &rows, a.val.data(), p.data(),
                                                      z.data());
        });
        EXPECT_TRUE(solves<T>({transposed ? 't' : 'n', 't', upper ? 'u' : 'l', stored ? 'n' : 'u'}, a.entries, T(1),
                              y, got, 0, 1));
        EXPECT_TRUE(got.unchanged_outside(y, 0, m, 0, 1)) << "written outside";
    }
}

} // namespace
