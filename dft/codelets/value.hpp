// dft/codelets/value.hpp - complex values in vectors, in the two forms that butterflies are written over.
//
//     apart<R>      (re re ..) and (im im ..): one transform a lane. A quarter turn costs nothing and a product by a
//                   root 4 multiplications and 2 additions for all lanes; forming it from interleaved data costs.
//     together<R>   (re im ..): one complex value in double, two in single. A quarter turn is a shuffle and a flip of
//                   sign, a product by a root 2 multiplications, 1 addition, 1 shuffle. Loads and stores are plain.
//
// Additions and shuffles share two ports where multiplications have their own: what is counted below is those.
// Long transforms work apart, short and batched ones together.
#pragma once

#include "dft/codelets/roots.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

namespace vrn::dft {

#define VRN_INLINE [[gnu::always_inline]] inline
// On lambdas: their bodies, too, are part of the kernel that writes them.
#define VRN_HERE __attribute__((always_inline))

using simd::held;
using simd::unroll;
using simd::vec;

// The sum and the difference of a and a quarter turn of b: a - i b and a + i b.
template <class C>
struct turned {
    C minus, plus;
};

template <class R>
struct apart {
    using real = R;
    vec<R> re, im;
    static constexpr int lanes = vec<R>::lanes;

    VRN_INLINE friend apart operator+(apart a, apart b) { return {a.re + b.re, a.im + b.im}; }
    VRN_INLINE friend apart operator-(apart a, apart b) { return {a.re - b.re, a.im - b.im}; }
    VRN_INLINE friend apart operator*(double c, apart a)
    {
        const vec<R> k = vec<R>::all(static_cast<R>(c));
        return {k * a.re, k * a.im};
    }
    VRN_INLINE friend apart scaled(vec<R> k, apart a) { return {k * a.re, k * a.im}; }
    VRN_INLINE friend turned<apart> turn(apart a, apart b)
    {
        return {{a.re + b.im, a.im - b.re}, {a.re - b.im, a.im + b.re}};
    }
    // (c - i s) a and (c + i s) a
    VRN_INLINE friend apart times(apart a, vec<R> c, vec<R> s) { return {c * a.re + s * a.im, c * a.im - s * a.re}; }
    VRN_INLINE friend apart times_conj(apart a, vec<R> c, vec<R> s)
    {
        return {c * a.re - s * a.im, c * a.im + s * a.re};
    }
    VRN_INLINE friend apart times(apart a, root w)
    {
        return times(a, vec<R>::all(static_cast<R>(w.cos)), vec<R>::all(static_cast<R>(w.sin)));
    }
    VRN_INLINE friend apart minus_i(apart a) { return {a.im, vec<R>::zero() - a.re}; }
};

VRN_INLINE vec<double> flip_im(vec<double> a)
{
    return {_mm_xor_pd(a.v, _mm_castsi128_pd(_mm_set_epi64x(INT64_MIN, 0)))};
}
VRN_INLINE vec<float> flip_im(vec<float> a)
{
    return {_mm_xor_ps(a.v, _mm_castsi128_ps(_mm_set_epi32(INT32_MIN, 0, INT32_MIN, 0)))};
}

// pshufd, where the shuffle of doubles would want a copy of its operand first.
VRN_INLINE vec<double> exchanged(vec<double> a)
{
    return {_mm_castsi128_pd(_mm_shuffle_epi32(_mm_castpd_si128(a.v), 0x4e))};
}
VRN_INLINE vec<float> exchanged(vec<float> a)
{
    return {_mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(a.v), 0xb1))};
}

// Forward; the backward butterflies are those of the type below.
template <class R, bool Backward = false>
struct together {
    using real = R;
    vec<R> v;
    static constexpr int lanes = vec<R>::lanes / 2;

    VRN_INLINE friend together operator+(together a, together b) { return {a.v + b.v}; }
    VRN_INLINE friend together operator-(together a, together b) { return {a.v - b.v}; }
    VRN_INLINE friend together operator*(double c, together a) { return {vec<R>::all(static_cast<R>(c)) * a.v}; }
    VRN_INLINE friend together scaled(vec<R> k, together a) { return {k * a.v}; }
    // -i (re, im) = (im, -re)
    VRN_INLINE friend turned<together> turn(together a, together b)
    {
        const vec<R> u = flip_im(exchanged(b.v));
        if constexpr (Backward) return {{a.v - u}, {a.v + u}};
        else return {{a.v + u}, {a.v - u}};
    }
    // (c - i s) a: the sign goes with the constant.
    VRN_INLINE friend together times(together a, root w)
    {
        const double s = Backward ? -w.sin : w.sin;
        return {vec<R>::all(static_cast<R>(w.cos)) * a.v +
                vec<R>::pair(static_cast<R>(s), static_cast<R>(-s)) * exchanged(a.v)};
    }
    // By a root from memory: (c c) and (s -s), the forward one.
    VRN_INLINE friend together times(together a, vec<R> c, vec<R> s)
    {
        const vec<R> x = c * a.v, y = s * exchanged(a.v);
        if constexpr (Backward) return {x - y};
        else return {x + y};
    }
    VRN_INLINE friend together minus_i(together a)
    {
        if constexpr (Backward) return {exchanged(flip_im(a.v))};
        else return {flip_im(exchanged(a.v))};
    }
};

// Products of interleaved values that both come from memory.
VRN_INLINE vec<double> complex_product(vec<double> a, vec<double> b)
{
    const vec<double> re{_mm_unpacklo_pd(b.v, b.v)}, im{_mm_unpackhi_pd(b.v, b.v)};
    return add_sub(re * a, im * exchanged(a));
}
VRN_INLINE vec<float> complex_product(vec<float> a, vec<float> b)
{
    const vec<float> re{_mm_moveldup_ps(b.v)}, im{_mm_movehdup_ps(b.v)};
    return add_sub(re * a, im * exchanged(a));
}

// x[i] := a[i] b[i] for `count` interleaved complex values.
template <class R>
inline void multiply(R* x, const R* a, const R* b, std::int64_t count)
{
    constexpr int each = vec<R>::lanes / 2;
    std::int64_t i = 0;
    for (; i + each <= count; i += each)
        complex_product(vec<R>::loadu(a + 2 * i), vec<R>::loadu(b + 2 * i)).storeu(x + 2 * i);
    for (; i < count; ++i) {
        const R re = a[2 * i] * b[2 * i] - a[2 * i + 1] * b[2 * i + 1];
        const R im = a[2 * i] * b[2 * i + 1] + a[2 * i + 1] * b[2 * i];
        x[2 * i] = re, x[2 * i + 1] = im;
    }
}

} // namespace vrn::dft
