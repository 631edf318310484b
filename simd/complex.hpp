// simd/complex.hpp - complex numbers as they lie in memory, and what vectors of them are multiplied by.
// cplx<R> is a real part followed by an imaginary part and nothing else; vec<R> holds one (double) or two
// (float) of them, interleaved. Products are the four real products of the definition, never fewer.
#pragma once

#include "simd/vec.hpp"

#include <cmath>

namespace vrn::simd {

template <class R>
struct cplx {
    R re, im;
    friend cplx operator+(cplx a, cplx b) { return {a.re + b.re, a.im + b.im}; }
    friend cplx operator-(cplx a, cplx b) { return {a.re - b.re, a.im - b.im}; }
    friend cplx operator*(cplx a, cplx b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
    friend cplx operator*(R a, cplx b) { return {a * b.re, a * b.im}; }
    friend bool operator==(cplx a, cplx b) { return a.re == b.re && a.im == b.im; }
};

template <class R>
cplx<R> conj(cplx<R> a)
{
    return {a.re, -a.im};
}

// |re| + |im|, the magnitude that BLAS orders complex numbers by.
template <class R>
R abs1(cplx<R> a)
{
    return std::fabs(a.re) + std::fabs(a.im);
}

// What an element type is made of.
template <class E>
struct element {
    using real = E;
    static constexpr int parts = 1;
};
template <class R>
struct element<cplx<R>> {
    using real = R;
    static constexpr int parts = 2;
};
template <class E>
using real_of = typename element<E>::real;
template <class E>
inline constexpr E unity = E{1};
template <class R>
inline constexpr cplx<R> unity<cplx<R>> = {1, 0};
// Elements in one vector.
template <class E>
inline constexpr int per_vec = vec<real_of<E>>::lanes / element<E>::parts;

// A fixed factor, ready for vectors and for single elements: f(x) is f times x. Both give the same bits.
template <class E>
struct factor {
    E scalar;
    vec<E> all;
    explicit factor(E a) : scalar(a), all(vec<E>::all(a)) {}
    E operator()(E x) const { return scalar * x; }
    cplx<E> operator()(cplx<E> x) const { return scalar * x; }
    vec<E> operator()(vec<E> x) const { return all * x; }
};

template <class R>
struct factor<cplx<R>> {
    cplx<R> scalar;
    vec<R> re, im; // (a, a) and (-b, b) for a + ib
    explicit factor(cplx<R> a) : scalar(a), re(vec<R>::all(a.re)), im(vec<R>::pair(-a.im, a.im)) {}
    cplx<R> operator()(cplx<R> x) const { return scalar * x; }
    vec<R> operator()(vec<R> x) const { return re * x + im * swap_parts(x); }
};

} // namespace vrn::simd
