// tests/blas/packed_test.cpp - packed triangles: spmv and hpmv, tpmv, tpsv against dense products from the
// definition; spr and hpr, spr2 and hpr2 element by element.
#include "tests/blas/banded_support.hpp"

vrn::test::cbwr_answer vrn::test::cbwr;
extern "C" std::int32_t vrn_serv_cbwr_get(std::int32_t)
{
    ++vrn::test::cbwr.asked;
    return vrn::test::cbwr.mode;
}

namespace vrn::test {
namespace {

template <class E>
class Packed : public ::testing::Test {
};
TYPED_TEST_SUITE(Packed, four_types, );

// Around groups of two and four columns and blocks of 16 rows.
constexpr int64_t orders[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 18, 19, 20, 21, 33, 50};

template <class E>
stored<E> packed_matrix(kind what, int64_t n, bool upper)
{
    return stored<E>(what, n, n, upper ? 0 : n, upper ? n : 0, 0, 1);
}

std::string tell(char uplo, char trans, int64_t n, const variant& v)
{
    return std::string{uplo, ' ', trans} + " n " + std::to_string(n) + " incx " + std::to_string(v.incx) + " incy " +
           std::to_string(v.incy) + " alpha " + std::to_string(v.alpha) + " beta " + std::to_string(v.beta);
}

TYPED_TEST(Packed, Symmetric)
{
    using E = TypeParam;
    using F =
        void(const char*, const int64_t*, const E*, const E*, const E*, const int64_t*, const E*, E*, const int64_t*);
    auto* spmv = kernel<F>(routine<E>("spmv", "hpmv"));
    for (const int64_t n : orders)
        for (const char uplo : {'U', 'l'})
            for (const auto& v : variants) {
                const auto a = packed_matrix<E>(kind::symmetric, n, uplo == 'U');
                hold_product(a, 'N', v, false, [&](auto A, auto x, auto y, auto alpha, auto beta) {
                    spmv(&uplo, &n, alpha, A, x, &v.incx, beta, y, &v.incy);
                });
                if (failed([&] { return tell(uplo, 'N', n, v); })) return;
            }
}

TYPED_TEST(Packed, Triangular)
{
    using E = TypeParam;
    using F = void(const char*, const char*, const char*, const int64_t*, const E*, E*, const int64_t*);
    for (const bool solve : {false, true}) {
        auto* f = kernel<F>(routine<E>(solve ? "tpsv" : "tpmv", solve ? "tpsv" : "tpmv"));
        for (const int64_t n : orders)
            for (const char uplo : {'u', 'L'})
                for (const char trans : {'N', 'T', 'C'})
                    for (const char diag : {'n', 'U'})
                        for (const auto& v : variants) {
                            if (v.alpha == 0 || v.beta == 0) continue;
                            auto a = packed_matrix<E>(kind::triangular, n, uplo == 'u');
                            a.unit = diag == 'U';
                            if (a.unit)
                                for (E& e : a.values) e = e / part_t<E>(2 * n);
                            const char given = v.offset ? trans : static_cast<char>(trans + 32);
                            hold_triangle(a, trans, solve, v,
                                          [&](auto A, auto x) { f(&uplo, &given, &diag, &n, A, x, &v.incx); });
                            if (failed([&] { return tell(uplo, trans, n, v); })) return;
                        }
    }
}

// A := alpha x x' + A, and with y alpha x y' + (alpha y x')', as `call(A, x, y)` computes it. Elements of x and y are
// zero here and there, in A there is a NaN in such a column, and Hermitian diagonals have imaginary parts of NaN.
template <class E, class A, class Call>
void hold_rank(int64_t n, bool upper, bool two, const variant& v, A alpha, Call call)
{
    auto a = packed_matrix<E>(kind::symmetric, n, upper);
    auto x0 = random_values<E>(n, 2), y0 = random_values<E>(n, 3);
    for (int64_t i = 2; i < n; i += 3) x0[static_cast<std::size_t>(i)] = y0[static_cast<std::size_t>(i)] = E{};
    if (n > 3) x0[3] = E{};
    const int64_t skipped = 2, marked = upper ? 0 : n - 1;
    if (n > 2) a.values[a.place(marked, skipped)] = number<E>(NAN, NAN);
    for (const int offset : {0, v.offset * static_cast<int>(sizeof(part_t<E>))}) {
        strided<E> AP(static_cast<int64_t>(a.values.size()), 1, offset, a.values);
        strided<E> x(n, v.incx, 0, x0), y(n, v.incy, offset, y0);
        call(AP.data(), x.data(), y.data());
        EXPECT_TRUE(AP.guards_hold() && x.untouched() && y.untouched());
        EXPECT_TRUE(alpha != A{} || AP.untouched());
        for (int64_t j = 0; alpha != A{} && j < n; ++j)
            for (int64_t i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) {
                const E got = AP[static_cast<int64_t>(a.place(i, j))];
                if (j == skipped && i == marked && i != j) {
                    EXPECT_TRUE(std::isnan(std::abs(got))) << "a column of zero is left alone";
                    continue;
                }
                const auto at = [](const auto& u, int64_t k) { return u[static_cast<std::size_t>(k)]; };
                const auto flip = [](E e) {
                    if constexpr (is_complex<E>) return std::conj(e);
                    else return e;
                };
                const auto term = [&](E factor, const auto& u, const auto& w, E c) {
                    return gemm<E>(
                        1, factor, [&](int64_t) { return at(u, i); }, [&](int64_t) { return flip(at(w, j)); }, E{1},
                        c);
                };
                auto exact = term(E(alpha), x0, two ? y0 : x0, a.at(i, j));
                if (two) {
                    const auto second = term(flip(E(alpha)), y0, x0, E{});
                    exact = {exact.exact + second.exact, exact.gauge + second.gauge, 2};
                }
                EXPECT_LE(exact.units(got), limit<E>) << "element " << i << ' ' << j;
                EXPECT_TRUE(i != j || std::imag(got) == 0);
            }
    }
}

TYPED_TEST(Packed, RankUpdates)
{
    using E = TypeParam;
    using A = part_t<E>;
    using One = void(const char*, const int64_t*, const A*, const E*, const int64_t*, E*);
    using Two = void(const char*, const int64_t*, const E*, const E*, const int64_t*, const E*, const int64_t*, E*);
    auto* spr = kernel<One>(routine<E>("spr", "hpr"));
    auto* spr2 = kernel<Two>(routine<E>("spr2", "hpr2"));
    for (const int mode : {1, 2})
        for (const int64_t n : orders)
            for (const char uplo : {'u', 'L'})
                for (const auto& v : variants) {
                    const A alpha = static_cast<A>(v.alpha);
                    const E alpha2 = number<E>(v.alpha, v.alpha == 0 ? 0 : -0.6);
                    hold_rank<E>(n, uplo == 'u', false, v, alpha,
                                 [&](E* ap, E* x, E*) { spr(&uplo, &n, &alpha, x, &v.incx, ap); });
                    cbwr = {mode, 0};
                    hold_rank<E>(n, uplo == 'u', true, v, alpha2,
                                 [&](E* ap, E* x, E* y) { spr2(&uplo, &n, &alpha2, x, &v.incx, y, &v.incy, ap); });
                    EXPECT_EQ(cbwr.asked, letter<E>() == 's' && n > 0 && v.alpha != 0 ? 2 : 0);
                    if (failed([&] { return tell(uplo, 'N', n, v); })) return;
                }
}

} // namespace
} // namespace vrn::test
