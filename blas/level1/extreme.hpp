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

// First of the groups from x on that holds the winner, as an offset; one of them does.
template <int Groups, class R, class E>
[[gnu::always_inline]] inline vrn_int offset_of(vec<R> winner, const E* x)
{
    unsigned long found = 0;
    unroll<Groups>([&](auto g) __attribute__((always_inline)) {
        constexpr int at = g * vec<R>::lanes;
        found |= static_cast<unsigned long>(equal(magnitudes_at(x + at), winner).signs()) << at;
    });
    return __builtin_ctzl(found);
}

// Elements first .. first + groups * lanes - 1. `best` is what came ahead of them.
template <extreme X, class E>
void vector_stretch(const E* x, vrn_int first, vrn_int end, running_extreme<X, E>& best)
{
    using R = real_of<E>;
    using V = vec<R>;
    using order = order_of<X, R>;
    constexpr int lanes = V::lanes, groups = 8, block = groups * lanes;
    V value = V::all(static_cast<R>(best.value)), nan = unordered(value, value);
    auto where = simd::lane_ints<R>::all(-1); // the start of the lane's block; -1 for what came ahead

    const auto meet = [&](V v, vrn_int i) __attribute__((always_inline)) {
        where = simd::lane_ints<R>::select(order::replaces(v, value), simd::lane_ints<R>::all(i), where);
        value = order::better(v, value);
    };
    vrn_int i = first;
    for (; i + block <= end; i += block) {
        V a[groups];
        unroll<groups>([&](auto g) __attribute__((always_inline)) { a[g] = magnitudes_at(x + i + g * lanes); });
        unroll<groups / 2>([&](auto g) __attribute__((always_inline)) { nan = nan | unordered(a[2 * g], a[2 * g + 1]); });
        meet(order::better(order::better(order::better(a[0], a[1]), order::better(a[2], a[3])),
                           order::better(order::better(a[4], a[5]), order::better(a[6], a[7]))),
             i);
    }
    const vrn_int blocks_end = i;
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
    for (int l = 0; l < lanes; ++l)
        if ((holders >> l & 1) != 0 && where.lane(l) < at) at = where.lane(l);
    if (at < 0) return; // what came ahead is as good
    best.index = 1 + at + (at < blocks_end ? offset_of<groups>(winner, x + at) : offset_of<1>(winner, x + at));
    best.value = winner.lane(0);
}

template <extreme X, class E>
vrn_int index_of_extreme(vrn_int n, const E* x, vrn_int incx)
{
    using R = real_of<E>;
    constexpr int lanes = vec<R>::lanes;
    if (n <= 0 || incx <= 0) return 0;
    if (n == 1) return 1;
    running_extreme<X, E> best{static_cast<double>(magnitude(x[0])), 1};
    vrn_int i = 1;
    // Eight bytes is the least alignment of the vector stretch of complex elements; their head is one step, which
    // brings single-precision numbers into line and tests no further for the others.
    constexpr bool complex = simd::element<E>::parts == 2;
    if (incx == 1 && (complex ? place(x) % 8 == 0 : is_natural(x))) {
        const vrn_int head = 1 + (complex ? place(x + 1) != 0 : peel_count(x + 1, n - 1));
        for (; i < head; ++i) best.see(x[i], i);
        const vrn_int end = n - (n - i) % lanes;
        if (i < end) vector_stretch(x, i, end, best);
        i = end;
    }
    for (; i < n; ++i) best.see(x[i * incx], i);
    return best.index;
}

} // namespace vrn::blas
