// blas/gemm/rows.hpp - a run of rows of a column as vectors, the last of them partial where the count asks for it, and
// the sums of such runs of A times elements of B, of all four types.
//
// Of a complex type a sum is two: x + iy times u + iv adds x*(u v) to the one and y*(u v) to the other, and only the
// end of the sum swaps lanes and adds the two. No element of B is spread, and a sum has no shuffle but in A.
#pragma once

#include "simd/complex.hpp"

namespace vrn::blas {

// Rows of A as products take them.
template <class T>
struct terms {
    simd::vec<T> x;
};
template <class R>
struct terms<simd::cplx<R>> {
    simd::vec<R> re, im; // each part in both lanes of its number
};

inline terms<simd::cplx<float>> parts(simd::vec<float> a) { return {{_mm_moveldup_ps(a.v)}, {_mm_movehdup_ps(a.v)}}; }

template <class T, int Rows>
struct rows {
    using R = simd::real_of<T>;
    using V = simd::vec<R>;
    static constexpr int per = simd::per_vec<T>;
    static constexpr int count = (Rows + per - 1) / per;

    // Vector r of the run; missing rows are zero and not touched in memory.
    template <int I>
    static V load(const T* at)
    {
        constexpr int left = (Rows - I * per) * simd::element<T>::parts;
        const R* p = reinterpret_cast<const R*>(at + I * per);
        if constexpr (left >= V::lanes) return V::loadu(p);
        else if constexpr (left == 1) return V::load1(p);
        else if constexpr (left == 2) return V::load2(p);
        else return V::load3(p);
    }
    template <int I>
    static void store(T* to, V x)
    {
        constexpr int left = (Rows - I * per) * simd::element<T>::parts;
        R* p = reinterpret_cast<R*>(to + I * per);
        if constexpr (left >= V::lanes) x.storeu(p);
        else if constexpr (left == 1) x.store1(p);
        else if constexpr (left == 2) x.store2(p);
        else x.store3(p);
    }
    template <int I>
    static terms<T> take(const T* p)
    {
        if constexpr (simd::element<T>::parts == 1) return {load<I>(p)};
        else if constexpr (per == 1) return {V::all_at(&p[I].re), V::all_at(&p[I].im)};
        else return parts(load<I>(p));
    }
};

// One element of B as products take it.
template <class R>
simd::vec<R> spread(const R* b)
{
    return simd::vec<R>::all(*b);
}
inline simd::vec<double> spread(const simd::cplx<double>* b) { return simd::vec<double>::loadu(&b->re); }
inline simd::vec<float> spread(const simd::cplx<float>* b)
{
    return {_mm_castpd_ps(_mm_loaddup_pd(reinterpret_cast<const double*>(b)))};
}

template <class T>
struct row_sum {
    using V = simd::vec<T>;
    V x;
    static row_sum zero() { return {V::zero()}; }
    static row_sum first(terms<T> a, V b) { return {a.x * b}; }
    void add(terms<T> a, V b) { x = x + a.x * b; }
    V value(bool = false) const { return x; }
};
template <class R>
struct row_sum<simd::cplx<R>> {
    using V = simd::vec<R>;
    V re, im;
    static row_sum zero() { return {V::zero(), V::zero()}; }
    static row_sum first(terms<simd::cplx<R>> a, V b) { return {a.re * b, a.im * b}; }
    void add(terms<simd::cplx<R>> a, V b)
    {
        re = re + a.re * b;
        im = im + a.im * b;
    }
    // With B conjugated the signs of its imaginary parts come out of the sums: xu + yv, yu - xv.
    V value(bool conjugate_b = false) const
    {
        if (conjugate_b) return re * V::pair(1, -1) + swap_parts(im);
        return add_sub(re, swap_parts(im));
    }
};

} // namespace vrn::blas
