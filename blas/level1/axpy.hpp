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
[[gnu::always_inline]] inline void axpy(vrn_int n, E alpha, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    if (n <= 0 || alpha == E{}) return;
    update_two<axpy_shape<E>, axpy_op<E>>(n, x, incx, y, incy, alpha);
}

} // namespace vrn::blas
