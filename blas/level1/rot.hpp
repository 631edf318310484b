// blas/level1/rot.hpp - plane rotation: (x, y) := (c x + s y, c y - s x), for complex s (c x + s y, c y - conj(s) x).
// Instantiated by rot.cpp. No case of c and s is special.
#pragma once

#include "blas/level1/tables.hpp"

namespace vrn::blas {

// Real c and s, on real vectors and on complex ones by parts.
template <class R>
struct rot_op : reads_both {
    static constexpr bool writes_x = true;
    factor<R> c, s;
    rot_op(R cosine, R sine) : c(cosine), s(sine) {}
    // Both are used twice; loaded twice, as g++ would, they wait for the stores between.
    void operator()(vec<R>& x, vec<R>& y) const { turn(x = held(x), y = held(y)); }
    void operator()(R& x, R& y) const { turn(x, y); }
    void operator()(cplx<R>& x, cplx<R>& y) const
    {
        turn(x.re, y.re);
        turn(x.im, y.im);
    }

  private:
    template <class V>
    [[gnu::always_inline]] void turn(V& x, V& y) const
    {
        const V old = x;
        x = c(x) + s(y);
        y = c(y) - s(old);
    }
};

// Real c, complex s: products with i change sign in one part only, which is what add-subtract does.
template <class R>
struct complex_rot_op : reads_both {
    static constexpr bool writes_x = true;
    cplx<R> s1;
    R c1;
    vec<R> c, re, im, minus_im;
    complex_rot_op(R cosine, cplx<R> s)
        : s1(s), c1(cosine), c(vec<R>::all(cosine)), re(vec<R>::all(s.re)), im(vec<R>::all(s.im)),
          minus_im(vec<R>::all(-s.im))
    {
    }
    void operator()(vec<R>& x, vec<R>& y) const
    {
        const auto old = x;
        x = c * x + add_sub(re * y, im * swap_parts(y));
        y = c * y - add_sub(re * old, minus_im * swap_parts(old));
    }
    void operator()(cplx<R>& x, cplx<R>& y) const
    {
        const auto old = x;
        x = c1 * x + s1 * y;
        y = c1 * y - conj(s1) * old;
    }
};

template <class R>
[[gnu::always_inline]] inline void rot(vrn_int n, R* x, vrn_int incx, R* y, vrn_int incy, R c, R s)
{
    if (n < 1) return;
    if (incx == 1 && incy == 1 && is_natural(x) && is_natural(y))
        return update_peeled<rot_shape<R>, rot_op<R>>(n, x, y, c, s);
    update_strided<steps<>, rot_op<R>>(n, x, incx, y, incy, c, s);
}

template <class R>
[[gnu::always_inline]] inline void rot(vrn_int n, cplx<R>* x, vrn_int incx, cplx<R>* y, vrn_int incy, R c, R s)
{
    if (incx == 1 && incy == 1) return rot(2 * n, &x->re, 1, &y->re, 1, c, s);
    if (n > 0) update_strided<steps<>, rot_op<R>>(n, x, incx, y, incy, c, s);
}

template <class R>
[[gnu::always_inline]] inline void rot(vrn_int n, cplx<R>* x, vrn_int incx, cplx<R>* y, vrn_int incy, R c, cplx<R> s)
{
    using op = complex_rot_op<R>;
    if (n < 1) return;
    if (incx == 1 && incy == 1) return update_unit<false, false, typename rot_shape<cplx<R>>::any, op>(n, x, y, c, s);
    update_strided<steps<>, op>(n, x, incx, y, incy, c, s);
}

} // namespace vrn::blas
