// blas/banded/columns.hpp - the row loops of every sweep over band and packed columns.
//
//     axpy   y[i] += t0 a0[i] + t1 a1[i] + ...
//     dot    d_c = sum over i of a_c[i] x[i], or of conj(a_c[i]) x[i]
//     both   the two in one pass, for matrices of which one triangle is stored
//
// N neighbouring columns run together over the rows that all of them reach, so that y and x are loaded once for N
// columns. Rows go by vectors; what is left of a row block goes by the low lanes of one. A view tells how the
// caller's vector lies: behind a stride each element fills a low lane. No address is looked at, except where a body
// is asked to peel. Callers: general.hpp, symmetric.hpp, triangular.hpp, packed/rank.hpp.
#pragma once

#include "blas/level1/dot.hpp"

#include <type_traits>

namespace vrn::blas::banded {

template <class E>
struct unit_view {
    using element = std::remove_const_t<E>;
    static constexpr bool contiguous = true;
    E* p;
    E* at(vrn_int i) const { return p + i; }
    E& operator[](vrn_int i) const { return p[i]; }
};

template <class E>
struct strided_view {
    using element = std::remove_const_t<E>;
    static constexpr bool contiguous = false;
    E* p;
    vrn_int inc;
    E* at(vrn_int i) const { return p + i * inc; }
    E& operator[](vrn_int i) const { return p[i * inc]; }
};

template <bool Conjugate, class E>
E conjugated(E a)
{
    if constexpr (Conjugate) return conj(a);
    else return a;
}

// Rows first .. last-1; none where last <= first.
struct span {
    vrn_int first, last;
};

// W elements, in the low lanes where they do not fill a vector; the others are zero.
template <int W, class E>
[[gnu::always_inline]] inline vec<real_of<E>> load(const E* p)
{
    using V = vec<real_of<E>>;
    constexpr int reals = W * simd::element<E>::parts;
    const auto* r = reinterpret_cast<const real_of<E>*>(p);
    if constexpr (reals == V::lanes) return V::loadu(r);
    else if constexpr (reals == 2) return V::load2(r);
    else return V::load1(r);
}

template <int W, class E>
[[gnu::always_inline]] inline void store(vec<real_of<E>> v, E* p)
{
    constexpr int reals = W * simd::element<E>::parts;
    auto* r = reinterpret_cast<real_of<E>*>(p);
    if constexpr (reals == vec<real_of<E>>::lanes) v.storeu(r);
    else if constexpr (reals == 2) v.store2(r);
    else v.store1(r);
}

// y + t0 a0 + t1 a1 + ..., added in that order. For complex numbers the products with the imaginary parts of the t
// are summed apart, so that the parts change places once for all columns together.
template <class E>
struct combination {
    struct multiplier {
        vec<E> t;
        multiplier() = default;
        explicit multiplier(E a) : t(vec<E>::all(a)) {}
    };
    vec<E> sum;
    explicit combination(vec<E> y) : sum(y) {}
    template <bool First>
    void add(multiplier m, vec<E> a)
    {
        sum = sum + m.t * a;
    }
    vec<E> value() const { return sum; }
};

template <class R>
struct combination<cplx<R>> {
    struct multiplier {
        vec<R> re, im;
        multiplier() = default;
        explicit multiplier(cplx<R> a) : re(vec<R>::all(a.re)), im(vec<R>::all(a.im)) {}
    };
    vec<R> straight, cross;
    explicit combination(vec<R> y) : straight(y) {}
    template <bool First>
    void add(multiplier m, vec<R> a)
    {
        straight = straight + m.re * a;
        cross = First ? m.im * a : cross + m.im * a;
    }
    vec<R> value() const { return add_sub(straight, swap_parts(cross)); }
};
template <class E>
using multiplier = typename combination<E>::multiplier;

inline vec<float> interleave_low(vec<float> a, vec<float> b) { return {_mm_unpacklo_ps(a.v, b.v)}; }
inline vec<float> interleave_high(vec<float> a, vec<float> b) { return {_mm_unpackhi_ps(a.v, b.v)}; }
inline vec<double> interleave_low(vec<double> a, vec<double> b) { return {_mm_unpacklo_pd(a.v, b.v)}; }
inline vec<double> interleave_high(vec<double> a, vec<double> b) { return {_mm_unpackhi_pd(a.v, b.v)}; }

// One accumulator of a dot. Complex: a by x gives re re and im im, a by x with its parts swapped re im and im re;
// conjugation is a matter of signs at the end.
template <class E>
struct dot_sum {
    struct operand {
        vec<E> x;
        explicit operand(vec<E> v) : x(v) {}
    };
    vec<E> sum = vec<E>::zero();
    void add(vec<E> a, operand o) { sum = sum + a * o.x; }
    friend dot_sum operator+(dot_sum a, dot_sum b) { return {a.sum + b.sum}; }
    template <bool Conjugate>
    E total() const
    {
        return sum.sum();
    }
};

template <class R>
struct dot_sum<cplx<R>> {
    struct operand {
        vec<R> x, swapped;
        explicit operand(vec<R> v) : x(v), swapped(swap_parts(v)) {}
    };
    vec<R> same = vec<R>::zero(), cross = vec<R>::zero();
    void add(vec<R> a, operand o)
    {
        same = same + a * o.x;
        cross = cross + a * o.swapped;
    }
    friend dot_sum operator+(dot_sum a, dot_sum b) { return {a.same + b.same, a.cross + b.cross}; }
    template <bool Conjugate>
    cplx<R> total() const
    {
        const vec<R> first = interleave_low(same, cross), second = interleave_high(same, cross);
        vec<R> f, l; // the real products' and the cross products' sums, of real parts of x and of imaginary ones
        if constexpr (vec<R>::lanes == 4) f = first + second, l = upper_half(f);
        else f = first, l = second;
        if constexpr (!Conjugate) {
            const vec<R> z = add_sub(f, l);
            return {z.lane(0), z.lane(1)};
        }
        const vec<R> z = add_sub(swap_parts(f), swap_parts(l));
        return {z.lane(1), z.lane(0)};
    }
};

// Eight chains in all, since an add takes three to four cycles and two start each cycle. A loop that updates y as
// well has registers and arithmetic enough with half of them.
template <int N, bool Axpy, class E>
struct dots {
    static constexpr int parts = simd::element<E>::parts;
    static constexpr int fitting = (Axpy ? 4 : 8) / (N * parts);
    static constexpr int each = fitting > 4 ? 4 : fitting > 0 ? fitting : 1;
    dot_sum<E> sum[N][each];
    template <bool Conjugate>
    [[gnu::always_inline]] E total(int c) const
    {
        if constexpr (each == 1) return sum[c][0].template total<Conjugate>();
        else if constexpr (each == 2) return (sum[c][0] + sum[c][1]).template total<Conjugate>();
        else return ((sum[c][1] + sum[c][0]) + (sum[c][2] + sum[c][3])).template total<Conjugate>();
    }
};

// A matrix that does not stay in the second-level cache is fetched two kilobytes ahead in the way it is walked:
// columns side by side hide from the processor's own prefetch that they are one stream. Nearer data lose by it.
inline constexpr vrn_int stays_in_cache = 1 << 20, fetched_ahead = 2048;

template <bool Ascending, class E>
vrn_int fetch_distance(vrn_int elements)
{
    return elements * vrn_int{sizeof(E)} <= stays_in_cache ? 0 : Ascending ? fetched_ahead : -fetched_ahead;
}

// Of a short tail the block before it has fetched the line.
template <int Bytes>
[[gnu::always_inline]] inline void fetch(const void* p, vrn_int ahead)
{
    const auto line = reinterpret_cast<std::uintptr_t>(p) + static_cast<std::uintptr_t>(ahead);
    unroll<Bytes / 64>([&](auto l) __attribute__((always_inline)) {
        _mm_prefetch(reinterpret_cast<const char*>(line + 64 * l), _MM_HINT_T0);
    });
}

// Where N columns lie: element i of column c is at[c][i], or, for vectors that take the place of columns, behind
// strides.
template <int N, class E>
struct columns {
    static constexpr bool contiguous = true;
    const E* at[N];
    const E* row(int c, vrn_int i) const { return at[c] + i; }
};

template <int N, class E>
struct strided_columns {
    static constexpr bool contiguous = false;
    const E* at[N];
    vrn_int inc[N];
    const E* row(int c, vrn_int i) const { return at[c] + i * inc[c]; }
};

// One step of a row loop; values are held, or g++ would load those of two uses twice: `Axpy` updates y, `Dot` adds to
// `sums`. The chain of blocks is that of level 1.
template <bool Axpy, bool Dot, int N, class E, class A, class X, class Y>
struct row_walk {
    A a;
    multiplier<E> t[N];
    X x;
    Y y;
    dots<N, Axpy, E>* sums;
    vrn_int ahead;
    static constexpr bool contiguous = A::contiguous && (!Axpy || Y::contiguous) && (!Dot || X::contiguous);
    static constexpr int width = contiguous ? per_vec<E> : 1;

    template <int W, int G>
    [[gnu::always_inline]] void rows(vrn_int i) const
    {
        using V = vec<real_of<E>>;
        constexpr int turn = G % dots<N, Axpy, E>::each;
        const typename dot_sum<E>::operand xi(Dot ? held(load<W>(x.at(i))) : V::zero());
        combination<E> sum(Axpy ? load<W>(y.at(i)) : V::zero());
        unroll<N>([&](auto c) __attribute__((always_inline)) {
            const V v = held(load<W>(a.row(c, i)));
            if constexpr (Axpy) sum.template add<c == 0>(t[c], v);
            if constexpr (Dot) sums->sum[c][turn].add(v, xi);
        });
        if constexpr (Axpy) store<W>(sum.value(), y.at(i));
    }
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        if (Block * sizeof(E) >= 64 && ahead != 0)
            unroll<N>([&](auto c) __attribute__((always_inline)) { fetch<Block * sizeof(E)>(a.row(c, i), ahead); });
        constexpr int w = Block < width ? Block : width;
        unroll<Block / w>([&](auto g) __attribute__((always_inline)) { rows<w, g>(i + g * w); });
    }
    [[gnu::always_inline]] void one(vrn_int i) const { rows<1, 0>(i); }
    // A row that of the columns only C reaches.
    template <int C>
    [[gnu::always_inline]] void alone(vrn_int i) const
    {
        const auto v = held(load<1>(a.row(C, i)));
        if constexpr (Axpy) {
            combination<E> sum(load<1>(y.at(i)));
            sum.template add<true>(t[C], v);
            store<1>(sum.value(), y.at(i));
        }
        if constexpr (Dot) sums->sum[C][0].add(v, typename dot_sum<E>::operand(held(load<1>(x.at(i)))));
    }
};

// Rows besides those that all columns reach: edges(body) calls body(column, row).
inline constexpr auto no_edges = [](auto) {};

// The rows of a walk: blocks where all lies together, else by 8. Blocks start at a multiple of a vector's length in
// `place`, where the first row stands in its vector: aligned loads and stores where the vector itself is aligned, and
// loads that find what the last group stored in one piece. Places are counted, addresses are not looked at.
template <class Chain, class Walk>
[[gnu::always_inline]] inline void run(span rows, vrn_int place, const Walk& walk)
{
    if constexpr (Walk::width >= 2)
        if (place % 2 != 0 && rows.first < rows.last) {
            walk.one(rows.first++);
            ++place;
        }
    if constexpr (Walk::width == 4)
        if (place % 4 != 0 && rows.last - rows.first >= 2) {
            walk.template block<2>(rows.first);
            rows.first += 2;
        }
    sweep(std::conditional_t<Walk::contiguous, Chain, steps<8>>{}, walk, rows.first, rows.last);
}

// Single rows until y is 16-byte aligned: from there on the split of the blocks depends on its address, and the place
// is 0.
template <class Walk>
[[gnu::always_inline]] inline vrn_int peel(span& rows, const Walk& walk)
{
    if constexpr (Walk::contiguous) {
        const auto* next = walk.y.at(rows.first);
        const vrn_int to = rows.first + static_cast<vrn_int>((-place(next) & 15) / sizeof *next);
        for (; rows.first < to && rows.first < rows.last; ++rows.first) walk.one(rows.first);
    }
    return 0;
}

template <class Walk, int N, class E>
[[gnu::always_inline]] inline void set_multipliers(Walk& walk, const E (&t)[N])
{
    unroll<N>([&](auto c) __attribute__((always_inline)) { walk.t[c] = multiplier<E>(t[c]); });
}

template <class Chain, bool Peel = false, int N, class E, class A, class Y, class Edges>
[[gnu::always_inline]] inline void axpy_columns(span rows, vrn_int place, const A& a, const E (&t)[N], Y y,
                                                vrn_int ahead, Edges edges)
{
    row_walk<true, false, N, E, A, Y, Y> walk{a, {}, y, y, nullptr, ahead};
    set_multipliers(walk, t);
    if constexpr (Peel) place = peel(rows, walk);
    run<Chain>(rows, place, walk);
    edges([&](auto c, vrn_int i) __attribute__((always_inline)) { walk.template alone<c>(i); });
}

template <class Chain, bool Conjugate, int N, class E, class X, class Edges>
[[gnu::always_inline]] inline void dot_columns(span rows, const columns<N, E>& a, X x, E (&d)[N], vrn_int ahead,
                                               Edges edges)
{
    dots<N, false, E> sums;
    const row_walk<false, true, N, E, columns<N, E>, X, X> walk{a, {}, x, x, &sums, ahead};
    run<Chain>(rows, rows.first, walk);
    edges([&](auto c, vrn_int i) __attribute__((always_inline)) { walk.template alone<c>(i); });
    unroll<N>([&](auto c) __attribute__((always_inline)) { d[c] = sums.template total<Conjugate>(c); });
}

template <class Chain, bool Conjugate, bool Peel, int N, class E, class X, class Y, class Edges>
[[gnu::always_inline]] inline void both_columns(span rows, const columns<N, E>& a, const E (&t)[N], X x, Y y,
                                                E (&d)[N], vrn_int ahead, Edges edges)
{
    dots<N, true, E> sums;
    row_walk<true, true, N, E, columns<N, E>, X, Y> walk{a, {}, x, y, &sums, ahead};
    set_multipliers(walk, t);
    const vrn_int place = Peel ? peel(rows, walk) : rows.first;
    run<Chain>(rows, place, walk);
    edges([&](auto c, vrn_int i) __attribute__((always_inline)) { walk.template alone<c>(i); });
    unroll<N>([&](auto c) __attribute__((always_inline)) { d[c] = sums.template total<Conjugate>(c); });
}

} // namespace vrn::blas::banded
