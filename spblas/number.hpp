// spblas/number.hpp - elements of the sparse kernels: one number, or a strip of a row of a dense matrix.
// Kernels that treat the columns of a dense operand alike are written once, over what get() and put() hand them:
// `column` gives single elements (a vector, or a column of a matrix by either layout), `strip` the vectors of a few
// neighbouring columns of a row, `bundle` those of a few columns of a matrix by columns. An element's bits do not
// depend on which of them computes it.
#pragma once

#include "simd/complex.hpp"
#include "simd/unroll.hpp"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vrn::spblas {

using simd::cplx;
using simd::factor;
using simd::per_vec;
using simd::real_of;
using simd::unity;
using simd::vec;

template <class R>
inline constexpr bool is_complex = false;
template <class R>
inline constexpr bool is_complex<cplx<R>> = true;

template <class R>
cplx<R> operator-(cplx<R> a)
{
    return {-a.re, -a.im};
}

// Smith (1962): scaled by the larger part of b, so that squares neither overflow nor vanish.
template <class R>
[[gnu::noinline]] cplx<R> operator/(cplx<R> a, cplx<R> b)
{
    if (std::fabs(b.re) >= std::fabs(b.im)) {
        const R ratio = b.im / b.re, size = b.re + b.im * ratio;
        return {(a.re + a.im * ratio) / size, (a.im - a.re * ratio) / size};
    }
    const R ratio = b.re / b.im, size = b.re * ratio + b.im;
    return {(a.re * ratio + a.im) / size, (a.im * ratio - a.re) / size};
}

template <bool Conjugate, class T>
[[gnu::always_inline]] inline T conj_if(T a)
{
    if constexpr (Conjugate && is_complex<T>) return simd::conj(a);
    else return a;
}

// V vectors of neighbouring elements.
template <class T, int V>
struct wide {
    vec<real_of<T>> v[V];
    [[gnu::always_inline]] friend wide operator+(wide a, const wide& b)
    {
        simd::unroll<V>([&](auto i) { a.v[i] = a.v[i] + b.v[i]; });
        return a;
    }
    [[gnu::always_inline]] friend wide operator-(wide a, const wide& b)
    {
        simd::unroll<V>([&](auto i) { a.v[i] = a.v[i] - b.v[i]; });
        return a;
    }
    [[gnu::always_inline]] friend wide operator*(T t, wide a)
    {
        const factor<T> f(t);
        simd::unroll<V>([&](auto i) { a.v[i] = f(a.v[i]); });
        return a;
    }
    [[gnu::always_inline]] friend wide operator/(wide a, T d)
    {
        if constexpr (std::is_same_v<T, double>) {
            simd::unroll<V>([&](auto i) { a.v[i].v = _mm_div_pd(a.v[i].v, _mm_set1_pd(d)); });
        } else if constexpr (std::is_same_v<T, float>) {
            simd::unroll<V>([&](auto i) { a.v[i].v = _mm_div_ps(a.v[i].v, _mm_set1_ps(d)); });
        } else {
            T x[per_vec<T>];
            simd::unroll<V>([&](auto i) {
                a.v[i].storeu(&x[0].re);
                for (T& e : x) e = e / d;
                a.v[i] = vec<real_of<T>>::loadu(&x[0].re);
            });
        }
        return a;
    }
};

// The elements of N columns in one row of a matrix by columns.
template <class T, int N>
struct several {
    T e[N];
    [[gnu::always_inline]] friend several operator+(several a, const several& b)
    {
        simd::unroll<N>([&](auto i) { a.e[i] = a.e[i] + b.e[i]; });
        return a;
    }
    [[gnu::always_inline]] friend several operator-(several a, const several& b)
    {
        simd::unroll<N>([&](auto i) { a.e[i] = a.e[i] - b.e[i]; });
        return a;
    }
    [[gnu::always_inline]] friend several operator*(T t, several a)
    {
        simd::unroll<N>([&](auto i) { a.e[i] = t * a.e[i]; });
        return a;
    }
    [[gnu::always_inline]] friend several operator/(several a, T d)
    {
        simd::unroll<N>([&](auto i) { a.e[i] = a.e[i] / d; });
        return a;
    }
};

// Single elements, `stride` apart. Row and column numbers carry the index base, which the pointer has been shifted
// by, so that indices are used as they are stored.
template <class E>
struct column {
    using value = std::remove_const_t<E>;
    static constexpr int width = 1;
    E* p;
    std::ptrdiff_t stride;
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const { return p[i * stride]; }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, value x) const { p[i * stride] = x; }
    [[gnu::always_inline]] static value zero() { return {}; }
    [[gnu::always_inline]] void add(value& sum, value t, std::ptrdiff_t i) const { sum = sum + t * get(i); }
};
// The same at unit stride, where no multiplication should stand in the way of an address.
template <class E>
struct vector {
    using value = std::remove_const_t<E>;
    static constexpr int width = 1;
    E* p;
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const { return p[i]; }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, value x) const { p[i] = x; }
    [[gnu::always_inline]] static value zero() { return {}; }
    [[gnu::always_inline]] void add(value& sum, value t, std::ptrdiff_t i) const { sum = sum + t * get(i); }
};
template <class E, int V>
struct strip {
    using element = std::remove_const_t<E>;
    using value = wide<element, V>;
    using real = real_of<element>;
    static constexpr int step = per_vec<element>, width = V * step;
    E* p;
    std::ptrdiff_t stride;
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const
    {
        value x;
        simd::unroll<V>(
            [&](auto k) { x.v[k] = vec<real>::loadu(reinterpret_cast<const real*>(p + i * stride + k * step)); });
        return x;
    }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, const value& x) const
    {
        simd::unroll<V>([&](auto k) { x.v[k].storeu(reinterpret_cast<real*>(p + i * stride + k * step)); });
    }
    [[gnu::always_inline]] static value zero()
    {
        value x;
        simd::unroll<V>([&](auto k) { x.v[k] = vec<real>::zero(); });
        return x;
    }
    [[gnu::always_inline]] void add(value& sum, element t, std::ptrdiff_t i) const
    {
        const factor<element> f(t);
        const auto* x = reinterpret_cast<const real*>(p + i * stride);
        simd::unroll<V>(
            [&](auto k) { sum.v[k] = sum.v[k] + f(vec<real>::loadu(x + k * step * simd::element<element>::parts)); });
    }
};

template <class E, int N>
struct bundle {
    using element = std::remove_const_t<E>;
    using value = several<element, N>;
    static constexpr int width = N;
    E* p;
    std::ptrdiff_t ld; // from column to column
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const
    {
        value x;
        simd::unroll<N>([&](auto k) { x.e[k] = p[i + k * ld]; });
        return x;
    }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, const value& x) const
    {
        simd::unroll<N>([&](auto k) { p[i + k * ld] = x.e[k]; });
    }
    [[gnu::always_inline]] static value zero() { return {}; }
    [[gnu::always_inline]] void add(value& sum, element t, std::ptrdiff_t i) const
    {
        simd::unroll<N>([&](auto k) { sum.e[k] = sum.e[k] + t * p[i + k * ld]; });
    }
};

// p, so that an index of base `base` addresses its element. By integers, since the result may lie before the array.
template <class E, class I>
E* based(E* p, I base, std::ptrdiff_t stride = 1)
{
    const auto shift = static_cast<std::uintptr_t>(base) * static_cast<std::uintptr_t>(stride) * sizeof(E);
    return reinterpret_cast<E*>(reinterpret_cast<std::uintptr_t>(p) - shift);
}

} // namespace vrn::spblas
