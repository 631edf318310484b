// spblas/csr/dot.hpp - the sum of a row's values times elements of x: what most products spend their time in.
// Trips of several vectors of products, summed in several accumulators; these are added in a fixed tree, then lane by
// lane; what is left of the row is added one entry after the other. The order depends on the row's length alone.
// Inlined into the kernels of this folder.
#pragma once

#include "spblas/csr/rows.hpp"

namespace vrn::spblas::csr {

// Products of one vector of values with what the indices name. A complex sum is kept in two parts, values times real
// and times imaginary parts of x, which saves a shuffle an entry; they meet once, at the end.
template <class T, bool Conjugate>
struct partial {
    using V = vec<T>;
    V sum = V::zero();
    template <class Places>
    [[gnu::always_inline]] void add(V v, const Places& at, const T* x)
    {
        if constexpr (V::lanes == 2) sum = sum + v * V{_mm_loadh_pd(_mm_load_sd(x + at.col[0]), x + at.col[1])};
        else sum = sum + v * V{_mm_setr_ps(x[at.col[0]], x[at.col[1]], x[at.col[2]], x[at.col[3]])};
    }
    friend partial operator+(partial a, partial b) { return {a.sum + b.sum}; }
    T total() const { return sum.sum(); }
};

template <class R, bool Conjugate>
struct partial<cplx<R>, Conjugate> {
    using V = vec<R>;
    V by_re = V::zero(), by_im = V::zero();
    template <class Places>
    [[gnu::always_inline]] void add(V v, const Places& at, const cplx<R>* x)
    {
        if constexpr (V::lanes == 2) {
            const R* z = &x[at.col[0]].re;
            by_re = by_re + v * V::all_at(z);
            by_im = by_im + v * V::all_at(z + 1);
        } else {
            const V z = V::halves(&x[at.col[0]].re, &x[at.col[1]].re);
            by_re = by_re + v * V{_mm_moveldup_ps(z.v)};
            by_im = by_im + v * V{_mm_movehdup_ps(z.v)};
        }
    }
    friend partial operator+(partial a, partial b) { return {a.by_re + b.by_re, a.by_im + b.by_im}; }
    cplx<R> total() const
    {
        // (v.re + i v.im)(x.re + i x.im), and with v conjugated.
        R p[V::lanes], q[V::lanes];
        by_re.storeu(p);
        by_im.storeu(q);
        cplx<R> s{};
        for (int k = 0; k < V::lanes; k += 2)
            s = s +
                (Conjugate ? cplx<R>{p[k] + q[k + 1], q[k] - p[k + 1]} : cplx<R>{p[k] - q[k + 1], p[k + 1] + q[k]});
        return s;
    }
};

// How a row is split. `trip` entries go to `sums` accumulators in turn, from rows of `from` entries on.
struct split {
    int trip, sums, from;
};

// A plain product takes trips of 64 entries (single precision: 4, one vector), and rows below one trip entry by
// entry: a short row never pays for the folding of accumulators. Eight accumulators leave registers for the products.
template <class T>
inline constexpr split whole_row{64, is_complex<T> ? 4 : 8, 64};
template <>
inline constexpr split whole_row<float>{4, 1, 4};
// One vector at a time, two entries at the least, for products with the columns of a matrix.
template <class T>
inline constexpr split column_row{per_vec<T> < 2 ? 2 : per_vec<T>, 1, 2};
template <>
inline constexpr split column_row<float>{4, 1, 4};
// Where entries are taken back afterwards: 8 a trip in four accumulators.
template <class T>
inline constexpr split masked_row{8, 8 / per_vec<T> < 4 ? 8 / per_vec<T> : 4, 8};

// ((p0 + p4) + (p2 + p6)) + ((p1 + p5) + (p3 + p7)), and so for 4 and 2.
template <int N, int Step = 1, class P>
[[gnu::always_inline]] inline P folded(const P* p)
{
    if constexpr (N == Step) return p[0];
    else return folded<N, 2 * Step>(p) + folded<N, 2 * Step>(p + Step);
}

// What a value is before it meets x: itself, conjugated by the sum where asked for; or times alpha.
template <bool Conjugate>
struct as_stored {
    static constexpr bool conjugates_sum = Conjugate;
    template <class R>
    vec<R> operator()(vec<R> v) const
    {
        return v;
    }
    template <class T>
    T scalar(T v) const
    {
        return conj_if<Conjugate>(v);
    }
};
template <class T, bool Conjugate>
struct times_alpha {
    static constexpr bool conjugates_sum = false;
    using V = vec<real_of<T>>;
    factor<T> alpha;
    V operator()(V v) const
    {
        if constexpr (Conjugate && is_complex<T>) v = V::pair(1, -1) * v;
        return alpha(v);
    }
    T scalar(T v) const { return alpha(conj_if<Conjugate>(v)); }
};

// All whole trips of a row, with N vectors ld apart.
template <split S, int N, class T, class I, class Map>
[[gnu::always_inline]] inline several<T, N> trips(const T* val, const I* indx, std::ptrdiff_t size, const T* x,
                                                  std::ptrdiff_t ld, const Map& map)
{
    using P = partial<T, Map::conjugates_sum>;
    using R = real_of<T>;
    constexpr int step = per_vec<T>, rounds = S.trip / step / S.sums;
    static_assert(rounds * S.sums * step == S.trip);
    P p[N][S.sums];
    for (; size >= S.trip; size -= S.trip, val += S.trip, indx += S.trip)
        simd::unroll<rounds * S.sums>([&](auto i) __attribute__((always_inline)) {
            const auto v = map(vec<R>::loadu(reinterpret_cast<const R*>(val + i * step)));
            const places<I, step> at(indx + i * step);
            simd::unroll<N>([&](auto j) { p[j][i % S.sums].add(v, at, x + j * ld); });
        });
    several<T, N> sum;
    simd::unroll<N>([&](auto j) { sum.e[j] = folded<S.sums>(p[j]).total(); });
    return sum;
}

// sums[r] plus the products of N rows of one size, each sum entry after entry.
template <int N, class T, class I, class Map>
[[gnu::always_inline]] inline several<T, N> summed(several<T, N> sums, const row<T, I> (&rows)[N], const T* x,
                                                   const Map& map)
{
    auto one = [&](std::ptrdiff_t k) __attribute__((always_inline))
    {
        simd::unroll<N>([&](auto r) __attribute__((always_inline)) {
            sums.e[r] = sums.e[r] + map.scalar(rows[r].val[k]) * x[rows[r].indx[k]];
        });
    };
    auto two = [&](std::ptrdiff_t k) __attribute__((always_inline))
    {
        simd::unroll<N>([&](auto r) __attribute__((always_inline)) {
            const places<I, 2> at(rows[r].indx + k);
            if constexpr (std::is_same_v<T, double>) {
                // Products in pairs save a load: where x comes from a cache behind the first, loads are repeated.
                const vec<T> p = map(vec<T>::loadu(rows[r].val + k)) *
                                 vec<T>{_mm_loadh_pd(_mm_load_sd(x + at.col[0]), x + at.col[1])};
                sums.e[r] = sums.e[r] + p.lane(0);
                sums.e[r] = sums.e[r] + p.lane(1);
            } else {
                sums.e[r] = sums.e[r] + map.scalar(rows[r].val[k]) * x[at.col[0]];
                sums.e[r] = sums.e[r] + map.scalar(rows[r].val[k + 1]) * x[at.col[1]];
            }
        });
    };
    in_order(rows[0].size, one, two);
    return sums;
}

// The row's sums: the loads of an entry serve all N vectors, and each sum has the order of one alone.
template <split S, int N, class T, class I, class Map>
[[gnu::always_inline]] inline several<T, N> dots(const row<T, I>& a, const T* x, std::ptrdiff_t ld, const Map& map)
{
    several<T, N> sum{};
    std::ptrdiff_t k = 0;
    if (a.size >= S.from) {
        sum = trips<S, N>(a.val, a.indx, a.size, x, ld, map);
        k = a.size & ~std::ptrdiff_t{S.trip - 1};
    }
    if constexpr (N == 1 && S.trip > 8) return summed<1>(sum, {row<T, I>{a.val + k, a.indx + k, a.size - k}}, x, map);
    auto add = [&](std::ptrdiff_t i, std::ptrdiff_t col) __attribute__((always_inline))
    {
        const T v = map.scalar(a.val[i]);
        simd::unroll<N>([&](auto j) { sum.e[j] = sum.e[j] + v * x[col + j * ld]; });
    };
    for (; k + 1 < a.size; k += 2) {
        const places<I, 2> at(a.indx + k);
        add(k, at.col[0]);
        add(k + 1, at.col[1]);
    }
    if ((a.size & 1) != 0) add(a.size - 1, a.indx[a.size - 1]);
    return sum;
}

template <split S, class T, class I, class Map>
[[gnu::always_inline]] inline T dot(const row<T, I>& a, const T* x, const Map& map)
{
    return dots<S, 1>(a, x, 0, map).e[0];
}

} // namespace vrn::spblas::csr
