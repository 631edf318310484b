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
R dot(vrn_int n, const R* x, vrn_int incx, const R* y, vrn_int incy)
{
    if (n < 1) return 0;
    if (incx == 1 && incy == 1)
        return sum_in_four<dot_blocks<R>::unit, vec<R>::lanes>(n, products<R, true>{x, 1, y, 1});
    return sum_in_four<dot_blocks<R>::strided, 0>(
        n, products<R, false>{vector_begin(x, n, incx), incx, vector_begin(y, n, incy), incy});
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

// start + x'y in double.
inline double wide_dot(vrn_int n, double start, const float* x, vrn_int incx, const float* y, vrn_int incy)
{
    constexpr int block = 8;
    four_sums<vec<double>> sums;
    sums.a0 = vec<double>::pair(start, 0);
    if (incx == 1 && incy == 1) return sum_in_four<block, 0>(n, wide_products<true>{x, 1, y, 1}, sums);
    return sum_in_four<block, 0>(
        n, wide_products<false>{vector_begin(x, n, incx), incx, vector_begin(y, n, incy), incy}, sums);
}

inline float sdsdot(vrn_int n, float sb, const float* x, vrn_int incx, const float* y, vrn_int incy)
{
    return n < 1 ? sb : static_cast<float>(wide_dot(n, static_cast<double>(sb), x, incx, y, incy));
}

inline double dsdot(vrn_int n, const float* x, vrn_int incx, const float* y, vrn_int incy)
{
    if (n < 1) return 0;
    // The published loop runs to n * incx in steps of incx.
    if (incx == incy && incx >= 1) n = (n * incx + incx - 1) / incx;
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
cplx<double> dot_of_blocks(vrn_int n, const cplx<double>* x, const cplx<double>* y)
{
    using V = vec<double>;
    const auto *xr = reinterpret_cast<const double*>(x), *yr = reinterpret_cast<const double*>(y);
    four_sums<V> by_re, by_im;
    for (vrn_int i = 0; i < n; i += dot_blocks<cplx<double>>::unit)
        unroll<dot_blocks<cplx<double>>::unit>([&](auto g) __attribute__((always_inline)) {
            const vrn_int at = 2 * (i + g);
            const V v = V::loadu(xr + at);
            by_re.template add<g>(v * V::all_at(yr + at));
            by_im.template add<g>(v * V::all_at(yr + at + 1));
        });
    const V re = by_re.total(), im = by_im.total();
    return joined<Conjugate>(cplx<double>{re.lane(0), re.lane(1)}, cplx<double>{im.lane(0), im.lane(1)});
}

// Two numbers in a vector: x by y gives re re and im im, x by y with its parts swapped re im and im re.
template <bool Conjugate>
cplx<float> dot_of_blocks(vrn_int n, const cplx<float>* x, const cplx<float>* y)
{
    using V = vec<float>;
    const auto *xr = reinterpret_cast<const float*>(x), *yr = reinterpret_cast<const float*>(y);
    four_sums<V> straight, crossed;
    for (vrn_int i = 0; i < n; i += dot_blocks<cplx<float>>::unit)
        unroll<dot_blocks<cplx<float>>::unit / 2>([&](auto g) __attribute__((always_inline)) {
            const vrn_int at = 2 * (i + 2 * g);
            const V v = V::loadu(xr + at), w = V::loadu(yr + at);
            straight.template add<g>(v * w);
            crossed.template add<g>(v * swap_parts(w));
        });
    // (re re, im im) and (re im, im re) of all lanes.
    const V s = straight.total(), c = crossed.total();
    const V same = s + upper_half(s), cross = c + upper_half(c);
    return joined<Conjugate>(cplx<float>{same.lane(0), cross.lane(1)}, cplx<float>{cross.lane(0), same.lane(1)});
}

template <bool Conjugate, class R>
cplx<R> complex_dot(vrn_int n, const cplx<R>* x, vrn_int incx, const cplx<R>* y, vrn_int incy)
{
    cplx<R> sum{0, 0};
    if (n < 1) return sum;
    vrn_int i = 0;
    if (incx == 1 && incy == 1) {
        i = n - n % dot_blocks<cplx<R>>::unit;
        if (i != 0) sum = dot_of_blocks<Conjugate>(i, x, y);
    }
    x = vector_begin(x, n, incx);
    y = vector_begin(y, n, incy);
    for (; i < n; ++i) sum = sum + (Conjugate ? conj(x[i * incx]) : x[i * incx]) * y[i * incy];
    return sum;
}

} // namespace vrn::blas
