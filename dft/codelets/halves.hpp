// dft/codelets/halves.hpp - between the transform of h = n/2 complex values and the half spectrum of n real ones.
//
// Z is the transform of the real values seen as complex ones, X the spectrum, w_k = exp(-2 pi i k / n):
//     E_k = (Z_k + conj Z_(h-k)) / 2,  O_k = (Z_k - conj Z_(h-k)) / 2i,  X_k = E_k + w_k O_k,  X_(h-k) = conj(E_k -
//     w_k O_k)
// X_k lies where Z_k lay, and X_h in the imaginary part of X_0 (PERM). The inverse takes the same steps back.
// Cooley, Lewis and Welch (1970). Used by the real plans and the real direct kernels.
#pragma once

#include "dft/codelets/value.hpp"

#include <cstring>

namespace vrn::dft {

// Where the half spectrum's values lie; R_h stands behind R_0 in PERM and last in the others.
enum class packing { ccs, pack, perm };

// a and b are Z_k and Z_(h-k), v is -i w_k / 2; forward gives X_k and X_(h-k), inverse 2 Z_k and 2 Z_(h-k) from them.
template <bool Inverse, class V>
VRN_INLINE void mix_pair(V& a, V& b, V v, V half)
{
    const V c = flip_im(b), sum = a + c, difference = a - c;
    if constexpr (Inverse) {
        const V t = complex_product(difference, flip_im(v) + flip_im(v));
        a = sum + t, b = flip_im(sum - t);
    } else {
        const V e = half * sum, t = complex_product(difference, v);
        a = e + t, b = flip_im(e - t);
    }
}

// All pairs k, h-k with 0 < k <= h/2; in and out are the same or apart.
template <bool Inverse, class R>
void mix_pairs(const R* in, R* out, std::int32_t h, const R* roots)
{
    using V = vec<R>;
    constexpr int each = V::lanes / 2;
    const V half = V::all(R(0.5));
    std::ptrdiff_t k = 1;
    // `each` values upwards from k and as many downwards from h-k, as long as the two do not meet.
    for (; 2 * (k + each - 1) < h; k += each) {
        const std::ptrdiff_t low = 2 * k, high = 2 * (h - k - (each - 1));
        V a = V::loadu(in + low), b = V::loadu(in + high);
        if constexpr (each == 2) b = swap_halves(b);
        mix_pair<Inverse>(a, b, V::loadu(roots + low), half);
        if constexpr (each == 2) b = swap_halves(b);
        a.storeu(out + low), b.storeu(out + high);
    }
    for (; 2 * k <= h; ++k) {
        const R ar = in[2 * k], ai = in[2 * k + 1], br = in[2 * (h - k)], bi = in[2 * (h - k) + 1];
        const R f = Inverse ? R(1) : R(0.5), vr = roots[2 * k], vi = roots[2 * k + 1];
        const R dr = ar - br, di = ai + bi, er = f * (ar + br), ei = f * (ai - bi);
        const R tr = Inverse ? 2 * (dr * vr + di * vi) : dr * vr - di * vi;
        const R ti = Inverse ? 2 * (di * vr - dr * vi) : di * vr + dr * vi;
        out[2 * k] = er + tr, out[2 * k + 1] = ei + ti;
        out[2 * (h - k)] = er - tr, out[2 * (h - k) + 1] = ti - ei;
    }
}

// Z to X in PERM, in place.
template <class R>
void spectrum_of_halves(R* x, std::int32_t h, const R* roots)
{
    const R re = x[0], im = x[1];
    mix_pairs<false>(x, x, h, roots);
    x[0] = re + im, x[1] = re - im;
}
// X in PERM, with its R_h, to Z twice.
template <class R>
void halves_of_spectrum(const R* in, R last, R* out, std::int32_t h, const R* roots)
{
    const R first = in[0];
    mix_pairs<true>(in, out, h, roots);
    out[0] = first + last, out[1] = first - last;
}

// From PERM to another form, in place, and from PACK to PERM.
template <class R>
void from_perm(R* x, std::int32_t n, packing form)
{
    const R last = x[1];
    if (form == packing::ccs) x[1] = 0, x[n] = last, x[n + 1] = 0;
    if (form == packing::pack) {
        std::memmove(x + 1, x + 2, sizeof(R) * static_cast<std::size_t>(n - 2));
        x[n - 1] = last;
    }
}
template <class R>
const R* to_perm(const R* in, R* out, std::int32_t n)
{
    const R last = in[n - 1];
    out[0] = in[0];
    std::memmove(out + 2, in + 1, sizeof(R) * static_cast<std::size_t>(n - 2));
    out[1] = last;
    return out;
}

// -i w_k / 2 for k up to n/4: what turns a difference into w_k O_k.
template <class R>
constexpr void put_half_root(R* to, root w)
{
    to[0] = static_cast<R>(-w.sin / 2), to[1] = static_cast<R>(-w.cos / 2);
}

} // namespace vrn::dft
