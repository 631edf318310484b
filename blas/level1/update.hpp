// blas/level1/update.hpp - the one shape of the kernels that change a vector: copy, swap, scal, axpy, axpby, rot.
//
// A kernel brings an operation on (x, y), for vectors and for single elements, and its row of tables.hpp. Unit
// strides take elements one by one until y is 16-byte aligned, then blocks, then a chain of shorter steps, then
// single elements; other strides walk from the far end of a negative stride. Each element is computed alone, so
// neither the alignment nor the blocks are seen in the result.
#pragma once

#include "frame/export.hpp"
#include "simd/complex.hpp"
#include "simd/unroll.hpp"

#include <cstdint>
#include <type_traits>

namespace vrn::blas {

using simd::cplx;
using simd::factor;
using simd::per_vec;
using simd::real_of;
using simd::unroll;
using simd::vec;

// Block sizes in elements: the first is a loop, the others take what it leaves. Single elements come last and
// are not listed.
template <int... Blocks>
struct steps {};

// Both 1, or both -1: the second pairs the same elements as the first, from the other end.
inline bool unit_strides(vrn_int incx, vrn_int incy) { return incx == incy && (incx == 1 || incx == -1); }

// A vector of n elements begins at its far end where the stride is negative.
template <class E>
E* vector_begin(E* x, vrn_int n, vrn_int inc)
{
    return inc < 0 ? x + (1 - n) * inc : x;
}

inline std::uintptr_t place(const void* p) { return reinterpret_cast<std::uintptr_t>(p) & 15; }

template <class E>
bool is_natural(const E* p)
{
    return reinterpret_cast<std::uintptr_t>(p) % sizeof(real_of<E>) == 0;
}

// Elements ahead of the first 16-byte boundary, at most n; for a naturally aligned real vector.
template <class R>
vrn_int peel_count(const R* p, vrn_int n)
{
    const auto count = static_cast<vrn_int>((-place(p) & 15) / sizeof(R));
    return count < n ? count : n;
}

// What an operation reads and writes besides writing y.
struct reads_both {
    static constexpr bool reads_x = true, reads_y = true, writes_x = false, spreads = false, pairs = false;
};

// Halves of cache lines, 0, 1, 4, 5, ... and then 2, 3, 6, 7, ..., so that neighbouring accesses fall in different
// lines.
constexpr int spread(int g, int groups)
{
    const int j = g % (groups / 2);
    return j / 2 * 4 + j % 2 + (g < groups / 2 ? 0 : 2);
}

template <bool AlignedX, bool AlignedY, class Op, class X, class E>
struct unit_walk {
    using R = real_of<E>;
    using V = vec<R>;
    Op op; // a copy: reached through a reference its factors would be loaded again after every store
    X* x;
    E* y;

    template <bool Aligned>
    static V load(const E* p)
    {
        const auto* r = reinterpret_cast<const R*>(p);
        return Aligned ? V::load(r) : V::loadu(r);
    }
    template <bool Aligned>
    static void store(V v, E* p)
    {
        auto* r = reinterpret_cast<R*>(p);
        Aligned ? v.store(r) : v.storeu(r);
    }
    [[gnu::always_inline]] void group(vrn_int i) const
    {
        V xv = Op::reads_x ? load<AlignedX>(x + i) : V::zero(), yv = Op::reads_y ? load<AlignedY>(y + i) : V::zero();
        op(xv, yv);
        store<AlignedY>(yv, y + i);
        if constexpr (Op::writes_x) store<AlignedX>(xv, x + i);
    }
    [[gnu::always_inline]] void one(vrn_int i) const
    {
        E xe = Op::reads_x ? x[i] : E{}, ye = Op::reads_y ? y[i] : E{};
        op(xe, ye);
        y[i] = ye;
        if constexpr (Op::writes_x) x[i] = xe;
    }
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        constexpr int groups = Block / per_vec<E>;
        unroll<groups>([&](auto g) __attribute__((always_inline)) {
            group(i + (Op::spreads && Block == 64 ? spread(g, groups) : g) * per_vec<E>);
        });
    }
};

namespace detail {

template <int Last, class Walk>
[[gnu::always_inline]] inline vrn_int tails(steps<>, const Walk&, vrn_int i, vrn_int)
{
    return i;
}

template <int Last, int Block, int... Rest, class Walk>
[[gnu::always_inline]] inline vrn_int tails(steps<Block, Rest...>, const Walk& walk, vrn_int i, vrn_int n)
{
    // A step half as long as the one before it can be due only once.
    if constexpr (Last == 2 * Block) {
        if (n - i >= Block) {
            walk.template block<Block>(i);
            i += Block;
        }
    } else {
        for (; n - i >= Block; i += Block) walk.template block<Block>(i);
    }
    return tails<Block>(steps<Rest...>{}, walk, i, n);
}

} // namespace detail

// Elements i .. n-1 of unit stride; returns how far the blocks went.
template <int... Blocks, class Walk>
[[gnu::always_inline]] inline vrn_int blocks(steps<Blocks...> chain, const Walk& walk, vrn_int i, vrn_int n)
{
    return detail::tails<0>(chain, walk, i, n);
}

template <int... Blocks, class Walk>
[[gnu::always_inline]] inline void sweep(steps<Blocks...> chain, const Walk& walk, vrn_int i, vrn_int n)
{
    for (i = blocks(chain, walk, i, n); i < n; ++i) walk.one(i);
}

template <bool AlignedX, class Chain, class Op, class X, class E, class... Scalars>
[[gnu::always_inline]] inline void sweep_peeled(vrn_int n, X* x, E* y, Scalars... scalars)
{
    const unit_walk<AlignedX, true, Op, X, E> walk{Op(scalars...), x, y};
    vrn_int i = 0;
    if (place(y) != 0) [[unlikely]]
        for (const vrn_int peel = peel_count(y, n); i < peel; ++i) walk.one(i);
    sweep(Chain{}, walk, i, n);
}

// The less common paths are functions of their own, with the scalars by value: an entry jumps there, and a short
// vector does not pay for the registers that another path saves.
template <class Chain, class Op, class X, class E, class... Scalars>
[[gnu::noinline]] void update_apart(vrn_int n, X* x, E* y, Scalars... scalars)
{
    sweep_peeled<false, Chain, Op>(n, x, y, scalars...);
}

// Unit strides of a naturally aligned real type. `together` where x and y lie alike within 16 bytes, `apart`
// where only y can be aligned.
template <class Shape, class Op, class X, class E, class... Scalars>
[[gnu::always_inline]] inline void update_peeled(vrn_int n, X* x, E* y, Scalars... scalars)
{
    if constexpr (Op::reads_x)
        if (place(x) != place(y)) return update_apart<typename Shape::apart, Op>(n, x, y, scalars...);
    sweep_peeled<true, typename Shape::together, Op>(n, x, y, scalars...);
}

template <bool AlignedX, bool AlignedY, class Chain, class Op, class X, class E, class... Scalars>
[[gnu::always_inline]] inline void update_unit(vrn_int n, X* x, E* y, Scalars... scalars)
{
    sweep(Chain{}, unit_walk<AlignedX, AlignedY, Op, X, E>{Op(scalars...), x, y}, 0, n);
}

template <class Op, class X, class E>
struct strided_walk {
    Op op;
    X* x;
    vrn_int incx;
    E* y;
    vrn_int incy;
    static constexpr bool in_pairs = Op::pairs && std::is_same_v<E, double>;

    [[gnu::always_inline]] void one(vrn_int i) const
    {
        E xe = Op::reads_x ? x[i * incx] : E{}, ye = Op::reads_y ? y[i * incy] : E{};
        op(xe, ye);
        y[i * incy] = ye;
        if constexpr (Op::writes_x) x[i * incx] = xe;
    }
    [[gnu::always_inline]] void pair(vrn_int i) const
    {
        using V = vec<double>;
        X* const xp = x + i * incx;
        E* const yp = y + i * incy;
        V xv = Op::reads_x ? V::gather(xp, incx) : V::zero(), yv = Op::reads_y ? V::gather(yp, incy) : V::zero();
        op(xv, yv);
        yv.scatter(yp, incy);
    }
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        if constexpr (in_pairs)
            unroll<Block / 2>([&](auto g) __attribute__((always_inline)) { pair(i + 2 * g); });
        else
            unroll<Block>([&](auto j) __attribute__((always_inline)) { one(i + j); });
    }
};

// Any strides. Pairs are gathered into vectors only where no two elements are the same one: a stride of zero
// carries a result from element to element.
template <class Chain, class Op, class X, class E, class... Scalars>
[[gnu::noinline]] void update_strided(vrn_int n, X* x, vrn_int incx, E* y, vrn_int incy, Scalars... scalars)
{
    const strided_walk<Op, X, E> walk{Op(scalars...), vector_begin(x, n, incx), incx, vector_begin(y, n, incy), incy};
    if (walk.in_pairs && incy == 0) return sweep(steps<>{}, walk, 0, n);
    sweep(Chain{}, walk, 0, n);
}

// y from x and y in any type, the ways that axpy and axpby share: complex vectors are not peeled.
template <class Shape, class Op, class E, class... Scalars>
[[gnu::always_inline]] inline void update_two(vrn_int n, const E* x, vrn_int incx, E* y, vrn_int incy,
                                              Scalars... scalars)
{
    const bool unit = unit_strides(incx, incy);
    if constexpr (simd::element<E>::parts == 2) {
        if (!unit) return update_strided<steps<>, Op>(n, x, incx, y, incy, scalars...);
        update_unit<false, false, typename Shape::any, Op>(n, x, y, scalars...);
    } else {
        if (!unit || !is_natural(x) || !is_natural(y))
            return update_strided<typename Shape::strided, Op>(n, x, incx, y, incy, scalars...);
        update_peeled<Shape, Op>(n, x, y, scalars...);
    }
}

} // namespace vrn::blas
