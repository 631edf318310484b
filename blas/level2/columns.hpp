// blas/level2/columns.hpp - a group of columns of A met in one pass: added to y, multiplied with x, or both.
//
//     add_columns     y_i += t_0 a_i0 + t_1 a_i1 + ..        the columns in natural order, one rounding each
//     dot_columns     w_j += alpha sum_i op(a_ij) x_i        lane l sums the rows i with i mod lanes = l
//     cross_columns   both, each element of A loaded once
//
// x, y and w have unit stride. An element of y meets the columns in their order whatever the grouping; in complex
// arithmetic the products by real and by imaginary parts of t are summed apart over a group and joined at its end.
// Dots keep one vector accumulator a column (complex: two), narrow groups several, since one would wait for itself.
// Nothing is allocated. Called by the level-2 kernels.
#pragma once

#include "blas/level2/lanes.hpp"

namespace vrn::blas {

// Columns of a group. 8 factors and a sum, or 4 factors in two parts, leave registers for A.
template <class E>
inline constexpr int widest_group = simd::element<E>::parts == 1 ? 8 : 4;

// ---- y += sum of t_c a_c ----

// t for all lanes, and the sum as it grows from y.
template <class E>
struct broadcast {
    vec<E> all;
    broadcast() = default;
    explicit broadcast(E t) : all(vec<E>::all(t)) {}
};
template <class R>
struct broadcast<cplx<R>> {
    vec<R> re, im;
    broadcast() = default;
    explicit broadcast(cplx<R> t) : re(vec<R>::all(t.re)), im(vec<R>::all(t.im)) {}
};

template <class E>
struct growing {
    using V = vec<E>;
    V sum;
    growing(V y, V a, const broadcast<E>& t) : sum(y + a * t.all) {}
    void add(V a, const broadcast<E>& t) { sum = sum + a * t.all; }
    V joined() const { return sum; }
};
template <class R>
struct growing<cplx<R>> {
    using V = vec<R>;
    V re, im; // y + a re(t) and a im(t)
    growing(V y, V a, const broadcast<cplx<R>>& t) : re(y + a * t.re), im(a * t.im) {}
    void add(V a, const broadcast<cplx<R>>& t)
    {
        re = re + a * t.re;
        im = im + a * t.im;
    }
    V joined() const { return add_sub(re, swap_parts(im)); }
};

// ---- sum of op(a) x ----

// x as a dot meets it; of complex numbers both parts doubled, by the load port alone.
template <class E>
struct met {
    vec<E> all;
    template <int Count>
    [[gnu::always_inline]] static met load(const E* x)
    {
        return {lanes<E>::template load<Count>(x)};
    }
};
template <>
struct met<cplx<double>> {
    vec<double> re, im;
    template <int>
    [[gnu::always_inline]] static met load(const cplx<double>* x)
    {
        return {vec<double>::all_at(&x->re), vec<double>::all_at(&x->im)};
    }
};
template <>
struct met<cplx<float>> {
    vec<float> re, im;
    template <int Count>
    [[gnu::always_inline]] static met load(const cplx<float>* x)
    {
        const vec<float> v = lanes<cplx<float>>::load<Count>(x);
        return {{_mm_moveldup_ps(v.v)}, {_mm_movehdup_ps(v.v)}};
    }
};

template <class R>
vec<R> conj_parts(vec<R> a)
{
    return add_sub(vec<R>::zero(), a) * vec<R>::all(R{-1});
}

// The dots of a group. Conj: of conj(a) with x.
template <class E, int Columns, bool Conj>
struct dots {
    using V = vec<E>;
    static constexpr int sums = Columns >= 4 ? 1 : 2;
    V acc[sums][Columns];

    [[gnu::always_inline]] dots()
    {
        unroll<sums>([&](auto s) __attribute__((always_inline)) {
            unroll<Columns>([&](auto c) __attribute__((always_inline)) { acc[s][c] = V::zero(); });
        });
    }
    template <int Slot, int C>
    [[gnu::always_inline]] void add(V a, const met<E>& x)
    {
        acc[Slot % sums][C] = acc[Slot % sums][C] + a * x.all;
    }
    // w_c += alpha dot_c, or without what is there. Neighbouring lanes are added first, then, in single precision,
    // the pairs.
    template <bool Fresh = false>
    [[gnu::always_inline]] void add_to(E* w, E alpha)
    {
        constexpr int per = V::lanes;
        const V f = V::all(alpha);
        unroll<(Columns + per - 1) / per>([&](auto g) __attribute__((always_inline)) {
            constexpr int first = g * per, count = Columns - first < per ? Columns - first : per;
            const auto column = [&](auto c) __attribute__((always_inline))
            {
                if constexpr (first + c >= Columns) return V::zero();
                else if constexpr (sums == 1) return acc[0][first + c];
                else return acc[0][first + c] + acc[1][first + c];
            };
            V s = add_pairs(column(count_of<0>{}), column(count_of<1>{}));
            if constexpr (per == 4) s = add_pairs(s, add_pairs(column(count_of<2>{}), column(count_of<3>{})));
            using L = lanes<E>;
            const V old = Fresh ? V::zero() : L::template load<count>(w + first);
            L::template store<count>(w + first, Fresh ? f * s : old + f * s);
        });
    }
};
template <class R, int Columns, bool Conj>
struct dots<cplx<R>, Columns, Conj> {
    using V = vec<R>;
    static constexpr int sums = Columns >= 2 ? 1 : 2;
    V re[sums][Columns], im[sums][Columns]; // of a re(x) and a im(x)

    [[gnu::always_inline]] dots()
    {
        unroll<sums>([&](auto s) __attribute__((always_inline)) {
            unroll<Columns>([&](auto c) __attribute__((always_inline)) { re[s][c] = im[s][c] = V::zero(); });
        });
    }
    template <int Slot, int C>
    [[gnu::always_inline]] void add(V a, const met<cplx<R>>& x)
    {
        constexpr int s = Slot % sums;
        re[s][C] = re[s][C] + a * x.re;
        im[s][C] = im[s][C] + a * x.im;
    }
    template <bool Fresh = false>
    [[gnu::always_inline]] void add_to(cplx<R>* w, cplx<R> alpha)
    {
        using L = lanes<cplx<R>>;
        const factor<cplx<R>> f(alpha);
        unroll<Columns>([&](auto c) __attribute__((always_inline)) {
            V r = re[0][c], i = im[0][c];
            if constexpr (sums == 2) r = r + re[1][c], i = i + im[1][c];
            V s = Conj ? conj_parts(r) + swap_parts(i) : add_sub(r, swap_parts(i));
            if constexpr (L::full == 2) s = s + upper_half(s);
            L::template store<1>(w + c, Fresh ? f(s) : L::template load<1>(w + c) + f(s));
        });
    }
};

// ---- the passes ----

// A turn of the passes uses up one line of a column.
inline constexpr int line_turn = 4;

template <int Columns, class E>
struct column_group {
    const E* at[Columns];
    vrn_int next; // from a column to its place in the next group
    [[gnu::always_inline]] column_group(const E* a, vrn_int lda) : next(Columns * lda)
    {
        unroll<Columns>([&](auto c) __attribute__((always_inline)) { at[c] = a + c * lda; });
    }
    template <int C, int Count, bool Aligned>
    [[gnu::always_inline]] auto load(vrn_int i) const
    {
        return lanes<E>::template load<Count, Aligned>(at[C] + i);
    }
    // The same rows of the next group. Each column begins a new stream, which the processor's own prefetch takes
    // up late: at n = 4000 this is worth a third, with A in a cache nothing.
    [[gnu::always_inline]] void ask_for_next(vrn_int i) const
    {
        unroll<Columns>([&](auto c) __attribute__((always_inline)) { ask_for(at[c] + next + i); });
    }
};

template <int Columns, bool Aligned, class E>
[[gnu::always_inline]] inline void add_columns(rows_of rows, const E* a, vrn_int lda, const E* t, E* y)
{
    using L = lanes<E>;
    const column_group<Columns, E> column(a, lda);
    broadcast<E> f[Columns];
    unroll<Columns>([&](auto c) __attribute__((always_inline)) { f[c] = broadcast<E>(t[c]); });
    sweep_rows<E, line_turn>(
        rows, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            if constexpr (slot == 0) column.ask_for_next(i);
            growing<E> sum(L::template load<count>(y + i), column.template load<0, count, Aligned>(i), f[0]);
            unroll<Columns - 1>([&](auto c) __attribute__((always_inline)) {
                sum.add(column.template load<c + 1, count, Aligned>(i), f[c + 1]);
            });
            L::template store<count>(y + i, sum.joined());
        });
}

template <int Columns, bool Conj, bool Aligned, class E>
[[gnu::always_inline]] inline void dot_columns(rows_of rows, const E* a, vrn_int lda, const E* x, E alpha, E* w)
{
    const column_group<Columns, E> column(a, lda);
    dots<E, Columns, Conj> dot;
    sweep_rows<E, line_turn>(
        rows, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            if constexpr (slot == 0) column.ask_for_next(i);
            const auto xi = met<E>::template load<count>(x + i);
            unroll<Columns>([&](auto c) __attribute__((always_inline)) {
                dot.template add<slot, c>(column.template load<c, count, Aligned>(i), xi);
            });
        });
    dot.add_to(w, alpha);
}

// y += A t and w += alpha op(A) x, or w := alpha op(A) x.
template <int Columns, bool Conj, bool Fresh, class E>
[[gnu::always_inline]] inline void cross_columns(rows_of rows, const E* a, vrn_int lda, const E* t, E* y, const E* x,
                                                 E alpha, E* w)
{
    using L = lanes<E>;
    const column_group<Columns, E> column(a, lda);
    broadcast<E> f[Columns];
    unroll<Columns>([&](auto c) __attribute__((always_inline)) { f[c] = broadcast<E>(t[c]); });
    dots<E, Columns, Conj> dot;
    sweep_rows<E, line_turn>(
        rows, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            if constexpr (slot == 0) column.ask_for_next(i);
            const auto xi = met<E>::template load<count>(x + i);
            auto v = simd::held(column.template load<0, count, false>(i));
            growing<E> sum(L::template load<count>(y + i), v, f[0]);
            dot.template add<slot, 0>(v, xi);
            unroll<Columns - 1>([&](auto c) __attribute__((always_inline)) {
                v = simd::held(column.template load<c + 1, count, false>(i));
                sum.add(v, f[c + 1]);
                dot.template add<slot, c + 1>(v, xi);
            });
            L::template store<count>(y + i, sum.joined());
        });
    dot.template add_to<Fresh>(w, alpha);
}

// y += alpha A x and w += alpha op(A) z for a block of A, op the transpose, conjugated where the type has a
// conjugate.
template <int Widest, class E>
[[gnu::noinline, gnu::flatten]] void cross_block(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x,
                                                 E* y, const E* z, E* w)
{
    column_groups<Widest>(
        n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
            E t[columns];
            for (int c = 0; c < columns; ++c) t[c] = alpha * x[j + c];
            cross_columns<columns, simd::element<E>::parts == 2, false>({0, m}, a + j * lda, lda, t, y, z, alpha,
                                                                        w + j);
        });
}

} // namespace vrn::blas
