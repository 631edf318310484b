// tests/blas/level1_reductions_test.cpp - dots, sums of magnitudes, norms, indices of extremes, cabs1.
// Where the order of summation is defined the result is held bit for bit to a scalar walk of that order, at every
// alignment alike; every sum is also held to the bound that any order meets.
#include "tests/blas/level1_support.hpp"

namespace vrn::test {
namespace {

using std::int64_t;
using C = std::complex<float>;
using Z = std::complex<double>;

template <class E>
using dot_of = part_t<E>(const int64_t*, const E*, const int64_t*, const E*, const int64_t*);

// Elements as the kernel sees them: stride zero repeats the first.
template <class E>
std::vector<E> seen(int64_t n, int64_t inc, const std::vector<E>& values)
{
    return strided<E>(n, inc, 0, values).values();
}

template <class R>
void hold_dot(const char* name, int unit_block, int strided_block)
{
    auto* dot = level1<dot_of<R>>(name);
    const int lanes = 16 / sizeof(R);
    sweep_two<R>([&](int64_t n, int64_t incx, int64_t incy, int ox, int oy, data kind) {
        const auto xv = seen(n, incx, random_values<R>(n, 1, kind)), yv = seen(n, incy, random_values<R>(n, 2, kind));
        strided<R> x(n, incx, ox, xv), y(n, incy, oy, yv);
        const R got = dot(&n, x.data(), &incx, y.data(), &incy);
        std::vector<R> terms;
        wide<R> exact = 0, gauge = 0;
        for (std::size_t i = 0; i < xv.size(); ++i) {
            const wide<R> product = wide<R>(xv[i]) * yv[i];
            terms.push_back(xv[i] * yv[i]);
            exact += product;
            gauge += std::fabs(product);
        }
        const bool unit = incx == 1 && incy == 1; // both -1 is another order
        EXPECT_TRUE(same(got, n < 1 ? R{0} : walk_sum(terms, unit ? summation{lanes, unit_block, true}
                                                                  : summation{lanes, strided_block, false})));
        if (kind == data::ordinary) {
            EXPECT_LE(error_units(got, exact, gauge, n), 1);
        }
        EXPECT_TRUE(x.untouched() && y.untouched());
    });
}

TEST(Level1Dot, Real)
{
    hold_dot<float>("sdot", 64, 8);
    hold_dot<double>("ddot", 32, 8);
}

TEST(Level1Dot, SingleSummedInDouble)
{
    auto* dsdot = level1<double(const int64_t*, const float*, const int64_t*, const float*, const int64_t*)>("dsdot");
    auto* sdsdot = level1<float(const int64_t*, const float*, const float*, const int64_t*, const float*,
                                const int64_t*)>("sdsdot");
    const float sb = 1.0f / 3;
    sweep_two<float>([&](int64_t n, int64_t incx, int64_t incy, int ox, int oy, data kind) {
        // Exponents apart, or sums of such short products would hardly ever be rounded in double.
        auto spread = random_values<float>(n, 1, kind);
        for (std::size_t i = 0; i < spread.size(); ++i) spread[i] = std::ldexp(spread[i], static_cast<int>(i * 7 % 31));
        const auto xv = seen(n, incx, spread), yv = seen(n, incy, random_values<float>(n, 2, kind));
        strided<float> x(n, incx, ox, xv), y(n, incy, oy, yv);
        std::vector<double> terms;
        for (std::size_t i = 0; i < xv.size(); ++i) terms.push_back(double{xv[i]} * double{yv[i]});
        const summation how{2, 8, false};
        EXPECT_TRUE(same(dsdot(&n, x.data(), &incx, y.data(), &incy), walk_sum(terms, how)));
        EXPECT_TRUE(same(sdsdot(&n, &sb, x.data(), &incx, y.data(), &incy),
                         static_cast<float>(walk_sum(terms, how, double{sb}))));
    });
}

// 16777216 + 1 - 16777216 is 1 in double and 0 in single.
TEST(Level1Dot, DoubleAccumulationShows)
{
    auto* sdsdot = level1<float(const int64_t*, const float*, const float*, const int64_t*, const float*,
                                const int64_t*)>("sdsdot");
    const int64_t n = 2, one = 1, none = 0;
    const float sb = 16777216.0f, x[] = {1, -16777216.0f}, y[] = {1, 1};
    EXPECT_EQ(sdsdot(&n, &sb, x, &one, y, &one), 1.0f);
    EXPECT_EQ(sdsdot(&none, &sb, x, &one, y, &one), sb);
}

template <class E>
void hold_complex_dot(const char* name, bool conjugate)
{
    auto* dot = level1<void(E*, const int64_t*, const E*, const int64_t*, const E*, const int64_t*)>(name);
    sweep_two<E>([&](int64_t n, int64_t incx, int64_t incy, int ox, int oy, data kind) {
        if (kind == data::special) return; // the order is the kernel's own, and with it the place of a NaN
        const auto xv = seen(n, incx, random_values<E>(n, 1)), yv = seen(n, incy, random_values<E>(n, 2));
        strided<E> x(n, incx, ox, xv), y(n, incy, oy, yv);
        E got(NAN, NAN);
        dot(&got, &n, x.data(), &incx, y.data(), &incy);
        using W = wide<part_t<E>>;
        std::complex<W> exact = 0;
        W re_gauge = 0, im_gauge = 0;
        for (std::size_t i = 0; i < xv.size(); ++i) {
            const std::complex<W> a(xv[i].real(), conjugate ? -xv[i].imag() : xv[i].imag()), b(yv[i]);
            exact += times(a, b);
            re_gauge += std::fabs(a.real() * b.real()) + std::fabs(a.imag() * b.imag());
            im_gauge += std::fabs(a.real() * b.imag()) + std::fabs(a.imag() * b.real());
        }
        // Two products to an element.
        EXPECT_LE(error_units(got.real(), exact.real(), re_gauge, 2 * n), 1);
        EXPECT_LE(error_units(got.imag(), exact.imag(), im_gauge, 2 * n), 1);
        // The address does not show.
        if (ox != 0 || oy != 0) {
            strided<E> x0(n, incx, 0, xv), y0(n, incy, 0, yv);
            E there;
            dot(&there, &n, x0.data(), &incx, y0.data(), &incy);
            EXPECT_TRUE(same(got, there));
        }
        EXPECT_TRUE(x.untouched() && y.untouched());
    });
}

TEST(Level1Dot, Complex)
{
    hold_complex_dot<C>("cdotu", false);
    hold_complex_dot<C>("cdotc", true);
    hold_complex_dot<Z>("zdotu", false);
    hold_complex_dot<Z>("zdotc", true);
}

template <class E>
void hold_asum(const char* name, int block)
{
    using R = part_t<E>;
    auto* asum = level1<R(const int64_t*, const E*, const int64_t*)>(name);
    const int lanes = 16 / sizeof(R);
    sweep_one<E>([&](int64_t n, int64_t inc, int offset, data kind) {
        const auto xv = seen(n, inc, random_values<E>(n, 1, kind));
        strided<E> x(n, inc, offset, xv);
        const R got = asum(&n, x.data(), &inc);
        std::vector<R> terms;
        for (const E& e : xv) {
            if constexpr (is_complex<E>) terms.insert(terms.end(), {std::fabs(e.real()), std::fabs(e.imag())});
            else terms.push_back(std::fabs(e));
        }
        wide<R> exact = 0;
        for (const R t : terms) exact += t;
        if (kind == data::ordinary) {
            EXPECT_LE(error_units(got, exact, exact, static_cast<int64_t>(terms.size())), 1);
        }
        // Complex vectors of other strides keep the blocks of their type; the order at unit stride is the real one.
        if (is_complex<E> && inc != 1) return;
        const bool singly = inc != 1 && n < block;
        EXPECT_TRUE(same(got, walk_sum(terms, singly ? summation{1, 1 << 30, false} : summation{lanes, block, true})));
        EXPECT_TRUE(x.untouched());
    });
}

TEST(Level1Asum, EveryType)
{
    hold_asum<float>("sasum", 32);
    hold_asum<double>("dasum", 16);
    hold_asum<C>("scasum", 32);
    hold_asum<Z>("dzasum", 16);
}

template <class E>
void hold_double_norm(const char* name)
{
    auto* nrm2 = level1<double(const int64_t*, const E*, const int64_t*)>(name);
    sweep_one<E>([&](int64_t n, int64_t inc, int offset, data kind) {
        // The stride counts by its magnitude: from the lowest address on, whatever its sign.
        const int64_t up = inc < 0 ? -inc : inc;
        strided<E> x(n, up, offset, random_values<E>(n, 1, kind));
        std::vector<double> parts;
        for (const E& e : x.values()) {
            if constexpr (is_complex<E>) parts.insert(parts.end(), {e.real(), e.imag()});
            else parts.push_back(e);
        }
        EXPECT_TRUE(same(nrm2(&n, x.data(), &inc), n == 1 && !is_complex<E> ? std::fabs(parts[0]) : scaled_norm(parts)));
        EXPECT_TRUE(x.untouched());
    });
}

TEST(Level1Norm, DoubleIsTheScaledForm)
{
    hold_double_norm<double>("dnrm2");
    hold_double_norm<Z>("dznrm2");
}

template <class E>
void hold_single_norm(const char* name)
{
    auto* nrm2 = level1<float(const int64_t*, const E*, const int64_t*)>(name);
    // Ordinary numbers, and numbers whose squares leave the range of a single at either end.
    for (const float scale : {1.0f, 1e37f, 1e-44f})
        sweep_one<E>([&](int64_t n, int64_t inc, int offset, data kind) {
            if (kind == data::special) return;
            auto values = random_values<E>(n, 1);
            for (E& e : values) e *= scale;
            strided<E> x(n, inc, offset, values);
            long double sum = 0;
            for (const E& e : x.values()) sum += std::norm(std::complex<long double>(e));
            // Squares are exact in double, their sum and its root lose n * 2^-52 at most, and then it is rounded
            // once: to the value between those that the ends of that interval are rounded to.
            const long double exact = std::sqrt(sum), loss = exact * static_cast<long double>(n) * 0x1p-52L;
            const float got = nrm2(&n, x.data(), &inc);
            EXPECT_GE(got, static_cast<float>(exact - loss));
            EXPECT_LE(got, static_cast<float>(exact + loss));
            EXPECT_TRUE(x.untouched());
        });
}

TEST(Level1Norm, SingleNeedsNoScale)
{
    hold_single_norm<float>("snrm2");
    hold_single_norm<C>("scnrm2");
}

TEST(Level1Norm, Edges)
{
    auto* dnrm2 = level1<double(const int64_t*, const double*, const int64_t*)>("dnrm2");
    auto* snrm2 = level1<float(const int64_t*, const float*, const int64_t*)>("snrm2");
    const int64_t one = 1, two = 2, three = 3, zero = 0;
    const double big = std::numeric_limits<double>::max() / 2, tiny = std::numeric_limits<double>::denorm_min();
    const double large[] = {big, big}, small[] = {3 * tiny, 4 * tiny}, nan[] = {0, NAN, 1}, first[] = {NAN, 0};
    EXPECT_EQ(dnrm2(&two, large, &one), big * std::sqrt(2.0));
    EXPECT_EQ(dnrm2(&two, small, &one), 5 * tiny);
    EXPECT_TRUE(std::isnan(dnrm2(&three, nan, &one)));
    EXPECT_TRUE(std::isnan(dnrm2(&two, first, &one)));
    EXPECT_EQ(dnrm2(&one, large, &zero), big);
    EXPECT_EQ(dnrm2(&one, large, nullptr), big); // of one element the stride is not read
    EXPECT_EQ(dnrm2(&zero, nan, &one), 0);
    const float maxed[] = {2e38f, 2e38f}, inf[] = {INFINITY, 1}, also_nan[] = {1, NAN};
    EXPECT_EQ(snrm2(&two, maxed, &one), static_cast<float>(2e38f * std::sqrt(2.0)));
    EXPECT_EQ(snrm2(&two, inf, &one), INFINITY);
    EXPECT_TRUE(std::isnan(snrm2(&two, also_nan, &one)));
}

template <class E>
void hold_extreme(bool largest)
{
    const std::string name = std::string("i") + letter<E>() + (largest ? "amax" : "amin");
    auto* index = level1<int64_t(const int64_t*, const E*, const int64_t*)>(name);
    sweep_one<E>([&](int64_t n, int64_t inc, int offset, data kind) {
        auto values = random_values<E>(n, 1);
        // Small integers tie often; infinities tie too.
        if (kind == data::special)
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i] = E(static_cast<part_t<E>>(i * i % 7 == 3 ? INFINITY : static_cast<double>(i * 5 % 11)) *
                              (i % 2 ? -1 : 1));
        const auto check = [&] {
            strided<E> x(n, inc, offset, values);
            int64_t expected = 1;
            for (int64_t i = 1; i < n; ++i) {
                const auto a = cabs1(x[i]), best = cabs1(x[expected - 1]);
                if (largest ? a > best : a < best) expected = i + 1;
            }
            EXPECT_EQ(index(&n, x.data(), &inc), n < 1 || inc < 1 ? 0 : expected);
            EXPECT_TRUE(x.untouched());
        };
        check();
        // The extreme at each place in turn, twice over where there is room: the first counts.
        if (kind == data::special || inc != 1 || n < 2) return;
        const E extreme = E(static_cast<part_t<E>>(largest ? 100 : 0));
        for (std::size_t i = 0; i < values.size(); i += n > 300 ? 13 : 1) {
            const auto keep = values;
            values[i] = extreme;
            values[(i + 37) % values.size()] = -extreme;
            check();
            values = keep;
        }
    }, {520, 1031, 1300}); // and long enough for the longest blocks
}

TEST(Level1Extreme, FirstOfTheLargestAndSmallest)
{
    for (const bool largest : {true, false}) {
        hold_extreme<float>(largest);
        hold_extreme<double>(largest);
        hold_extreme<C>(largest);
        hold_extreme<Z>(largest);
    }
}

// In a scalar stretch a NaN ahead of the end moves the answer to the last element; at unit stride a NaN inside the
// vector stretch leaves the index as it was ahead of that stretch, unless a scalar stretch follows.
template <class E>
void hold_extreme_nan(const std::string& name)
{
    auto* index = level1<int64_t(const int64_t*, const E*, const int64_t*)>(name);
    const int lanes = 16 / sizeof(part_t<E>);
    for (const int64_t n : {2, 3, 4, 5, 9, 17, 18, 33, 64, 65, 66, 100, 1056})
        for (int64_t nan = 0; nan < n; nan += n > 100 ? 11 : 1) {
            auto values = random_values<E>(n, 1);
            values[static_cast<std::size_t>(nan)] = E(NAN);
            const int64_t two = 2, one = 1;
            EXPECT_EQ(index(&n, strided<E>(n, 2, 0, values).data(), &two), n) << name << " strided, NaN at " << nan;

            for (const int offset : offsets<E>()) {
                if (offset % static_cast<int>(sizeof(part_t<E>)) != 0) continue;
                strided<E> x(n, 1, offset, values);
                // Ahead of the vectors: the first element and, where the next is not on a 16-byte boundary, those
                // up to one, but at most one of complex elements. Off eight bytes complex elements have no vectors.
                const auto off = [&](int64_t i) { return reinterpret_cast<std::uintptr_t>(x.data() + i) & 15; };
                int64_t head = 1;
                while (head < n && off(head) != 0 && !(is_complex<E> && head == 2)) ++head;
                if (is_complex<E> && off(0) % 8 != 0) head = n + 1;
                const int64_t end = n - (n - head) % lanes;
                int64_t expected = n;
                if (end == n && head < n) {
                    // The NaN moved the index to the end of the head, or the head had none.
                    expected = 1;
                    for (int64_t i = 1; i < head; ++i)
                        if (nan <= i || cabs1(values[static_cast<std::size_t>(i)]) >
                                            cabs1(values[static_cast<std::size_t>(expected - 1)]))
                            expected = i + 1;
                }
                EXPECT_EQ(index(&n, x.data(), &one), expected) << name << " n " << n << " NaN at " << nan << " offset "
                                                              << offset;
            }
        }
}

TEST(Level1Extreme, NanMovesToTheEnd)
{
    hold_extreme_nan<float>("isamax");
    hold_extreme_nan<double>("idamax");
    hold_extreme_nan<C>("icamax");
    hold_extreme_nan<Z>("izamax");
}

TEST(Level1Cabs1, BothTypes)
{
    const C c(-3, 4);
    const Z z(-0.5, -INFINITY);
    EXPECT_EQ(level1<float(const C*)>("scabs1")(&c), 7);
    EXPECT_EQ(level1<double(const Z*)>("dcabs1")(&z), INFINITY);
}

} // namespace
} // namespace vrn::test
