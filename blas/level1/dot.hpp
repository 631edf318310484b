// blas/level1/dot.hpp - sums of products, real and complex. Instantiated by dot.cpp.
//
// Real: the four accumulators of sums.hpp. Single vectors summed in double: the same in pairs, so that each product
// is exact and rounding enters only through the sum. Complex: twice four accumulators, of x by the parts of y;
// conjugation is a matter of signs when they are put together, so both products run the same loop.
#pragma once

#include "blas/level1/sums.hpp"

namespace vrn::blas {

template <class E>
struct dot_blocks;
template <>
struct dot_blocks<double> {
    static constexpr int unit = 32, strided = 8;
};
template <>
struct dot_blocks<float> {
    static constexpr int unit = 64, strided = 8;
};
template <>
struct dot_blocks<cplx<float>> {
    static constexpr int unit = 32;
};
template <>
struct dot_blocks<cplx<double>> {
    static constexpr int unit = 8;
};

template <class R, bool Unit>
struct products {
    using V = vec<R>;
    static constexpr int per_group = V::lanes;
    const R* x;
    vrn_int incx;
    const R* y;
    vrn_int incy;
    [[gnu::always_inline]] V group(vrn_int i) const
    {
        if constexpr (Unit) return V::loadu(x + i) * V::loadu(y + i);
        return V::gather(x + i * incx, incx) * V::gather(y + i * incy, incy);
    }
    [[gnu::always_inline]] R single(vrn_int i) const
    {
        if constexpr (Unit) return x[i] * y[i];
        return x[i * incx] * y[i * incy];
    }
};

template <class R>
[[gnu::noinline]] R strided_dot(vrn_int n, const R* x, vrn_int incx, const R* y, vrn_int incy)
{
    return sum_in_four<dot_blocks<R>::strided, 0>(
        n, products<R, false>{vector_begin(x, n, incx), incx, vector_begin(y, n, incy), incy});
}

template <class R>
[[gnu::always_inline]] inline R dot(vrn_int n, const R* x, vrn_int incx, const R* y, vrn_int incy)
{
    if (n < 1) return 0;
    if (incx != 1 || incy != 1) return strided_dot(n, x, incx, y, incy);
    return sum_in_four<dot_blocks<R>::unit, vec<R>::lanes>(n, products<R, true>{x, 1, y, 1});
}

template <bool Unit>
struct wide_products {
    using V = vec<double>;
    static constexpr int per_group = 2;
    const float* x;
    vrn_int incx;
    const float* y;
    vrn_int incy;
    [[gnu::always_inline]] V group(vrn_int i) const
    {
        if constexpr (Unit) return V::widen(x + i) * V::widen(y + i);
        return V::widen(x + i * incx, incx) * V::widen(y + i * incy, incy);
    }
    [[gnu::always_inline]] double single(vrn_int i) const
    {
        return static_cast<double>(x[i * incx]) * static_cast<double>(y[i * incy]);
    }
};

inline four_sums<vec<double>> sums_from(double start)
{
    four_sums<vec<double>> sums;
    sums.a0 = vec<double>::pair(start, 0);
    return sums;
}

inline constexpr int wide_dot_block = 8;

[[gnu::noinline]] inline double strided_wide_dot(vrn_int n, double start, const float* x, vrn_int incx,
                                                 const float* y, vrn_int incy)
{
    return sum_in_four<wide_dot_block, 0>(
        n, wide_products<false>{vector_begin(x, n, incx), incx, vector_begin(y, n, incy), incy}, sums_from(start));
}

// start + x'y in double.
[[gnu::always_inline]] inline double wide_dot(vrn_int n, double start, const float* x, vrn_int incx, const float* y,
                                              vrn_int incy)
{
    if (incx != 1 || incy != 1) return strided_wide_dot(n, start, x, incx, y, incy);
    return sum_in_four<wide_dot_block, 0>(n, wide_products<true>{x, 1, y, 1}, sums_from(start));
}

[[gnu::always_inline]] inline float sdsdot(vrn_int n, float sb, const float* x, vrn_int incx, const float* y,
                                           vrn_int incy)
{
    return n < 1 ? sb : static_cast<float>(wide_dot(n, static_cast<double>(sb), x, incx, y, incy));
}

[[gnu::always_inline]] inline double dsdot(vrn_int n, const float* x, vrn_int incx, const float* y, vrn_int incy)
{
    if (n < 1) return 0;
    // The published loop runs to n * incx in steps of incx.
    if (incx == incy && incx > 1) n = (n * incx + incx - 1) / incx;
    return wide_dot(n, 0, x, incx, y, incy);
}

// How the parts of sum(x * re y) and sum(x * im y) make the product of complex vectors.
template <bool Conjugate, class R>
cplx<R> joined(cplx<R> by_re, cplx<R> by_im)
{
    if constexpr (Conjugate) return {by_re.re + by_im.im, by_im.re - by_re.im};
    return {by_re.re - by_im.im, by_im.re + by_re.im};
}

template <bool Conjugate>
[[gnu::always_inline]] inline cplx<double> unit_dot(vrn_int n, const cplx<double>* x, const cplx<double>* y)
{
    using V = vec<double>;
    constexpr int block = dot_blocks<cplx<double>>::unit;
    const double *xr = &x->re, *yr = &y->re;
    four_sums<V> by_re, by_im;
    const auto meet = [&](auto turn, vrn_int i) __attribute__((always_inline)) {
        const V v = V::loadu(xr + 2 * i);
        by_re.template add<turn>(v * V::all_at(yr + 2 * i));
        by_im.template add<turn>(v * V::all_at(yr + 2 * i + 1));
    };
    vrn_int i = 0;
    for (; n - i >= block; i += block)
        unroll<block>([&](auto g) __attribute__((always_inline)) { meet(g, i + g); });
    for (; i < n; ++i) meet(std::integral_constant<int, 0>{}, i);
    const V re = by_re.total(), im = by_im.total();
    return joined<Conjugate>(cplx<double>{re.lane(0), re.lane(1)}, cplx<double>{im.lane(0), im.lane(1)});
}

// Two numbers in a vector: x by y gives re re and im im, x by y with its parts swapped re im and im re.
template <bool Conjugate>
[[gnu::always_inline]] inline cplx<float> unit_dot(vrn_int n, const cplx<float>* x, const cplx<float>* y)
{
    using V = vec<float>;
    constexpr int block = dot_blocks<cplx<float>>::unit;
    const float *xr = &x->re, *yr = &y->re;
    four_sums<V> straight, crossed;
    const auto meet = [&](auto turn, V v, V w) __attribute__((always_inline)) {
        straight.template add<turn>(v * w);
        crossed.template add<turn>(v * swap_parts(w));
    };
    vrn_int i = 0;
    for (; n - i >= block; i += block)
        unroll<block / 2>([&](auto g) __attribute__((always_inline)) {
            meet(g, V::loadu(xr + 2 * i + 4 * g), V::loadu(yr + 2 * i + 4 * g));
        });
    // Single numbers fill the lower half.
    for (; i < n; ++i) meet(std::integral_constant<int, 0>{}, V::load2(xr + 2 * i), V::load2(yr + 2 * i));
    const V s = straight.total(), c = crossed.total();
    const V same = s + upper_half(s), cross = c + upper_half(c);
    return joined<Conjugate>(cplx<float>{same.lane(0), cross.lane(1)}, cplx<float>{cross.lane(0), same.lane(1)});
}

template <bool Conjugate, class R>
[[gnu::noinline]] cplx<R> strided_complex_dot(vrn_int n, const cplx<R>* x, vrn_int incx, const cplx<R>* y,
                                              vrn_int incy)
{
    x = vector_begin(x, n, incx);
    y = vector_begin(y, n, incy);
    cplx<R> sum{0, 0};
    for (; n > 0; --n, x += incx, y += incy) sum = sum + (Conjugate ? conj(*x) : *x) * *y;
    return sum;
}

template <bool Conjugate, class R>
[[gnu::always_inline]] inline cplx<R> complex_dot(vrn_int n, const cplx<R>* x, vrn_int incx, const cplx<R>* y,
                                                  vrn_int incy)
{
    if (n < 1) return {0, 0};
    if (incx != 1 || incy != 1) return strided_complex_dot<Conjugate>(n, x, incx, y, incy);
    return unit_dot<Conjugate>(n, x, y);
}

} // namespace vrn::blas
