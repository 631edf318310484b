// blas/gemm/planes.hpp - a block of complex numbers as planes of reals, and back.
// Four numbers a turn are taken apart by two shuffles. Shared by the products by three multiplications and the
// mixed ones.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::blas::planes {

using simd::cplx;
using simd::vec;
using vrn_int = std::int64_t;

template <class R>
struct halves {
    vec<R> re, im;
};

// As many numbers as a vector has lanes.
inline halves<float> apart(vec<float> low, vec<float> high)
{
    return {{_mm_shuffle_ps(low.v, high.v, 0x88)}, {_mm_shuffle_ps(low.v, high.v, 0xdd)}};
}
inline halves<double> apart(vec<double> low, vec<double> high)
{
    return {{_mm_unpacklo_pd(low.v, high.v)}, {_mm_unpackhi_pd(low.v, high.v)}};
}
inline halves<float> together(halves<float> x) // low and high
{
    return {{_mm_unpacklo_ps(x.re.v, x.im.v)}, {_mm_unpackhi_ps(x.re.v, x.im.v)}};
}
inline halves<double> together(halves<double> x)
{
    return {{_mm_unpacklo_pd(x.re.v, x.im.v)}, {_mm_unpackhi_pd(x.re.v, x.im.v)}};
}

// n numbers through f, for vectors of them and for single ones, to put(at, halves) and put(at, number).
template <class R, class Factor, class Put>
[[gnu::always_inline]] inline void split(vrn_int n, const cplx<R>* x, Factor f, Put&& put)
{
    using V = vec<R>;
    constexpr int lanes = V::lanes;
    const auto turn = [&](vrn_int i) { put(i, apart(f(V::loadu(&x[i].re)), f(V::loadu(&x[i + lanes / 2].re)))); };
    vrn_int i = 0;
    for (; i + 4 <= n; i += 4)
        for (int at = 0; at < 4; at += lanes) turn(i + at);
    for (; i < n; ++i) put(i, f(x[i]));
}

// n numbers from two planes; store(place, old, new) is given vectors of numbers and single ones, and says what the
// new value of c is. With Read false c is not read.
template <bool Read, class R, class Update>
[[gnu::always_inline]] inline void merge(vrn_int n, const R* re, const R* im, cplx<R>* c, Update&& update)
{
    using V = vec<R>;
    constexpr int lanes = V::lanes;
    const auto half = [&](vrn_int i, V sum) {
        R* p = &c[i].re;
        update(Read ? V::loadu(p) : V::zero(), sum).storeu(p);
    };
    vrn_int i = 0;
    for (; i + 4 <= n; i += 4)
        for (int at = 0; at < 4; at += lanes) {
            const halves<R> both = together({V::loadu(re + i + at), V::loadu(im + i + at)});
            half(i + at, both.re);
            half(i + at + lanes / 2, both.im);
        }
    for (; i < n; ++i) c[i] = update(Read ? c[i] : cplx<R>{}, cplx<R>{re[i], im[i]});
}

} // namespace vrn::blas::planes
