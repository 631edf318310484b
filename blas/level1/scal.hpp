// blas/level1/scal.hpp - x := alpha x. Instantiated by scal.cpp.
// Nothing is done for alpha one. Zero is no special case: every element is multiplied, so a NaN stays. A negative
// stride is walked from its far end, and a stride of zero multiplies its one element n times over.
#pragma once

#include "blas/level1/tables.hpp"

namespace vrn::blas {

// The vector is the y of the update; there is no x.
template <class E, class A = E>
struct scal_op : reads_both {
    static constexpr bool reads_x = false, pairs = true;
    factor<A> alpha;
    explicit scal_op(A a) : alpha(a) {}
    template <class V>
    void operator()(const V&, V& y) const
    {
        y = alpha(y);
    }
};

template <class E>
void scal(vrn_int n, E alpha, E* x, vrn_int incx)
{
    using shape = scal_shape<E>;
    using op_type = scal_op<E>;
    if (n <= 0 || alpha == simd::unity<E>) return;
    const op_type op(alpha);
    const bool unit = incx == 1 || incx == -1;
    if constexpr (simd::element<E>::parts == 2) {
        if (!unit) return update_strided(steps<>{}, op, n, x, incx, x, incx);
        // Eight bytes off, one single-precision number brings the rest into line; no number of doubles would.
        const unit_walk<true, true, op_type, E, E> aligned{op, x, x};
        if (place(x) == 0) return sweep(typename shape::any{}, aligned, 0, n);
        if (sizeof(E) == 8 && place(x) == 8) {
            aligned.one(0);
            return sweep(typename shape::any{}, aligned, 1, n);
        }
        sweep(typename shape::any{}, unit_walk<false, false, op_type, E, E>{op, x, x}, 0, n);
    } else {
        if (unit && is_natural(x))
            update_peeled<shape>(op, n, x, x);
        else
            update_strided(typename shape::strided{}, op, n, x, incx, x, incx);
    }
}

// Complex vector, real factor: at unit stride twice as many reals.
template <class R>
void scal_by_real(vrn_int n, R alpha, cplx<R>* x, vrn_int incx)
{
    if (incx == 1) return scal(2 * n, alpha, reinterpret_cast<R*>(x), 1);
    if (n <= 0 || alpha == R{1}) return;
    update_strided(scal_real_by_complex_strided{}, scal_op<cplx<R>, R>(alpha), n, x, incx, x, incx);
}

} // namespace vrn::blas
