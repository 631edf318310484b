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

// A complex vector; the factor comes by value and the place of x decides between aligned and unaligned loops.
template <class R>
[[gnu::noinline]] void scal_complex_unit(vrn_int n, cplx<R> alpha, cplx<R>* x)
{
    using E = cplx<R>;
    using chain = typename scal_shape<E>::any;
    const scal_op<E> op(alpha);
    const unit_walk<true, true, scal_op<E>, E, E> aligned{op, x, x};
    // Eight bytes off, one single-precision number brings the rest into line; no number of doubles would.
    const bool by_one = sizeof(E) == 8 && place(x) == 8;
    if (by_one) aligned.one(0);
    if (by_one || place(x) == 0) sweep(chain{}, aligned, by_one, n);
    else sweep(chain{}, unit_walk<false, false, scal_op<E>, E, E>{op, x, x}, 0, n);
}

template <class E>
[[gnu::always_inline]] inline void scal(vrn_int n, E alpha, E* x, vrn_int incx)
{
    using shape = scal_shape<E>;
    using op = scal_op<E>;
    if (n <= 0 || alpha == simd::unity<E>) return;
    const bool unit = incx == 1 || incx == -1;
    if constexpr (simd::element<E>::parts == 2) {
        if (unit) scal_complex_unit(n, alpha, x);
        else update_strided<steps<>, op>(n, x, incx, x, incx, alpha);
    } else {
        if (unit && is_natural(x)) update_peeled<shape, op>(n, x, x, alpha);
        else update_strided<typename shape::strided, op>(n, x, incx, x, incx, alpha);
    }
}

// Complex vector, real factor: at unit stride twice as many reals.
template <class R>
[[gnu::always_inline]] inline void scal_by_real(vrn_int n, R alpha, cplx<R>* x, vrn_int incx)
{
    if (incx == 1) return scal(2 * n, alpha, &x->re, 1);
    if (n <= 0 || alpha == R{1}) return;
    update_strided<scal_real_by_complex_strided, scal_op<cplx<R>, R>>(n, x, incx, x, incx, alpha);
}

} // namespace vrn::blas
