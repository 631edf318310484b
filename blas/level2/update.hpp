// blas/level2/update.hpp - a group of columns of A changed in one pass: a_ic := (a_ic + x_i t_c) + y_i u_c, y and u
// where there are two. The inner kernel of ger, syr, syr2 and their complex kin.
//
// The columns of a group share the loads of x and y. Elements are computed alone, so neither groups nor strides nor
// alignment show in the result. Nothing is allocated.
#pragma once

#include "blas/level2/lanes.hpp"

namespace vrn::blas {

// t times vectors whose swapped form several columns share.
template <class E>
struct scaled_by {
    vec<E> all;
    scaled_by() = default;
    explicit scaled_by(E t) : all(vec<E>::all(t)) {}
    vec<E> operator()(vec<E> x, vec<E>) const { return all * x; }
};
template <class R>
struct scaled_by<cplx<R>> {
    vec<R> re, im; // (a, a) and (-b, b) for a + ib
    scaled_by() = default;
    explicit scaled_by(cplx<R> t) : re(vec<R>::all(t.re)), im(vec<R>::pair(-t.im, t.im)) {}
    vec<R> operator()(vec<R> x, vec<R> swapped) const { return re * x + im * swapped; }
};

// A vector of the update, at unit stride or any other, begun at its element of index 0.
template <bool Unit, class E>
struct stream {
    const E* x;
    vrn_int inc;
    E operator[](vrn_int i) const { return x[Unit ? i : i * inc]; }
    template <int Count>
    [[gnu::always_inline]] auto load(vrn_int i) const
    {
        if constexpr (Unit) return lanes<E>::template load<Count>(x + i);
        else return lanes<E>::template gather<Count>(x + i * inc, inc);
    }
};

template <class V, class E>
[[gnu::always_inline]] inline V swapped_if_complex(V v)
{
    if constexpr (simd::element<E>::parts == 2) return swap_parts(v);
    else return v;
}

template <int Columns, bool Two, bool Aligned, class E, class X>
[[gnu::always_inline]] inline void update_columns(rows_of rows, X x, const E* t, X y, const E* u, E* a, vrn_int lda)
{
    using L = lanes<E>;
    using V = typename L::V;
    scaled_by<E> by_t[Columns], by_u[Columns];
    E* at[Columns];
    unroll<Columns>([&](auto c) __attribute__((always_inline)) {
        by_t[c] = scaled_by<E>(t[c]);
        if constexpr (Two) by_u[c] = scaled_by<E>(u[c]);
        at[c] = a + c * lda;
    });
    sweep_rows<E, 4>(
        rows, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            const V xi = x.template load<count>(i), xs = swapped_if_complex<V, E>(xi);
            V yi = xi, ys = xs;
            if constexpr (Two) yi = y.template load<count>(i), ys = swapped_if_complex<V, E>(yi);
            unroll<Columns>([&](auto c) __attribute__((always_inline)) {
                E* const p = at[c] + i;
                if constexpr (slot == 0) ask_for(p + Columns * lda); // the next group's
                V v = L::template load<count, Aligned>(p) + by_t[c](xi, xs);
                if constexpr (Two) v = v + by_u[c](yi, ys);
                L::template store<count, Aligned>(p, v);
            });
        });
}

} // namespace vrn::blas
