// tests/blas/level1_test.cpp - the vector updates: copy, swap, scal, axpy, axpby, rot.
// Their bits are defined element by element, so each is held to the plain loop exactly, for every length around a
// block, every stride and every alignment; nothing outside the elements may change.
#include "tests/blas/level1_support.hpp"

namespace vrn::test {
namespace {

using std::int64_t;

template <class E>
class Level1 : public ::testing::Test {};
TYPED_TEST_SUITE(Level1, four_types, );

// The operation on one pair of elements, in order; zero strides see earlier results.
template <class E, class Element>
void expect_update(int64_t n, strided<E>& x, strided<E>& y, std::vector<E> x0, std::vector<E> y0, int64_t incx,
                   int64_t incy, Element element)
{
    for (int64_t i = 0; i < n; ++i)
        element(x0[static_cast<std::size_t>(incx == 0 ? 0 : i)], y0[static_cast<std::size_t>(incy == 0 ? 0 : i)]);
    for (int64_t i = 0; i < n; ++i) {
        EXPECT_TRUE(same(x[i], x0[static_cast<std::size_t>(incx == 0 ? 0 : i)])) << "x at " << i;
        EXPECT_TRUE(same(y[i], y0[static_cast<std::size_t>(incy == 0 ? 0 : i)])) << "y at " << i;
    }
    EXPECT_TRUE(x.guards_hold());
    EXPECT_TRUE(y.guards_hold());
}

template <class E, class Call, class Element>
void hold_update(Call call, Element element)
{
    sweep_two<E>([&](int64_t n, int64_t incx, int64_t incy, int ox, int oy, data kind) {
        const strided<E> x_in(n, incx, 0, random_values<E>(n, 1, kind));
        const strided<E> y_in(n, incy, 0, random_values<E>(n, 2, kind));
        const auto xv = x_in.values(), yv = y_in.values();
        strided<E> x(n, incx, ox, xv), y(n, incy, oy, yv);
        call(&n, x.data(), &incx, y.data(), &incy);
        expect_update(n, x, y, xv, yv, incx, incy, element);
    });
}

template <class E>
E scalar(double re, double im)
{
    using R = part_t<E>;
    if constexpr (is_complex<E>) return {static_cast<R>(re), static_cast<R>(im)};
    else return static_cast<R>(re);
}

TYPED_TEST(Level1, Axpy)
{
    using E = TypeParam;
    auto* axpy = level1_of<E, void(const int64_t*, const E*, const E*, const int64_t*, E*, const int64_t*)>("axpy");
    for (const E alpha : {scalar<E>(1.3, -0.7), scalar<E>(1, 0), scalar<E>(0, 0)})
        hold_update<E>([&](auto n, auto x, auto incx, auto y, auto incy) { axpy(n, &alpha, x, incx, y, incy); },
                       [&](E x, E& y) {
                           if (alpha != E{}) y = y + times(alpha, x);
                       });
}

TYPED_TEST(Level1, Axpby)
{
    using E = TypeParam;
    auto* axpby = level1_of<E, void(const int64_t*, const E*, const E*, const int64_t*, const E*, E*,
                                    const int64_t*)>("axpby");
    const E zero{}, one = scalar<E>(1, 0), a = scalar<E>(1.3, -0.7), b = scalar<E>(-0.6, 0.9);
    for (const auto& [alpha, beta] : {std::pair{a, b}, {a, zero}, {a, one}, {zero, one}, {zero, zero}, {zero, b}})
        hold_update<E>(
            [&, &alpha = alpha, &beta = beta](auto n, auto x, auto incx, auto y, auto incy) {
                axpby(n, &alpha, x, incx, &beta, y, incy);
            },
            [&, &alpha = alpha, &beta = beta](E x, E& y) {
                if (alpha == E{} && beta == one) return; // whatever x holds
                if (beta == E{}) y = times(alpha, x);    // whatever y holds
                else if (is_complex<E> && beta == one) y = y + times(alpha, x);
                else y = times(alpha, x) + times(beta, y);
            });
}

TYPED_TEST(Level1, Copy)
{
    using E = TypeParam;
    hold_update<E>(level1_of<E, void(const int64_t*, const E*, const int64_t*, E*, const int64_t*)>("copy"),
                   [](E x, E& y) { y = x; });
}

TYPED_TEST(Level1, Swap)
{
    using E = TypeParam;
    hold_update<E>(level1_of<E, void(const int64_t*, E*, const int64_t*, E*, const int64_t*)>("swap"),
                   [](E& x, E& y) { std::swap(x, y); });
}

template <class E, class S>
void hold_rot(const std::string& name, S s)
{
    using R = part_t<E>;
    auto* rot = level1<void(const int64_t*, E*, const int64_t*, E*, const int64_t*, const R*, const S*)>(name);
    for (const R c : {R(0.6), R(1), R(0)}) {
        if (c == R(1)) s = S{}; // no case is special: NaN times zero stays NaN
        S conjugate = s;
        if constexpr (is_complex<S>) conjugate = std::conj(s);
        hold_update<E>([&](auto n, auto x, auto incx, auto y, auto incy) { rot(n, x, incx, y, incy, &c, &s); },
                       [&](E& x, E& y) {
                           const E old = x;
                           x = times(c, x) + times(s, y);
                           y = times(c, y) - times(conjugate, old);
                       });
    }
}

TEST(Level1Rot, EveryType)
{
    hold_rot<float>("srot", 0.8f);
    hold_rot<double>("drot", 0.8);
    hold_rot<std::complex<float>>("csrot", 0.8f);
    hold_rot<std::complex<double>>("zdrot", 0.8);
    hold_rot<std::complex<float>>("crot", std::complex<float>(0.5f, -0.6f));
    hold_rot<std::complex<double>>("zrot", std::complex<double>(0.5, -0.6));
}

template <class E, class A>
void hold_scal(const std::string& name, std::initializer_list<A> alphas)
{
    auto* scal = level1<void(const int64_t*, const A*, E*, const int64_t*)>(name);
    for (const A alpha : alphas)
        sweep_one<E>([&](int64_t n, int64_t inc, int offset, data kind) {
            auto expected = strided<E>(n, inc, 0, random_values<E>(n, 1, kind)).values();
            strided<E> x(n, inc, offset, expected);
            scal(&n, &alpha, x.data(), &inc);
            if (alpha == A(1)) {
                EXPECT_TRUE(x.untouched());
                return;
            }
            // A stride of zero multiplies its one element n times over, and zero is a factor like others.
            for (int64_t i = 0; i < n; ++i) {
                E& e = expected[static_cast<std::size_t>(inc == 0 ? 0 : i)];
                e = times(alpha, e);
            }
            for (int64_t i = 0; i < n; ++i)
                EXPECT_TRUE(same(x[i], expected[static_cast<std::size_t>(inc == 0 ? 0 : i)])) << "at " << i;
            EXPECT_TRUE(x.guards_hold());
        });
}

TEST(Level1Scal, EveryType)
{
    using C = std::complex<float>;
    using Z = std::complex<double>;
    hold_scal<float, float>("sscal", {0.7f, 1.0f, 0.0f});
    hold_scal<double, double>("dscal", {0.7, 1.0, 0.0});
    hold_scal<C, C>("cscal", {{0.7f, -0.4f}, {1, 0}, {0, 0}});
    hold_scal<Z, Z>("zscal", {{0.7, -0.4}, {1, 0}, {0, 0}});
    hold_scal<C, float>("csscal", {0.7f, 1.0f, 0.0f});
    hold_scal<Z, double>("zdscal", {0.7, 1.0, 0.0});
}

TEST(Level1Scal, ZeroKeepsNan)
{
    auto* scal = level1<void(const int64_t*, const double*, double*, const int64_t*)>("dscal");
    const int64_t n = 3, one = 1;
    const double zero = 0;
    double x[] = {1, NAN, -3};
    scal(&n, &zero, x, &one);
    EXPECT_EQ(x[0], 0);
    EXPECT_TRUE(std::isnan(x[1]));
    EXPECT_TRUE(std::signbit(x[2]));
}

} // namespace
} // namespace vrn::test
