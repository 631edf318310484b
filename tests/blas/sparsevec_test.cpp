// tests/blas/sparsevec_test.cpp - level 1 with a compressed vector, element by element in order with places given
// twice; the generators of rotations by what their rotation does, and the modified rotation by its definition.
#include "tests/blas/banded_support.hpp"

namespace vrn::test {
namespace {

template <class E>
class SparseVector : public ::testing::Test {
};
TYPED_TEST_SUITE(SparseVector, four_types, );

// Every count around pairs and turns of 8; the last places repeat earlier ones.
template <class E, class Call, class Element>
void hold_elements(Call call, Element element)
{
    for (int64_t nz = -1; nz < 20; ++nz) {
        const int64_t length = 50;
        std::vector<int64_t> indx;
        for (int64_t i = 0; i < nz; ++i) indx.push_back(i % 7 == 6 ? indx.back() : 1 + (i * 37 + 49) % length);
        auto x0 = random_values<E>(nz, 1, data::special), y0 = random_values<E>(length, 2, data::special);
        strided<E> x(nz, 1, 0, x0), y(length, 1, 0, y0);
        call(&nz, x.data(), indx.data(), y.data());
        for (int64_t i = 0; i < nz; ++i) {
            const auto u = static_cast<std::size_t>(i);
            element(x0[u], y0[static_cast<std::size_t>(indx[u] - 1)]);
        }
        EXPECT_TRUE(same_bits(x.values(), x0) && same_bits(y.values(), y0)) << "nz " << nz;
        EXPECT_TRUE(x.guards_hold() && y.guards_hold());
    }
}

TYPED_TEST(SparseVector, Updates)
{
    using E = TypeParam;
    using Places = const int64_t*;
    const auto name = [](const std::string& stem) { return "vrn_blas_s42_" + (letter<E>() + stem); };
    auto* axpyi = kernel<void(Places, const E*, const E*, Places, E*)>(name("axpyi"));
    for (const E alpha : {number<E>(1.3, -0.7), E{}})
        hold_elements<E>([&](auto nz, auto x, auto indx, auto y) { axpyi(nz, &alpha, x, indx, y); },
                         [&](E& x, E& y) {
                             if (alpha != E{}) y = y + times(alpha, x);
                         });
    auto* gthr = kernel<void(Places, const E*, E*, Places)>(name("gthr"));
    hold_elements<E>([&](auto nz, auto x, auto indx, auto y) { gthr(nz, y, x, indx); }, [](E& x, E& y) { x = y; });
    auto* gthrz = kernel<void(Places, E*, E*, Places)>(name("gthrz"));
    hold_elements<E>([&](auto nz, auto x, auto indx, auto y) { gthrz(nz, y, x, indx); },
                     [](E& x, E& y) { x = y, y = E{}; });
    hold_elements<E>(kernel<void(Places, const E*, Places, E*)>(name("sctr")), [](E& x, E& y) { y = x; });
    if constexpr (!is_complex<E>) {
        auto* roti = kernel<void(Places, E*, Places, E*, const E*, const E*)>(name("roti"));
        for (const auto& [c, s] : {std::pair{E(0.6), E(0.8)}, {E(1), E(0)}, {E(0), E(1)}})
            hold_elements<E>(
                [&, &c = c, &s = s](auto nz, auto x, auto indx, auto y) { roti(nz, x, indx, y, &c, &s); },
                [&, &c = c, &s = s](E& x, E& y) {
                    const E old = x;
                    if (c == 1 && s == 0) return;
                    x = c * x + s * y, y = c * y - s * old;
                });
    }
}

TYPED_TEST(SparseVector, Dots)
{
    using E = TypeParam;
    for (const bool conjugate : {false, true})
        for (int64_t nz = -1; nz < 20; ++nz) {
            const auto x = random_values<E>(nz, 1), y = random_values<E>(50, 2);
            std::vector<int64_t> indx;
            for (int64_t i = 0; i < nz; ++i) indx.push_back(1 + i * 37 % 50);
            E got = number<E>(NAN, NAN);
            if constexpr (is_complex<E>) {
                using F = void(E*, const int64_t*, const E*, const int64_t*, const E*);
                kernel<F>(routine<E>("", conjugate ? "dotci" : "dotui"))(&got, &nz, x.data(), indx.data(), y.data());
            } else {
                using F = E(const int64_t*, const E*, const int64_t*, const E*);
                got = kernel<F>(routine<E>("doti", ""))(&nz, x.data(), indx.data(), y.data());
            }
            const auto exact = gemm<E>(
                std::max<int64_t>(0, nz), E{1},
                [&](int64_t i) {
                    const E e = x[static_cast<std::size_t>(i)];
                    if constexpr (is_complex<E>) return conjugate ? std::conj(e) : e;
                    else return e;
                },
                [&](int64_t i) { return y[static_cast<std::size_t>(indx[static_cast<std::size_t>(i)] - 1)]; }, E{},
                E{});
            EXPECT_LE(exact.units(got), limit<E>) << "nz " << nz;
        }
}

TYPED_TEST(SparseVector, Rotg)
{
    using E = TypeParam;
    using R = part_t<E>;
    auto* rotg = kernel<void(E*, E*, R*, E*)>(routine<E>("rotg", "rotg"));
    auto values = random_values<E>(40, 5);
    values[3] = values[6] = values[9] = values[10] = E{};
    values[13] = values[12];
    for (std::size_t i = 0; i + 1 < values.size(); ++i) {
        E a = values[i], b = values[i + 1], s;
        R c;
        const wide<E> a0(a), b0(b);
        rotg(&a, &b, &c, &s);
        // c a + s b = r and c b - conj(s) a = 0 within a dozen roundings, one of each step of the formulas.
        const auto size = std::abs(a0) + std::abs(b0);
        const auto bound = 12 * size * std::numeric_limits<R>::epsilon() / 2;
        const wide<E> s0(s), r(a);
        wide<E> back = s0;
        if constexpr (is_complex<E>) back = std::conj(s0);
        EXPECT_LE(std::abs(wide_real<E>(c) * a0 + s0 * b0 - r), bound) << i;
        EXPECT_LE(std::abs(wide_real<E>(c) * b0 - back * a0), bound) << i;
        EXPECT_LE(std::abs(std::norm(s0) + wide_real<E>(c) * c - 1), 12 * std::numeric_limits<R>::epsilon()) << i;
        if constexpr (is_complex<E>) {
            EXPECT_EQ(wide<E>(b), b0);
            EXPECT_TRUE(a0 != wide<E>{} || (c == 0 && s == E{1} && a == b));
        } else {
            const bool first = std::abs(a0) > std::abs(b0);
            EXPECT_EQ(b, size == 0 ? 0 : first ? s : c == 0 ? 1 : 1 / c) << i;
            EXPECT_EQ(std::signbit(a), std::signbit(first ? a0 : b0)) << i;
        }
    }
}

template <class R>
class ModifiedRotation : public ::testing::Test {
};
using two_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ModifiedRotation, two_types, );

TYPED_TEST(ModifiedRotation, Applied)
{
    using R = TypeParam;
    auto* rotm =
        kernel<void(const int64_t*, R*, const int64_t*, R*, const int64_t*, const R*)>(routine<R>("rotm", ""));
    for (const R flag : {R(-2), R(-1), R(0), R(1)}) {
        const R param[] = {flag, R(0.4), R(-1.3), R(0.7), R(2.1)};
        sweep_two<R>([&](int64_t n, int64_t incx, int64_t incy, int ox, int oy, data special) {
            if (incx == 0 || incy == 0) return;
            auto x0 = random_values<R>(n, 1, special), y0 = random_values<R>(n, 2, special);
            strided<R> x(n, incx, ox, x0), y(n, incy, oy, y0);
            rotm(&n, x.data(), &incx, y.data(), &incy, param);
            for (std::size_t i = 0; i < x0.size(); ++i) {
                const R w = x0[i], z = y0[i];
                if (flag == -1) x0[i] = param[1] * w + param[3] * z, y0[i] = param[2] * w + param[4] * z;
                if (flag == 0) x0[i] = w + param[3] * z, y0[i] = param[2] * w + z;
                if (flag == 1) x0[i] = param[1] * w + z, y0[i] = param[4] * z - w;
            }
            EXPECT_TRUE(same_bits(x.values(), x0) && same_bits(y.values(), y0));
            EXPECT_TRUE(x.guards_hold() && y.guards_hold());
        });
    }
}

// What H does to (x1, y1): the second component vanishes, the first is the new x1, and d1 x1^2 is what d1 x1^2 +
// d2 y1^2 was; scaled into range. Inputs over many exponents, so that rescaling happens once and more than once.
TYPED_TEST(ModifiedRotation, Generated)
{
    using R = TypeParam;
    using W = wide<R>;
    auto* rotmg = kernel<void(R*, R*, R*, const R*, R*)>(routine<R>("rotmg", ""));
    std::mt19937_64 random(3);
    int flags[3] = {};
    const int range = std::is_same_v<R, float> ? 30 : 110;
    for (int round = 0; round < 4000; ++round) {
        const auto draw = [&] {
            const int power = round % 2 ? static_cast<int>(random() % static_cast<unsigned>(2 * range)) - range : 0;
            return std::ldexp(random_real<R>(random, data::ordinary), power);
        };
        R d1 = std::fabs(draw()), d2 = draw(), x1 = draw(), param[] = {9, 9, 9, 9, 9};
        const R y1 = draw();
        const W e1 = d1, e2 = d2, u = x1, v = y1;
        rotmg(&d1, &d2, &x1, &y1, param);
        ++flags[static_cast<int>(param[0]) + 1];
        const W h11 = param[0] == 0 ? 1 : param[1], h22 = param[0] == 0 ? 1 : param[4];
        const W h21 = param[0] == 1 ? -1 : param[2], h12 = param[0] == 1 ? 1 : param[3];
        if (h11 == 0 && h12 == 0 && h21 == 0 && h22 == 0) {
            // A negative d2 leaves nothing positive.
            EXPECT_TRUE(d1 == 0 && d2 == 0 && x1 == 0 && e1 * u * u + e2 * v * v <= 1e-6 * (e1 * u * u));
            continue;
        }
        const W eps = 16 * std::numeric_limits<R>::epsilon(), tiny = std::numeric_limits<R>::min();
        EXPECT_LE(std::fabs(h21 * u + h22 * v), eps * (std::fabs(h21 * u) + std::fabs(h22 * v)) + tiny) << round;
        EXPECT_LE(std::fabs(h11 * u + h12 * v - x1), eps * (std::fabs(h11 * u) + std::fabs(h12 * v)) + tiny) << round;
        EXPECT_LE(std::fabs(W(d1) * x1 * x1 - (e1 * u * u + e2 * v * v)),
                  4 * eps * (e1 * u * u + std::fabs(e2) * v * v) + tiny)
            << round;
        for (const R d : {d1, d2})
            EXPECT_TRUE(d == 0 || (std::fabs(d) > R(1) / 16777216 && std::fabs(d) < 16777216)) << round;
    }
    for (const int count : flags) EXPECT_GT(count, 0);
}

TYPED_TEST(ModifiedRotation, Degenerate)
{
    using R = TypeParam;
    auto* rotmg = kernel<void(R*, R*, R*, const R*, R*)>(routine<R>("rotmg", ""));
    struct {
        R d1, d2, x1, y1, param[5];
    } cases[] = {
        {-1, 2, 3, 4, {-1, 0, 0, 0, 0}}, // no real scale
        {1, 2, 3, 0, {-2, 9, 9, 9, 9}},  // nothing to annihilate
        {1, -4, 1, 1, {-1, 0, 0, 0, 0}}, // the difference is negative
        {0, 2, 3, 4, {1, 0, 9, 9, R(0.75)}},
    };
    for (auto& c : cases) {
        R d1 = c.d1, d2 = c.d2, x1 = c.x1, param[] = {9, 9, 9, 9, 9};
        rotmg(&d1, &d2, &x1, &c.y1, param);
        for (int i = 0; i < 5; ++i) EXPECT_EQ(param[i], c.param[i]) << "case " << &c - cases << " at " << i;
        const bool unchanged = param[0] == -2, cleared = param[0] == -1;
        EXPECT_EQ(d1, unchanged ? c.d1 : cleared ? 0 : c.d2) << &c - cases;
        EXPECT_EQ(x1, unchanged ? c.x1 : cleared ? 0 : c.y1) << &c - cases;
    }
}

} // namespace
} // namespace vrn::test
