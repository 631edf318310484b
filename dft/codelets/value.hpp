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
    VRN_INLINE friend turned<apart> turn(apart a, apart b)
    {
        return {{a.re + b.im, a.im - b.re}, {a.re - b.im, a.im + b.re}};
    }
    // (c - i s) a and (c + i s) a
    VRN_INLINE friend apart times(apart a, vec<R> c, vec<R> s)
    {
        return {c * a.re + s * a.im, c * a.im - s * a.re};
    }
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

// Forward; the backward butterflies are those of the type below.
template <class R, bool Backward = false>
struct together {
    using real = R;
    vec<R> v;
    static constexpr int lanes = vec<R>::lanes / 2;

    VRN_INLINE friend together operator+(together a, together b) { return {a.v + b.v}; }
    VRN_INLINE friend together operator-(together a, together b) { return {a.v - b.v}; }
    VRN_INLINE friend together operator*(double c, together a) { return {vec<R>::all(static_cast<R>(c)) * a.v}; }
    // -i (re, im) = (im, -re)
    VRN_INLINE friend turned<together> turn(together a, together b)
    {
        const vec<R> u = flip_im(swap_parts(b.v));
        if constexpr (Backward) return {{a.v - u}, {a.v + u}};
        else return {{a.v + u}, {a.v - u}};
    }
    // (c - i s) a: the sign goes with the constant.
    VRN_INLINE friend together times(together a, root w)
    {
        const double s = Backward ? -w.sin : w.sin;
        return {vec<R>::all(static_cast<R>(w.cos)) * a.v +
                vec<R>::pair(static_cast<R>(s), static_cast<R>(-s)) * swap_parts(a.v)};
    }
    // By a root from memory: (c c) and (s -s), the forward one.
    VRN_INLINE friend together times(together a, vec<R> c, vec<R> s)
    {
        const vec<R> x = c * a.v, y = s * swap_parts(a.v);
        if constexpr (Backward) return {x - y};
        else return {x + y};
    }
    VRN_INLINE friend together minus_i(together a)
    {
        const vec<R> u = swap_parts(a.v);
        if constexpr (Backward) return {flip_im(swap_parts(flip_im(a.v)))};
        else return {flip_im(u)};
    }
};

} // namespace vrn::dft
