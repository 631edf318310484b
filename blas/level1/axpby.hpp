// blas/level1/axpby.hpp - y := alpha x + beta y. Instantiated by axpby.cpp.
// With beta zero y is written and not read, so what it held, NaN too, is gone. Complex vectors have a third form
// for beta one.
#pragma once

#include "blas/level1/axpy.hpp"

namespace vrn::blas {

template <class E>
struct axpby_op : reads_both {
    static constexpr bool pairs = true;
    factor<E> alpha, beta;
    axpby_op(E a, E b) : alpha(a), beta(b) {}
    template <class V>
    void operator()(const V& x, V& y) const
    {
        y = alpha(x) + beta(y);
    }
};

// y := alpha x.
template <class E>
struct scaled_copy_op : reads_both {
    static constexpr bool reads_y = false;
    factor<E> alpha;
    explicit scaled_copy_op(E a) : alpha(a) {}
    template <class V>
    void operator()(const V& x, V& y) const
    {
        y = alpha(x);
    }
};

template <class E>
[[gnu::always_inline]] inline void axpby(vrn_int n, E alpha, const E* x, vrn_int incx, E beta, E* y, vrn_int incy)
{
    using shape = axpby_shape<E>;
    const E one = simd::unity<E>;
    if (n < 1 || (alpha == E{} && beta == one)) return;
    if (beta == E{}) return update_two<shape, scaled_copy_op<E>>(n, x, incx, y, incy, alpha);
    if constexpr (simd::element<E>::parts == 2)
        if (beta == one) return update_two<shape, axpy_op<E>>(n, x, incx, y, incy, alpha);
    update_two<shape, axpby_op<E>>(n, x, incx, y, incy, alpha, beta);
}

} // namespace vrn::blas
