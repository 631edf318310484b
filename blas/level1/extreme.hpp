// blas/level1/extreme.hpp - one-based index of the first element of largest or smallest magnitude, |re| + |im| for
// complex elements. Instantiated by extreme.cpp.
//
// Unit stride: each lane of a vector keeps its own extreme and the index of the element that set it; at the end the
// lanes that hold the overall extreme compete and the lowest index wins. The index is kept by block: a lane notes
// the block in which it changed, and only the winner's block is searched for the element. So the loop carries one
// select a block, and no branch that depends on the data.
//
// NaN: a NaN becomes the running extreme and stays it. In a scalar stretch every later element then moves the index,
// so the answer is the last element; a vector stretch that meets one leaves the index as it was ahead of it.
#pragma once

#include "blas/level1/update.hpp"

#include <cmath>
#include <cstddef>

namespace vrn::blas {

enum class extreme { largest, smallest };

template <extreme X, class R>
struct order_of {
    using V = vec<R>;
    static V better(V a, V b) { return X == extreme::largest ? max(a, b) : min(a, b); }
    // Lanes where b is to replace a.
    static V replaces(V b, V a) { return X == extreme::largest ? not_less_equal(b, a) : not_greater_equal(b, a); }
    // The best of all lanes, in every lane.
    static V across(V a)
    {
        a = better(a, swap_halves(a));
        return V::lanes == 2 ? a : better(a, swap_parts(a));
    }
    static bool keeps(double a, double b) { return X == extreme::largest ? a >= b : a <= b; }
};

template <class R>
R magnitude(R x)
{
    return std::fabs(x);
}
template <class R>
R magnitude(cplx<R> x)
{
    return abs1(x);
}

// The scalar stretch. Singles are compared as doubles, which changes nothing.
template <extreme X, class E>
struct running_extreme {
    double value;
    vrn_int index; // one-based
    [[gnu::always_inline]] void see(E x, vrn_int i)
    {
        const double a = magnitude(x);
        if (order_of<X, double>::keeps(value, a)) [[likely]] return;
        index = i + 1;
        if (value == value) value = a;
    }
};

// Magnitudes of one vector of elements.
template <class R>
[[gnu::always_inline]] inline vec<R> magnitudes_at(const R* x)
{
    return abs(vec<R>::load(x));
}
template <class R>
[[gnu::always_inline]] inline vec<R> magnitudes_at(const cplx<R>* x)
{
    const R* p = &x->re;
    return add_pairs(abs(vec<R>::loadu(p)), abs(vec<R>::loadu(p + vec<R>::lanes)));
}

// First of so many vectors from x on that holds the winner, as an offset in elements; one of them does.
template <int Vectors, class R, class E>
[[gnu::always_inline]] inline vrn_int offset_of(vec<R> winner, const E* x)
{
    using V = vec<R>;
    const auto holds = [&](vrn_int v) __attribute__((always_inline)) {
        return equal(magnitudes_at(x + v * V::lanes), winner);
    };
    if constexpr (Vectors == 1) return __builtin_ctz(static_cast<unsigned>(holds(0).signs()));
    constexpr int stretch = 8; // as many as one look takes
    for (vrn_int v = 0;; v += stretch) {
        std::uint64_t found = 0;
        unroll<stretch / 4>([&](auto g) __attribute__((always_inline)) {
            constexpr int w = 4 * g;
            found |= std::uint64_t{V::marks(holds(v + w), holds(v + w + 1), holds(v + w + 2), holds(v + w + 3))}
                     << (16 * g);
        });
        if (Vectors == stretch || found != 0) return v * V::lanes + __builtin_ctzll(found) / V::marks_per_lane;
    }
}

// Elements first .. end-1, whole vectors. `best` is what came ahead of them.
template <extreme X, class E>
[[gnu::always_inline]] inline void vector_stretch(const E* x, vrn_int first, vrn_int end, running_extreme<X, E>& best)
{
    using R = real_of<E>;
    using V = vec<R>;
    using order = order_of<X, R>;
    // Vectors in a block. Long ones share one select among many vectors, and cost a longer search at the end: they
    // are for long vectors, and the last of those go by short ones.
    constexpr int lanes = V::lanes, long_block = 32, long_rest = 256, short_block = 8;
    V value = V::all(static_cast<R>(best.value)), nan = unordered(value, value);
    auto where = simd::lane_ints<R>::all(-1); // the start of the lane's block; -1 for what came ahead

    const auto meet = [&](V v, vrn_int i) __attribute__((always_inline)) {
        where = simd::lane_ints<R>::select(order::replaces(v, value), simd::lane_ints<R>::all(i), where);
        value = order::better(v, value);
    };
    const auto meet_block = [&](auto vectors, vrn_int i) __attribute__((always_inline)) {
        V a0, a1, a2, a3;
        unroll<vectors / 4>([&](auto g) __attribute__((always_inline)) {
            const E* p = x + i + 4 * g * lanes;
            const V b0 = magnitudes_at(p), b1 = magnitudes_at(p + lanes), b2 = magnitudes_at(p + 2 * lanes),
                    b3 = magnitudes_at(p + 3 * lanes);
            nan = nan | unordered(b0, b1) | unordered(b2, b3);
            a0 = g == 0 ? b0 : order::better(a0, b0);
            a1 = g == 0 ? b1 : order::better(a1, b1);
            a2 = g == 0 ? b2 : order::better(a2, b2);
            a3 = g == 0 ? b3 : order::better(a3, b3);
        });
        meet(order::better(order::better(a0, a1), order::better(a2, a3)), i);
    };
    vrn_int i = first;
    for (; i + long_rest * lanes <= end; i += long_block * lanes)
        meet_block(std::integral_constant<int, long_block>{}, i);
    const vrn_int long_end = i;
    for (; i + short_block * lanes <= end; i += short_block * lanes)
        meet_block(std::integral_constant<int, short_block>{}, i);
    const vrn_int short_end = i;
    for (; i < end; i += lanes) {
        const V v = magnitudes_at(x + i);
        nan = nan | unordered(v, v);
        meet(v, i);
    }
    if (nan.signs() != 0) {
        best.value = __builtin_nan("");
        return;
    }
    const V winner = order::across(value);
    const int holders = equal(value, winner).signs();
    vrn_int at = end;
    unroll<lanes>([&](auto l) __attribute__((always_inline)) {
        const vrn_int candidate = (holders >> l & 1) != 0 ? where.lane(l) : end;
        at = candidate < at ? candidate : at;
    });
    if (at < 0) return; // what came ahead is as good
    best.index = 1 + at +
                 (at < long_end    ? offset_of<long_block>(winner, x + at)
                  : at < short_end ? offset_of<short_block>(winner, x + at)
                                   : offset_of<1>(winner, x + at));
    best.value = winner.lane(0);
}

template <extreme X, class E>
[[gnu::noinline]] vrn_int strided_index_of_extreme(vrn_int n, const E* x, vrn_int incx)
{
    running_extreme<X, E> best{static_cast<double>(magnitude(x[0])), 1};
    for (vrn_int i = 1; i < n; ++i) best.see(x[i * incx], i);
    return best.index;
}

template <extreme X, class E>
[[gnu::always_inline]] inline vrn_int index_of_extreme(vrn_int n, const E* x, vrn_int incx)
{
    constexpr int lanes = vec<real_of<E>>::lanes;
    if (n <= 0 || incx <= 0) return 0;
    if (n == 1) return 1;
    constexpr bool complex = simd::element<E>::parts == 2;
    if (incx != 1 || !(complex ? place(x) % 8 == 0 : is_natural(x)))
        return strided_index_of_extreme<X>(n, x, incx);
    running_extreme<X, E> best{static_cast<double>(magnitude(x[0])), 1};
    vrn_int i = 1;
    // Eight bytes is the least alignment of the vector stretch of complex elements; their head is one step, which
    // brings single-precision numbers into line and tests no further for the others.
    const vrn_int head = 1 + (complex ? place(x + 1) != 0 : peel_count(x + 1, n - 1));
    for (; i < head; ++i) best.see(x[i], i);
    const vrn_int end = n - static_cast<vrn_int>(static_cast<std::size_t>(n - i) % lanes);
    if (i < end) vector_stretch(x, i, end, best);
    for (i = end; i < n; ++i) best.see(x[i], i);
    return best.index;
}

} // namespace vrn::blas
