// blas/level1/swap.hpp - x and y change places. Instantiated by swap.cpp.
// Doubles are shifted through registers where x and y cannot be aligned together, as in copy.hpp; single precision
// has one loop for each of the four ways in which x and y can be aligned.
#pragma once

#include "blas/level1/tables.hpp"

namespace vrn::blas {

struct swap_op : reads_both {
    static constexpr bool writes_x = true;
    template <class V>
    void operator()(V& x, V& y) const
    {
        const V t = x;
        x = y;
        y = t;
    }
};

// y is aligned at i, x is 8 bytes off; x[i] has its new value. Held: (?, old x[i]) and (y[i], y[i+1]).
struct shifted_swap {
    double *x, *y;
    mutable vec<double> x_held, y_held;
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        unroll<Block / 2>([&](auto g) __attribute__((always_inline)) {
            const vrn_int at = i + 2 * g;
            const auto x_next = vec<double>::load(x + at + 1), y_next = vec<double>::load(y + at + 2);
            straddle(x_held, x_next).store(y + at);
            straddle(y_held, y_next).store(x + at + 1);
            x_held = x_next;
            y_held = y_next;
        });
    }
};

[[gnu::noinline]] inline void swap_shifted(vrn_int n, double* x, double* y)
{
    const unit_walk<false, false, swap_op, double, double> single{{}, x, y};
    vrn_int i = 0;
    if (place(y) != 0) single.one(i++);
    // Each group reads two elements of y ahead.
    if (n - i >= 4) {
        const shifted_swap walk{x, y, vec<double>::all(x[i]), vec<double>::load(y + i)};
        x[i] = y[i];
        i = blocks(swap_shape_double::apart{}, walk, i, n - 2);
        y[i++] = walk.x_held.lane(1);
    }
    for (; i < n; ++i) single.one(i);
}

[[gnu::always_inline]] inline void swap(vrn_int n, double* x, vrn_int incx, double* y, vrn_int incy)
{
    if (n <= 0) return;
    if (!unit_strides(incx, incy) || !is_natural(x) || !is_natural(y))
        return update_strided<swap_shape_double::strided, swap_op>(n, x, incx, y, incy);
    if (place(x) != place(y)) return swap_shifted(n, x, y);
    update_peeled<swap_shape_double, swap_op>(n, x, y);
}

// float and cplx<float>.
template <class E>
[[gnu::always_inline]] inline void swap(vrn_int n, E* x, vrn_int incx, E* y, vrn_int incy)
{
    using chain = swap_shape_single;
    if (n <= 0) return;
    if (!unit_strides(incx, incy)) return update_strided<steps<>, swap_op>(n, x, incx, y, incy);
    switch ((place(x) == 0 ? 2 : 0) + (place(y) == 0 ? 1 : 0)) {
    case 3: return update_unit<true, true, chain, swap_op>(n, x, y);
    case 2: return update_unit<true, false, chain, swap_op>(n, x, y);
    case 1: return update_unit<false, true, chain, swap_op>(n, x, y);
    default: return update_unit<false, false, chain, swap_op>(n, x, y);
    }
}

[[gnu::always_inline]] inline void swap(vrn_int n, cplx<double>* x, vrn_int incx, cplx<double>* y, vrn_int incy)
{
    if (unit_strides(incx, incy)) return swap(2 * n, &x->re, 1, &y->re, 1);
    if (n > 0) update_strided<steps<>, swap_op>(n, x, incx, y, incy);
}

} // namespace vrn::blas
