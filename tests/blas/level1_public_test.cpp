// tests/blas/level1_public_test.cpp - the public level 1, in both integer widths, against the published behaviour:
// nothing for n < 1, strides of either sign, nothing or zero for strides below one where the published routine has
// it so. What the kernels compute is tested beside them.
#include "vrn/blas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

// The routine in both widths, as (function, a value of its integer type).
#define BOTH(name) std::pair(&vrn_blas_##name, &vrn_blas_lp64_##name)

template <class Wide, class Narrow, class Body>
void in_both_widths(std::pair<Wide*, Narrow*> entries, Body body)
{
    {
        SCOPED_TRACE("64-bit integers");
        body(entries.first, std::int64_t{});
    }
    SCOPED_TRACE("32-bit integers");
    body(entries.second, std::int32_t{});
}

bool equal(vrn_complex8 a, float re, float im) { return a.real == re && a.imag == im; }
bool equal(vrn_complex16 a, double re, double im) { return a.real == re && a.imag == im; }

template <class Entries, class R>
void hold_real_axpy(Entries entries, R)
{
    in_both_widths(entries, [](auto axpy, auto integer) {
        using I = decltype(integer);
        const I n = 3, none = 0, negative = -4, one = 1, minus_two = -2;
        const R alpha = 2, x[] = {1, 2, 3};
        R y[] = {10, 0, 20, 0, 30};
        axpy(&none, &alpha, x, &one, y, &one);
        axpy(&negative, &alpha, x, &one, y, &one);
        EXPECT_EQ(y[0], 10);
        axpy(&n, &alpha, x, &one, y, &minus_two); // y begins at its far end
        const R expected[] = {16, 0, 24, 0, 32};
        for (int i = 0; i < 5; ++i) EXPECT_EQ(y[i], expected[i]) << i;
    });
}

TEST(Level1Public, Axpy)
{
    hold_real_axpy(BOTH(saxpy), float{});
    hold_real_axpy(BOTH(daxpy), double{});
    in_both_widths(BOTH(zaxpy), [](auto axpy, auto integer) {
        const decltype(integer) n = 1, one = 1;
        const vrn_complex16 alpha{0, 1}, x{2, 3};
        vrn_complex16 y{10, 20};
        axpy(&n, &alpha, &x, &one, &y, &one);
        EXPECT_TRUE(equal(y, 7, 22));
    });
    in_both_widths(BOTH(caxpy), [](auto axpy, auto integer) {
        const decltype(integer) n = 1, one = 1;
        const vrn_complex8 alpha{0, 1}, x{2, 3};
        vrn_complex8 y{10, 20};
        axpy(&n, &alpha, &x, &one, &y, &one);
        EXPECT_TRUE(equal(y, 7, 22));
    });
}

TEST(Level1Public, AxpbyWithBetaZeroDoesNotRead)
{
    in_both_widths(BOTH(daxpby), [](auto axpby, auto integer) {
        const decltype(integer) n = 2, one = 1;
        const double alpha = 2, zero = 0, half = 0.5, x[] = {1, 2};
        double y[] = {NAN, NAN};
        axpby(&n, &alpha, x, &one, &zero, y, &one);
        EXPECT_EQ(y[1], 4);
        axpby(&n, &alpha, x, &one, &half, y, &one);
        EXPECT_EQ(y[0], 3);
        EXPECT_EQ(y[1], 6);
    });
}

TEST(Level1Public, CopyAndSwap)
{
    in_both_widths(BOTH(ccopy), [](auto copy, auto integer) {
        const decltype(integer) n = 2, one = 1, back = -1;
        const vrn_complex8 x[] = {{1, 2}, {3, 4}};
        vrn_complex8 y[2] = {};
        copy(&n, x, &one, y, &back);
        EXPECT_TRUE(equal(y[0], 3, 4) && equal(y[1], 1, 2));
    });
    in_both_widths(BOTH(dswap), [](auto swap, auto integer) {
        const decltype(integer) n = 2, two = 2, back = -1, none = -1;
        double x[] = {1, -1, 2}, y[] = {3, 4};
        swap(&none, x, &two, y, &back);
        EXPECT_EQ(x[0], 1);
        swap(&n, x, &two, y, &back);
        EXPECT_EQ(x[0], 4);
        EXPECT_EQ(x[1], -1);
        EXPECT_EQ(x[2], 3);
        EXPECT_EQ(y[0], 2);
        EXPECT_EQ(y[1], 1);
    });
}

// Published scal does nothing for a stride below one.
template <class Entries, class R>
void hold_real_scal(Entries entries, R)
{
    in_both_widths(entries, [](auto scal, auto integer) {
        using I = decltype(integer);
        const I n = 2, none = 0, one = 1, zero = 0, back = -1;
        const R alpha = 3;
        R x[] = {1, 2};
        scal(&n, &alpha, x, &zero);
        scal(&n, &alpha, x, &back);
        scal(&none, &alpha, x, &one);
        EXPECT_EQ(x[0], 1);
        EXPECT_EQ(x[1], 2);
        scal(&n, &alpha, x, &one);
        EXPECT_EQ(x[0], 3);
        EXPECT_EQ(x[1], 6);
    });
}

TEST(Level1Public, Scal)
{
    hold_real_scal(BOTH(sscal), float{});
    hold_real_scal(BOTH(dscal), double{});
    in_both_widths(BOTH(zdscal), [](auto scal, auto integer) {
        const decltype(integer) n = 2, two = 2, back = -2;
        const double alpha = 3;
        vrn_complex16 x[] = {{1, 2}, {7, 7}, {3, 4}};
        scal(&n, &alpha, x, &back);
        EXPECT_TRUE(equal(x[0], 1, 2));
        scal(&n, &alpha, x, &two);
        EXPECT_TRUE(equal(x[0], 3, 6) && equal(x[1], 7, 7) && equal(x[2], 9, 12));
    });
    in_both_widths(BOTH(cscal), [](auto scal, auto integer) {
        const decltype(integer) n = 1, one = 1, zero = 0;
        const vrn_complex8 i{0, 1};
        vrn_complex8 x{1, 2};
        scal(&n, &i, &x, &zero);
        EXPECT_TRUE(equal(x, 1, 2));
        scal(&n, &i, &x, &one);
        EXPECT_TRUE(equal(x, -2, 1));
    });
}

TEST(Level1Public, Dots)
{
    in_both_widths(BOTH(ddot), [](auto dot, auto integer) {
        const decltype(integer) n = 3, none = 0, one = 1, back = -1;
        const double x[] = {1, 2, 3}, y[] = {4, 5, 6};
        EXPECT_EQ(dot(&n, x, &one, y, &one), 32);
        EXPECT_EQ(dot(&n, x, &one, y, &back), 28);
        EXPECT_EQ(dot(&none, x, &one, y, &one), 0);
    });
    in_both_widths(BOTH(sdot), [](auto dot, auto integer) {
        const decltype(integer) n = 2, two = 2, one = 1;
        const float x[] = {1, 9, 3}, y[] = {4, 5};
        EXPECT_EQ(dot(&n, x, &two, y, &one), 19);
    });
    in_both_widths(BOTH(dsdot), [](auto dot, auto integer) {
        const decltype(integer) n = 2, one = 1;
        const float x[] = {1e30f, 1}, y[] = {1e30f, 1};
        EXPECT_EQ(dot(&n, x, &one, y, &one), double{1e30f} * double{1e30f} + 1); // beyond a single
    });
    in_both_widths(BOTH(sdsdot), [](auto dot, auto integer) {
        const decltype(integer) n = 1, none = -1, one = 1;
        const float sb = 5, x = 2, y = 3;
        EXPECT_EQ(dot(&n, &sb, &x, &one, &y, &one), 11);
        EXPECT_EQ(dot(&none, &sb, &x, &one, &y, &one), 5);
    });
}

// (1 + 2i)(3 + 4i) = -5 + 10i, its conjugate twin 11 - 2i; and nothing left in the result from before.
template <class Entries, class E>
void hold_complex_dot(Entries entries, E result, double re, double im)
{
    in_both_widths(entries, [=](auto dot, auto integer) mutable {
        using I = decltype(integer);
        const I n = 2, none = 0, one = 1, back = -1;
        const E x[] = {{1, 2}, {0, 1}}, y[] = {{0, 1}, {3, 4}};
        const double unit = im < 0 ? 1 : -1; // conj(i) i or i i
        dot(&result, &n, x, &one, y, &back);
        EXPECT_EQ(result.real, re + unit);
        EXPECT_EQ(result.imag, im);
        dot(&result, &none, x, &one, y, &one);
        EXPECT_EQ(result.real, 0);
        EXPECT_EQ(result.imag, 0);
    });
}

TEST(Level1Public, ComplexDots)
{
    hold_complex_dot(BOTH(cdotu), vrn_complex8{9, 9}, -5, 10);
    hold_complex_dot(BOTH(cdotc), vrn_complex8{9, 9}, 11, -2);
    hold_complex_dot(BOTH(zdotu), vrn_complex16{9, 9}, -5, 10);
    hold_complex_dot(BOTH(zdotc), vrn_complex16{9, 9}, 11, -2);
}

// Zero for n < 1, and for a stride below one but for norms, which take its magnitude and repeat one element for zero.
template <class Entries, class E>
void hold_reduction(Entries entries, const E* x, double expected, double back_expected = 0, double zero_expected = 0)
{
    in_both_widths(entries, [=](auto reduce, auto integer) {
        using I = decltype(integer);
        const I n = 2, none = 0, two = 2, back = -2, zero = 0;
        EXPECT_EQ(static_cast<double>(reduce(&n, x, &two)), expected);
        EXPECT_EQ(reduce(&none, x, &two), 0);
        EXPECT_FLOAT_EQ(static_cast<float>(reduce(&n, x, &zero)), static_cast<float>(zero_expected));
        EXPECT_EQ(static_cast<double>(reduce(&n, x, &back)), back_expected);
    });
}

TEST(Level1Public, Reductions)
{
    const float s[] = {-3, NAN, 4};
    const double d[] = {-3, NAN, 4};
    const vrn_complex8 c[] = {{1, -1}, {NAN, 0}, {-3, 5}};
    const vrn_complex16 z[] = {{1, -1}, {NAN, 0}, {-3, 5}};
    hold_reduction(BOTH(snrm2), s, 5, 5, 3 * std::sqrt(2.0));
    hold_reduction(BOTH(dnrm2), d, 5, 5, 3 * std::sqrt(2.0));
    hold_reduction(BOTH(scnrm2), c, 6, 6, 2);
    hold_reduction(BOTH(dznrm2), z, 6, 6, 2);
    hold_reduction(BOTH(sasum), s, 7);
    hold_reduction(BOTH(dasum), d, 7);
    hold_reduction(BOTH(scasum), c, 10);
    hold_reduction(BOTH(dzasum), z, 10);
    hold_reduction(BOTH(isamax), s, 2);
    hold_reduction(BOTH(idamax), d, 2);
    hold_reduction(BOTH(icamax), c, 2);
    hold_reduction(BOTH(izamax), z, 2);
    hold_reduction(BOTH(isamin), s, 1);
    hold_reduction(BOTH(idamin), d, 1);
    hold_reduction(BOTH(icamin), c, 1);
    hold_reduction(BOTH(izamin), z, 1);
}

TEST(Level1Public, Rotations)
{
    in_both_widths(BOTH(drot), [](auto rot, auto integer) {
        const decltype(integer) n = 2, one = 1, back = -1, none = 0;
        const double c = 0, s = 1;
        double x[] = {1, 2}, y[] = {3, 4};
        rot(&none, x, &one, y, &one, &c, &s);
        EXPECT_EQ(x[0], 1);
        rot(&n, x, &one, y, &back, &c, &s); // (x, y) -> (y, -x), y from its far end
        EXPECT_EQ(x[0], 4);
        EXPECT_EQ(x[1], 3);
        EXPECT_EQ(y[0], -2);
        EXPECT_EQ(y[1], -1);
    });
    in_both_widths(BOTH(zrot), [](auto rot, auto integer) {
        const decltype(integer) n = 1, one = 1;
        const double c = 0;
        const vrn_complex16 s{0, 1};
        vrn_complex16 x{1, 2}, y{3, 4};
        rot(&n, &x, &one, &y, &one, &c, &s); // (i y, -conj(i) x) = (i y, i x)
        EXPECT_TRUE(equal(x, -4, 3));
        EXPECT_TRUE(equal(y, -2, 1));
    });
    in_both_widths(BOTH(csrot), [](auto rot, auto integer) {
        const decltype(integer) n = 1, one = 1;
        const float c = 2, s = 1;
        vrn_complex8 x{1, 2}, y{3, 4};
        rot(&n, &x, &one, &y, &one, &c, &s);
        EXPECT_TRUE(equal(x, 5, 8));
        EXPECT_TRUE(equal(y, 5, 6));
    });
}

TEST(Level1Public, Cabs1)
{
    const vrn_complex8 c{-3, 4};
    const vrn_complex16 z{-3, 4};
    EXPECT_EQ(vrn_blas_scabs1(&c), 7);
    EXPECT_EQ(vrn_blas_lp64_scabs1(&c), 7);
    EXPECT_EQ(vrn_blas_dcabs1(&z), 7);
    EXPECT_EQ(vrn_blas_lp64_dcabs1(&z), 7);
}

} // namespace
