// blas/level1/rotg.hpp - the plane rotation that takes (a, b) to (r, 0). Instantiated by rotg.cpp.
// Real: a becomes r, b becomes z, from which c and s can be had again (Lawson, Hanson, Kincaid and Krogh 1979).
// Complex: real c, complex s, a becomes r and b stays. Everything in the precision of the type.
#pragma once

#include "frame/export.hpp"
#include "simd/complex.hpp"

#include <cmath>

namespace vrn::blas {

using simd::cplx;

template <class R>
void rotg(R& a, R& b, R& c, R& s)
{
    const R abs_a = std::fabs(a), abs_b = std::fabs(b), scale = abs_a + abs_b;
    if (scale == 0) {
        c = 1;
        s = a = b = 0;
        return;
    }
    const R roe = abs_a > abs_b ? a : b, p = a / scale, q = b / scale;
    R r = scale * std::sqrt(p * p + q * q);
    if (roe < 0) r = -r;
    c = a / r;
    s = b / r;
    R z = 1;
    if (abs_a > abs_b) z = s;
    if (abs_b >= abs_a && c != 0) z = 1 / c;
    a = r;
    b = z;
}

// Without scaling: it over- and underflows at the square roots of the limits, as the published one does.
template <class R>
R plain_abs(cplx<R> a)
{
    return std::sqrt(a.re * a.re + a.im * a.im);
}

template <class R>
void rotg(cplx<R>& a, cplx<R> b, R& c, cplx<R>& s)
{
    const R abs_a = plain_abs(a);
    if (abs_a == 0) {
        c = 0;
        s = {1, 0};
        a = b;
        return;
    }
    const R scale = abs_a + plain_abs(b);
    const R p = a.re / scale, q = a.im / scale, u = b.re / scale, v = b.im / scale;
    const R norm = scale * std::sqrt((p * p + q * q) + (u * u + v * v));
    const cplx<R> alpha{a.re / abs_a, a.im / abs_a}, turned = alpha * conj(b);
    c = abs_a / norm;
    s = {turned.re / norm, turned.im / norm};
    a = norm * alpha;
}

} // namespace vrn::blas
