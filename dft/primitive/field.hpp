// dft/primitive/field.hpp - the data between passes: real and imaginary parts apart, so that no pass shuffles.
//
//     planar    re re re ..      im im im ..     two arrays, a plane apart; any radices, ends of blocks in part
//     vectors blocked   re re im im re re im im ..       whole vectors in turn; powers of 2, where two arrays would
//     meet in
//                                                the same cache sets
// Interleaved data turns into this in the first pass and back in the last. The inverse is the forward transform with
// the parts exchanged at both ends, so that all passes between serve both directions.
#pragma once

#include "dft/codelets/value.hpp"

#include <cstddef>

namespace vrn::dft {

enum class layout { planar, blocked };

template <class R, layout L>
struct field {
    R* data;
    std::ptrdiff_t plane; // reals from a real part to its imaginary part
    static constexpr int lanes = vec<R>::lanes;

    R* re(std::ptrdiff_t k) const { return data + (L == layout::blocked ? 2 * k : k); }
    std::ptrdiff_t im() const { return L == layout::blocked ? lanes : plane; }
    field at(std::ptrdiff_t k) const { return {re(k), plane}; }

    VRN_INLINE apart<R> load(std::ptrdiff_t k) const
    {
        const R* p = re(k);
        if constexpr (L == layout::blocked) return {vec<R>::load(p), vec<R>::load(p + lanes)};
        else return {vec<R>::loadu(p), vec<R>::loadu(p + plane)};
    }
    VRN_INLINE void store(apart<R> x, std::ptrdiff_t k) const
    {
        R* p = re(k);
        if constexpr (L == layout::blocked) x.re.store(p), x.im.store(p + lanes);
        else x.re.storeu(p), x.im.storeu(p + plane);
    }
};

// ---- parts of vectors ----

VRN_INLINE void store_part(vec<double> v, double* p, int count)
{
    if (count == 1) v.store1(p);
    else v.storeu(p);
}
VRN_INLINE void store_part(vec<float> v, float* p, int count)
{
    if (count == 4) v.storeu(p);
    else if (count == 3) v.store3(p);
    else if (count == 2) v.store2(p);
    else v.store1(p);
}

// Halves of vectors to memory. Spelt out: compilers join two neighbours with a shuffle, and stores have room where
// shuffles do not.
template <class R>
VRN_INLINE void store_low(vec<R> v, R* p)
{
    asm("movlps %1, %0" : "=m"(*reinterpret_cast<R(*)[8 / sizeof(R)]>(p)) : "x"(v.v));
}
template <class R>
VRN_INLINE void store_high(vec<R> v, R* p)
{
    asm("movhps %1, %0" : "=m"(*reinterpret_cast<R(*)[8 / sizeof(R)]>(p)) : "x"(v.v));
}

// ---- interleaved memory ----

// One complex value for each lane, from the given places.
template <bool Exchange>
VRN_INLINE apart<double> gather(const double* const (&from)[2], std::ptrdiff_t offset)
{
    const double *a = from[0] + offset, *b = from[1] + offset;
    const vec<double> re{_mm_loadh_pd(_mm_load_sd(a), b)}, im{_mm_loadh_pd(_mm_load_sd(a + 1), b + 1)};
    if constexpr (Exchange) return {im, re};
    else return {re, im};
}
template <bool Exchange>
VRN_INLINE apart<float> gather(const float* const (&from)[4], std::ptrdiff_t offset)
{
    const vec<float> a = vec<float>::halves(from[0] + offset, from[1] + offset);
    const vec<float> b = vec<float>::halves(from[2] + offset, from[3] + offset);
    const vec<float> re{_mm_shuffle_ps(a.v, b.v, 0x88)}, im{_mm_shuffle_ps(a.v, b.v, 0xdd)};
    if constexpr (Exchange) return {im, re};
    else return {re, im};
}

// As many as there are lanes, side by side.
template <bool Exchange>
VRN_INLINE apart<double> gather_side_by_side(const double* from)
{
    return gather<Exchange>({from, from + 2}, 0);
}
template <bool Exchange>
VRN_INLINE apart<float> gather_side_by_side(const float* from)
{
    const __m128 a = _mm_loadu_ps(from), b = _mm_loadu_ps(from + 4);
    const vec<float> re{_mm_shuffle_ps(a, b, 0x88)}, im{_mm_shuffle_ps(a, b, 0xdd)};
    if constexpr (Exchange) return {im, re};
    else return {re, im};
}

// `count` values of x, side by side, in their order.
template <bool Exchange>
VRN_INLINE void interleave(apart<double> x, double* to, int count)
{
    const __m128d re = Exchange ? x.im.v : x.re.v, im = Exchange ? x.re.v : x.im.v;
    _mm_storeu_pd(to, _mm_unpacklo_pd(re, im));
    if (count == 2) _mm_storeu_pd(to + 2, _mm_unpackhi_pd(re, im));
}
template <bool Exchange>
VRN_INLINE void interleave(apart<float> x, float* to, int count)
{
    const __m128 re = Exchange ? x.im.v : x.re.v, im = Exchange ? x.re.v : x.im.v;
    const vec<float> low{_mm_unpacklo_ps(re, im)}, high{_mm_unpackhi_ps(re, im)};
    store_part(low, to, count >= 2 ? 4 : 2);
    if (count > 2) store_part(high, to + 4, count == 4 ? 4 : 2);
}

// Lane l of x[0 .. N-1] goes to to + l * distance, `step` reals for each vector; the first `count` lanes.
template <int N>
VRN_INLINE void store_lanes(const vec<double> (&x)[N], double* to, std::ptrdiff_t distance, int step, int count)
{
    unroll<N>([&](auto k) VRN_HERE {
        double* at = to + k % 2 + step * (k - k % 2);
        store_low(x[k], at);
        if (count == 2) store_high(x[k], at + distance);
    });
}
template <int N>
VRN_INLINE void store_lanes(const vec<float> (&x)[N], float* to, std::ptrdiff_t distance, int step, int count)
{
    unroll<N / 2>([&](auto h) VRN_HERE {
        constexpr int k = 2 * decltype(h)::value;
        float* at = to + k % 4 + step * (k - k % 4);
        const vec<float> low{_mm_unpacklo_ps(x[k].v, x[k + 1].v)}, high{_mm_unpackhi_ps(x[k].v, x[k + 1].v)};
        store_low(low, at);
        if (count > 1) store_high(low, at + distance);
        if (count > 2) store_low(high, at + 2 * distance);
        if (count > 3) store_high(high, at + 3 * distance);
    });
    if constexpr (N % 2 != 0)
        for (int l = 0; l < count; ++l)
            to[l * distance + (N - 1) % 4 + step * (N - 1 - (N - 1) % 4)] = x[N - 1].lane(l);
}

} // namespace vrn::dft
