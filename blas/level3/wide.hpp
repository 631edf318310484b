// blas/level3/wide.hpp - one number for each of several independent items, and groups of four unknowns of them.
//
// The kernels of diagonal blocks take the items (columns of a left-hand B, rows of a right-hand one) as lanes, so
// that a triangle's unknowns follow one another without a shuffle. Complex numbers have their parts in vectors of
// their own: a complex product is then four real ones and nothing else. Groups come in and go out
//
//     across     unknowns adjacent, items ld apart (left): transposed on the way
//     along      items adjacent, unknowns ld apart (right)
//     piecewise  one by one, where a group or the items are not full
#pragma once

#include "blas/level3/tables.hpp"
#include "simd/complex.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

#include <cstdint>

namespace vrn::blas::level3 {

using simd::cplx;
using simd::real_of;
using simd::unroll;
using simd::vec;

template <class E>
inline constexpr int parts_of = simd::element<E>::parts;

template <class E>
struct wide {
    using V = vec<real_of<E>>;
    static constexpr int items = V::lanes, parts = parts_of<E>;
    V v[parts];

    static wide all(E x)
    {
        if constexpr (parts == 1) return {{V::all(x)}};
        else return {{V::all(x.re), V::all(x.im)}};
    }
};

// acc + a x, acc - a x, a x.
template <class E>
[[gnu::always_inline]] inline void add_product(wide<E>& acc, const wide<E>& a, const wide<E>& x)
{
    if constexpr (wide<E>::parts == 1) acc.v[0] = acc.v[0] + a.v[0] * x.v[0];
    else {
        acc.v[0] = acc.v[0] + a.v[0] * x.v[0] - a.v[1] * x.v[1];
        acc.v[1] = acc.v[1] + a.v[0] * x.v[1] + a.v[1] * x.v[0];
    }
}
template <class E>
[[gnu::always_inline]] inline void sub_product(wide<E>& acc, const wide<E>& a, const wide<E>& x)
{
    if constexpr (wide<E>::parts == 1) acc.v[0] = acc.v[0] - a.v[0] * x.v[0];
    else {
        acc.v[0] = acc.v[0] - a.v[0] * x.v[0] + a.v[1] * x.v[1];
        acc.v[1] = acc.v[1] - a.v[0] * x.v[1] - a.v[1] * x.v[0];
    }
}
template <class E>
[[gnu::always_inline]] inline wide<E> times(const wide<E>& a, const wide<E>& x)
{
    if constexpr (wide<E>::parts == 1) return {{a.v[0] * x.v[0]}};
    else return {{a.v[0] * x.v[0] - a.v[1] * x.v[1], a.v[0] * x.v[1] + a.v[1] * x.v[0]}};
}

// A square of lanes by lanes reals, turned.
inline void turn(vec<double> (&x)[2])
{
    const __m128d a = x[0].v, b = x[1].v;
    x[0].v = _mm_unpacklo_pd(a, b), x[1].v = _mm_unpackhi_pd(a, b);
}
inline void turn(vec<float> (&x)[4])
{
    const __m128 t0 = _mm_unpacklo_ps(x[0].v, x[1].v), t1 = _mm_unpacklo_ps(x[2].v, x[3].v);
    const __m128 t2 = _mm_unpackhi_ps(x[0].v, x[1].v), t3 = _mm_unpackhi_ps(x[2].v, x[3].v);
    x[0].v = _mm_movelh_ps(t0, t1), x[1].v = _mm_movehl_ps(t1, t0);
    x[2].v = _mm_movelh_ps(t2, t3), x[3].v = _mm_movehl_ps(t3, t2);
}

// The parts of as many complex numbers as there are lanes, apart and together again.
inline void split(vec<double>& a, vec<double>& b)
{
    const __m128d x = a.v, y = b.v;
    a.v = _mm_unpacklo_pd(x, y), b.v = _mm_unpackhi_pd(x, y);
}
inline void split(vec<float>& a, vec<float>& b)
{
    const __m128 x = a.v, y = b.v;
    a.v = _mm_shuffle_ps(x, y, 0x88), b.v = _mm_shuffle_ps(x, y, 0xdd);
}
inline void join(vec<double>& a, vec<double>& b) { split(a, b); }
inline void join(vec<float>& a, vec<float>& b)
{
    const __m128 x = a.v, y = b.v;
    a.v = _mm_unpacklo_ps(x, y), b.v = _mm_unpackhi_ps(x, y);
}

// Four unknowns of a panel of `vectors` x lanes items. Eight accumulators for every type.
template <class E>
inline constexpr int vectors = 2 / parts_of<E>;
template <class E>
inline constexpr int panel_items = vectors<E>* wide<E>::items;
template <class E>
using group = wide<E>[group_rows][vectors<E>];

// Where the panel lies. Group g is unknowns 4g to 4g+3 in the order of elimination; where that is reversed, `b`
// stands at the unknown that comes last in memory.
template <class E, bool Reversed>
struct across {
    E* b;
    vrn_int ld;
    using R = real_of<E>;
    static constexpr int lanes = vec<R>::lanes, parts = parts_of<E>, squares = group_rows * parts / lanes;

    R* at(int g) const { return reinterpret_cast<R*>(Reversed ? b - 4 * g - 3 : b + 4 * g); }
    // Real row r of the group, counted in memory.
    static vec<R>& row(group<E>& t, int v, int r)
    {
        const int unknown = r / parts;
        return t[Reversed ? group_rows - 1 - unknown : unknown][v].v[r % parts];
    }
    [[gnu::always_inline]] void load(int g, group<E>& t) const
    {
        const R* p = at(g);
        unroll<vectors<E>>([&](auto v) {
            unroll<squares>([&](auto s) {
                vec<R> x[lanes];
                unroll<lanes>([&](auto i) { x[i] = vec<R>::loadu(p + (v * lanes + i) * ld * parts + s * lanes); });
                turn(x);
                unroll<lanes>([&](auto i) { row(t, v, s * lanes + i) = x[i]; });
            });
        });
    }
    [[gnu::always_inline]] void store(int g, group<E>& t) const
    {
        R* p = at(g);
        unroll<vectors<E>>([&](auto v) {
            unroll<squares>([&](auto s) {
                vec<R> x[lanes];
                unroll<lanes>([&](auto i) { x[i] = row(t, v, s * lanes + i); });
                turn(x);
                unroll<lanes>([&](auto i) { x[i].storeu(p + (v * lanes + i) * ld * parts + s * lanes); });
            });
        });
    }
};

template <class E>
struct along {
    E* b;
    vrn_int ld; // negative where the order is reversed
    using R = real_of<E>;
    static constexpr int lanes = vec<R>::lanes, parts = parts_of<E>;

    R* at(int g) const { return reinterpret_cast<R*>(b + 4 * g * ld); }
    [[gnu::always_inline]] void load(int g, group<E>& t) const
    {
        const R* p = at(g);
        unroll<group_rows>([&](auto u) {
            unroll<vectors<E>>([&](auto v) {
                auto& x = t[u][v].v;
                unroll<parts>([&](auto i) { x[i] = vec<R>::loadu(p + u * ld * parts + (v * parts + i) * lanes); });
                if constexpr (parts == 2) split(x[0], x[1]);
            });
        });
    }
    [[gnu::always_inline]] void store(int g, group<E>& t) const
    {
        R* p = at(g);
        unroll<group_rows>([&](auto u) {
            unroll<vectors<E>>([&](auto v) {
                auto& x = t[u][v].v;
                if constexpr (parts == 2) join(x[0], x[1]);
                unroll<parts>([&](auto i) { x[i].storeu(p + u * ld * parts + (v * parts + i) * lanes); });
            });
        });
    }
};

// Strides of either sign; what is not there is zero on the way in.
template <class E>
struct piecewise {
    E* b;
    vrn_int unknown, item; // strides
    vrn_int unknowns, items;
    using R = real_of<E>;
    static constexpr int lanes = vec<R>::lanes, parts = parts_of<E>;

    template <class Visit>
    void each(int g, Visit&& visit) const
    {
        const vrn_int rest = least(unknowns - 4 * g, group_rows);
        for (vrn_int u = 0; u < rest; ++u)
            for (vrn_int i = 0; i < items; ++i)
                visit(static_cast<int>(u), static_cast<int>(i),
                      reinterpret_cast<R*>(b + (4 * g + u) * unknown + i * item));
    }
    // As reals: [unknown][vector][part][lane].
    static int place(int u, int i, int part)
    {
        return ((u * vectors<E> + i / lanes) * parts + part) * lanes + i % lanes;
    }
    [[gnu::noinline]] void load(int g, group<E>& t) const
    {
        alignas(16) R x[group_rows * panel_items<E> * parts] = {};
        each(g, [&](int u, int i, const R* from) {
            for (int part = 0; part < parts; ++part) x[place(u, i, part)] = from[part];
        });
        unroll<group_rows>([&](auto u) {
            unroll<vectors<E>>([&](auto v) {
                unroll<parts>([&](auto i) { t[u][v].v[i] = vec<R>::load(x + place(u, v * lanes, i)); });
            });
        });
    }
    [[gnu::noinline]] void store(int g, group<E>& t) const
    {
        alignas(16) R x[group_rows * panel_items<E> * parts];
        unroll<group_rows>([&](auto u) {
            unroll<vectors<E>>(
                [&](auto v) { unroll<parts>([&](auto i) { t[u][v].v[i].store(x + place(u, v * lanes, i)); }); });
        });
        each(g, [&](int u, int i, R* to) {
            for (int part = 0; part < parts; ++part) to[part] = x[place(u, i, part)];
        });
    }
};

} // namespace vrn::blas::level3
