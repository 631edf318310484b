// blas/level1/nrm2.hpp - Euclidean norms. Instantiated by nrm2.cpp.
//
// Double precision keeps a running scale, the largest magnitude so far, so that no square overflows or vanishes
// (Dongarra, Du Croz, Hammarling and Hanson, 1988). Single precision needs none: squares are taken in double, where
// those of a single can neither overflow nor vanish.
#pragma once

#include "blas/level1/sums.hpp"

#include <cmath>

namespace vrn::blas {

// scale^2 * ssq is the sum of squares so far. The divide hangs on scale alone, which seldom changes: kept behind
// a predicted branch it stays out of the chain through ssq, and divides overlap.
struct scaled_sum {
    double scale = 0, ssq = 1;
    [[gnu::always_inline]] void add(double value)
    {
        const double ax = std::fabs(value);
        if (ax > scale) [[unlikely]] {
            const double q = scale / ax;
            ssq = 1 + ssq * q * q;
            scale = ax;
        } else if (ax != 0) [[likely]] {
            const double q = ax / scale; // NaN comes here and stays
            ssq = ssq + q * q;
        }
    }
    double norm() const { return scale * __builtin_sqrt(ssq); }
};

// Parts: reals in an element. The stride counts by its magnitude; zero repeats the first element.
template <int Parts>
inline double scaled_norm(vrn_int n, const double* x, vrn_int incx)
{
    const vrn_int step = (incx < 0 ? -incx : incx) * Parts;
    scaled_sum sum;
    for (vrn_int i = 0; i < n; ++i, x += step)
        for (int part = 0; part < Parts; ++part) sum.add(x[part]);
    return sum.norm();
}

inline double nrm2(vrn_int n, const double* x, const vrn_int* incx)
{
    if (n <= 0) return 0;
    if (n == 1) return std::fabs(x[0]);
    return scaled_norm<1>(n, x, *incx);
}

inline double nrm2(vrn_int n, const cplx<double>* x, const vrn_int* incx)
{
    return n <= 0 ? 0 : scaled_norm<2>(n, &x->re, *incx);
}

inline double wide_square(float x)
{
    const double d = x;
    return d * d;
}

struct squares_walk {
    const float* x;
    vec<double>* sums;
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        unroll<Block / 2>([&](auto g) __attribute__((always_inline)) {
            const auto v = vec<double>::widen(x + i + 2 * g);
            sums[g % 8] = sums[g % 8] + v * v;
        });
    }
};

// Unit stride: single elements until x is aligned, then blocks into eight pairs of sums.
[[gnu::always_inline]] inline double sum_of_squares(vrn_int n, const float* x)
{
    using V = vec<double>;
    vrn_int i = 0;
    double single = 0;
    if (place(x) != 0) [[unlikely]]
        for (const vrn_int peel = peel_count(x, n); i < peel; ++i) single += wide_square(x[i]);
    V a[8] = {};
    const bool few = n - i < 16; // then only four of the sums are in use
    i = blocks(steps<32, 16, 8, 4, 2>{}, squares_walk{x, a}, i, n);
    if (i < n) single += wide_square(x[i]);
    V total = (a[0] + a[1]) + (a[2] + a[3]);
    if (!few) total = total + ((a[4] + a[5]) + (a[6] + a[7]));
    return single + total.sum();
}

template <int Parts>
[[gnu::noinline]] float strided_wide_norm(vrn_int n, const float* x, vrn_int incx)
{
    double sum = 0;
    x = incx < 0 ? x + (1 - n) * incx * Parts : x;
    for (vrn_int i = 0; i < n; ++i, x += incx * Parts)
        for (int part = 0; part < Parts; ++part) sum += wide_square(x[part]);
    return static_cast<float>(__builtin_sqrt(sum));
}

template <int Parts>
[[gnu::always_inline]] inline float wide_norm(vrn_int n, const float* x, vrn_int incx)
{
    if ((incx != 1 && incx != -1) || !is_natural(x)) return strided_wide_norm<Parts>(n, x, incx);
    return static_cast<float>(__builtin_sqrt(sum_of_squares(n * Parts, x)));
}

inline float nrm2(vrn_int n, const float* x, const vrn_int* incx) { return n <= 0 ? 0 : wide_norm<1>(n, x, *incx); }

inline float nrm2(vrn_int n, const cplx<float>* x, const vrn_int* incx)
{
    return n <= 0 ? 0 : wide_norm<2>(n, &x->re, *incx);
}

} // namespace vrn::blas
