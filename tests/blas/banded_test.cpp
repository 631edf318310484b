// tests/blas/banded_test.cpp - band matrices: gbmv, sbmv and hbmv, tbmv, tbsv, against dense products from the
// definition, for bands narrower and wider than a pair of columns, a block of rows, and the matrix.
#include "tests/blas/banded_support.hpp"

#include <sstream>

vrn::test::cbwr_answer vrn::test::cbwr;
extern "C" std::int32_t vrn_serv_cbwr_get(std::int32_t)
{
    ++vrn::test::cbwr.asked;
    return vrn::test::cbwr.mode;
}

namespace vrn::test {
namespace {

template <class E>
class Banded : public ::testing::Test {
};
TYPED_TEST_SUITE(Banded, four_types, );

std::string tell(char letter, char trans, int64_t m, int64_t n, int64_t kl, int64_t ku, const variant& v)
{
    std::ostringstream out;
    out << letter << ' ' << trans << " m " << m << " n " << n << " kl " << kl << " ku " << ku << " incx " << v.incx
        << " incy " << v.incy << " alpha " << v.alpha << " beta " << v.beta << " offset " << v.offset;
    return out.str();
}

constexpr int64_t widths[] = {0, 1, 2, 3, 7, 8, 17, 40};

TYPED_TEST(Banded, General)
{
    using E = TypeParam;
    using F = void(const char*, const int64_t*, const int64_t*, const int64_t*, const int64_t*, const E*, const E*,
                   const int64_t*, const E*, const int64_t*, const E*, E*, const int64_t*);
    auto* gbmv = kernel<F>(routine<E>("gbmv", "gbmv"));
    struct size {
        int64_t m, n;
    };
    // Nothing, one, wide, tall, square; bands cut at one edge, at both, and not at all.
    for (const size& s : {size{0, 3}, {3, 0}, {1, 1}, {2, 9}, {9, 2}, {5, 30}, {30, 5}, {21, 22}, {43, 41}})
        for (const int64_t kl : widths)
            for (const int64_t ku : widths)
                for (const char trans : {'N', 'T', 'C'})
                    for (const auto& v : variants) {
                        const stored<E> a(kind::general, s.m, s.n, kl, ku, kl + ku + 1 + (v.offset ? 0 : 3), 1);
                        const char given = v.offset ? trans : static_cast<char>(trans + 32);
                        hold_product(a, trans, v, false, [&](auto A, auto x, auto y, auto alpha, auto beta) {
                            gbmv(&given, &s.m, &s.n, &kl, &ku, alpha, A, &a.lda, x, &v.incx, beta, y, &v.incy);
                        });
                        if (failed([&] { return tell('g', trans, s.m, s.n, kl, ku, v); })) return;
                    }
}

constexpr int64_t orders[] = {0, 1, 2, 3, 4, 5, 8, 9, 18, 33, 50};

TYPED_TEST(Banded, Symmetric)
{
    using E = TypeParam;
    using F = void(const char*, const int64_t*, const int64_t*, const E*, const E*, const int64_t*, const E*,
                   const int64_t*, const E*, E*, const int64_t*);
    auto* sbmv = kernel<F>(routine<E>("sbmv", "hbmv"));
    const bool twin = letter<E>() == 'd' || letter<E>() == 'c';
    for (const int mode : {1, 2})
        for (const int64_t n : orders)
            for (const int64_t k : widths)
                for (const char uplo : {'U', 'l'})
                    for (const auto& v : variants) {
                        const bool upper = uplo == 'U';
                        const stored<E> a(kind::symmetric, n, n, upper ? 0 : k, upper ? k : 0, k + 1 + v.offset, 1);
                        cbwr = {mode, 0};
                        hold_product(a, 'N', v, twin && mode == 1,
                                     [&](auto A, auto x, auto y, auto alpha, auto beta) {
                                         sbmv(&uplo, &n, &k, alpha, A, &a.lda, x, &v.incx, beta, y, &v.incy);
                                     });
                        // Two calls; what has nothing to do does not ask.
                        EXPECT_EQ(cbwr.asked, twin && n > 0 && (v.alpha != 0 || v.beta != 1) ? 2 : 0);
                        if (failed([&] { return tell(uplo, 'N', n, n, a.kl, a.ku, v); })) return;
                    }
}

TYPED_TEST(Banded, Triangular)
{
    using E = TypeParam;
    using F = void(const char*, const char*, const char*, const int64_t*, const int64_t*, const E*, const int64_t*,
                   E*, const int64_t*);
    struct size {
        int64_t n, k;
    };
    std::vector<size> sizes;
    for (const int64_t n : orders)
        for (const int64_t k : widths)
            if (n < 50 || k > 8) sizes.push_back({n, k});
    // On both sides of what chooses between the bodies of the complex solutions.
    for (const auto s : {size{63, 6}, {64, 6}, {65, 70}, {255, 9}, {256, 9}, {1000, 501}, {1001, 500}, {1001, 501}})
        sizes.push_back(s);
    for (const bool solve : {false, true}) {
        auto* f = kernel<F>(routine<E>(solve ? "tbsv" : "tbmv", solve ? "tbsv" : "tbmv"));
        for (const size& s : sizes)
            for (const char uplo : {'U', 'l'})
                for (const char trans : {'N', 'T', 'C'})
                    for (const char diag : {'N', 'u'})
                        for (const auto& v : variants) {
                            if (v.alpha == 0 || v.beta == 0) continue;
                            if (s.n > 500 && (&v != variants || diag == 'u' || trans == 'T')) continue;
                            const bool upper = uplo == 'U';
                            stored<E> a(kind::triangular, s.n, s.n, upper ? 0 : s.k, upper ? s.k : 0,
                                        s.k + 1 + v.offset, 1);
                            a.unit = diag == 'u';
                            if (a.unit) // keeps solutions with ones on the diagonal from growing
                                for (E& e : a.values) e = e / part_t<E>(2 * s.k + 2);
                            hold_triangle(a, trans, solve, v, [&](auto A, auto x) {
                                f(&uplo, &trans, &diag, &s.n, &s.k, A, &a.lda, x, &v.incx);
                            });
                            if (failed([&] { return tell(uplo, trans, s.n, s.n, a.kl, a.ku, v); })) return;
                        }
    }
}

TEST(Banded, ZeroDiagonalDivides)
{
    using F = void(const char*, const char*, const char*, const int64_t*, const int64_t*, const double*,
                   const int64_t*, double*, const int64_t*);
    const int64_t n = 2, k = 1, lda = 2, one = 1;
    const double a[] = {NAN, 1, 1, 0};
    double x[] = {1, 2};
    kernel<F>("vrn_blas_s42_dtbsv")("U", "N", "N", &n, &k, a, &lda, x, &one);
    EXPECT_EQ(x[1], HUGE_VAL);
    EXPECT_EQ(x[0], -HUGE_VAL);
}

} // namespace
} // namespace vrn::test
