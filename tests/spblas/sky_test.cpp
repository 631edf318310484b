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
            const dense<T> before = y;
            dense<T> y32 = y;
            const T alpha = random_number<T>(random);
            auto run = [&]<class I>(I, dense<T>& z) {
                const I op = transposed ? 7 : 0, uplo = upper, diag = stored, rows = m, n = 3,
                        ldb = static_cast<I>(x.ld), ldc = static_cast<I>(z.ld);
                const auto p = a.template pointers<I>();
                named<arguments::sky_mm, T, I>(std::string("?skymm") + kind +
                                               "k")(&op, nullptr, &rows, &n, &uplo, &diag, &alpha, a.val.data(),
                                                    p.data(), x.data(), &ldb, z.data(), &ldc);
            };
            run(std::int64_t{}, y);
            run(std::int32_t{}, y32);
            EXPECT_TRUE(y.same_bits(y32)) << "widths differ";
            EXPECT_TRUE(y.unchanged_outside(before, 0, m, 0, 3)) << "written outside";
            // A diagonal that is not stored is nothing here, not one.
            const oracle::meaning w{transposed ? 't' : 'n',
                                    kind == 'g'   ? 't'
                                    : kind == 's' ? 's'
                                                  : 'a',
                                    upper ? 'u' : 'l', stored && kind != 'k' ? 'n' : '_'};
            const auto meant = oracle::defined(w, a.entries, 0, m);
            for (std::int64_t c = 0; c < 3; ++c) {
                const oracle::products<T> want(meant, meant, alpha, &x.at(0, c), 1, T(1), &before.at(0, c), 1, m);
                for (std::int64_t r = 0; r < m; ++r) EXPECT_LE(want.units(r, y.at(r, c)), is_complex<T> ? 2 : 1);
            }
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
        const dense<T> right = y;
        dense<T> y32 = y;
        auto run = [&]<class I>(I, dense<T>& z) {
            const I op = transposed, uplo = upper, diag = stored, rows = m;
            const auto p = a.template pointers<I>();
            named<arguments::sky_sv, T, I>("?skysvk")(&op, nullptr, &uplo, &diag, &rows, a.val.data(), p.data(),
                                                      z.data());
        };
        run(std::int64_t{}, y);
        run(std::int32_t{}, y32);
        EXPECT_TRUE(y.same_bits(y32)) << "widths differ";
        const auto meant =
            oracle::defined({transposed ? 't' : 'n', 't', upper ? 'u' : 'l', stored ? 'n' : 'u'}, a.entries, 0, m);
        const oracle::products<T> residual(meant, meant, T(1), y.data(), 1, T{}, nullptr, 0, m);
        for (std::int64_t r = 0; r < m; ++r) {
            const auto k = static_cast<std::size_t>(r);
            const auto error = std::abs(residual.exact[k] - oracle::wide<T>(right.at(r, 0)));
            EXPECT_LE(oracle::error_units(T{}, oracle::wide<T>(error),
                                          residual.gauge[k] + std::abs(oracle::wide<T>(right.at(r, 0))),
                                          residual.terms[k] + 4),
                      is_complex<T> ? 4 : 2);
        }
    }
}

} // namespace
