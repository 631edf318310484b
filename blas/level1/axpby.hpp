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

template <class Op, class E>
void axpby_by(const Op& op, vrn_int n, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    using shape = axpby_shape<E>;
    if constexpr (simd::element<E>::parts == 2) {
        if (unit_strides(incx, incy))
            sweep(typename shape::any{}, unit_walk<false, false, Op, const E, E>{op, x, y}, 0, n);
        else
            update_strided(steps<>{}, op, n, x, incx, y, incy);
    } else {
        if (unit_strides(incx, incy) && is_natural(x) && is_natural(y))
            update_peeled<shape>(op, n, x, y);
        else
            update_strided(typename shape::strided{}, op, n, x, incx, y, incy);
    }
}

template <class E>
void axpby(vrn_int n, E alpha, const E* x, vrn_int incx, E beta, E* y, vrn_int incy)
{
    const E one = simd::unity<E>;
    if (n < 1 || (alpha == E{} && beta == one)) return;
    if (beta == E{}) return axpby_by(scaled_copy_op<E>(alpha), n, x, incx, y, incy);
    if constexpr (simd::element<E>::parts == 2)
        if (beta == one) return axpby_by(axpy_op<E>(alpha), n, x, incx, y, incy);
    axpby_by(axpby_op<E>(alpha, beta), n, x, incx, y, incy);
}

} // namespace vrn::blas
