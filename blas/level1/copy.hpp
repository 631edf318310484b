// blas/level1/copy.hpp - y := x. Instantiated by copy.cpp.
// Doubles that cannot be aligned together are shifted through registers: every load and store stays inside one
// 16-byte cell, where an unaligned load of every fourth pair would touch two cache lines.
#pragma once

#include "blas/level1/tables.hpp"

namespace vrn::blas {

struct copy_op : reads_both {
    static constexpr bool reads_y = false;
    template <class V>
    void operator()(const V& x, V& y) const
    {
        y = x;
    }
};

// y is aligned at i, x is 8 bytes off. `held` is (?, x[i]) ahead of each group.
struct shifted_copy {
    const double* x;
    double* y;
    mutable vec<double> held;
    template <int Block>
    [[gnu::always_inline]] void block(vrn_int i) const
    {
        unroll<Block / 2>([&](auto g) __attribute__((always_inline)) {
            const vrn_int at = i + 2 * g;
            const auto next = vec<double>::load(x + at + 1);
            straddle(held, next).store(y + at);
            held = next;
        });
    }
};

[[gnu::noinline]] inline void copy_shifted(vrn_int n, const double* x, double* y)
{
    vrn_int i = 0;
    if (place(y) != 0) y[i] = x[i], i = 1;
    // Each group reads one element ahead, so the last element is left over.
    if (i < n) i = blocks(copy_shape<double>::apart{}, shifted_copy{x, y, vec<double>::all(x[i])}, i, n - 1);
    for (; i < n; ++i) y[i] = x[i];
}

template <class R>
[[gnu::always_inline]] inline void copy(vrn_int n, const R* x, vrn_int incx, R* y, vrn_int incy)
{
    using shape = copy_shape<R>;
    if (n <= 0) return;
    if (!unit_strides(incx, incy) || !is_natural(x) || !is_natural(y))
        return update_strided<typename shape::strided, copy_op>(n, x, incx, y, incy);
    if constexpr (sizeof(R) == 8)
        if (place(x) != place(y)) return copy_shifted(n, x, y);
    update_peeled<shape, copy_op>(n, x, y);
}

template <class R>
[[gnu::always_inline]] inline void copy(vrn_int n, const cplx<R>* x, vrn_int incx, cplx<R>* y, vrn_int incy)
{
    if (unit_strides(incx, incy)) return copy(2 * n, &x->re, 1, &y->re, 1);
    if (n > 0) update_strided<steps<>, copy_op>(n, x, incx, y, incy);
}

} // namespace vrn::blas
