// blas/level1/axpy.hpp - y := alpha x + y. Instantiated by axpy.cpp.
// The product is rounded, then the sum.
#pragma once

#include "blas/level1/tables.hpp"

namespace vrn::blas {

template <class E>
struct axpy_op : reads_both {
    static constexpr bool spreads = true, pairs = true;
    factor<E> alpha;
    explicit axpy_op(E a) : alpha(a) {}
    template <class V>
    void operator()(const V& x, V& y) const
    {
        y = y + alpha(x);
    }
};

template <class E>
void axpy(vrn_int n, E alpha, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    using shape = axpy_shape<E>;
    if (n <= 0 || alpha == E{}) return;
    const axpy_op<E> op(alpha);
    if constexpr (simd::element<E>::parts == 2) {
        if (unit_strides(incx, incy))
            sweep(typename shape::any{}, unit_walk<false, false, axpy_op<E>, const E, E>{op, x, y}, 0, n);
        else
            update_strided(steps<>{}, op, n, x, incx, y, incy);
    } else {
        if (unit_strides(incx, incy) && is_natural(x) && is_natural(y))
            update_peeled<shape>(op, n, x, y);
        else
            update_strided(typename shape::strided{}, op, n, x, incx, y, incy);
    }
}

} // namespace vrn::blas
