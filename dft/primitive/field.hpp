// dft/primitive/field.hpp - the data between passes: real and imaginary parts apart, so that no pass shuffles.
//
//     planar     re re re ..      im im im ..     two arrays; any radices, ends of blocks in part
//     blocked    re re im im re re im im ..       whole vectors in turn; powers of 2
//
// Two arrays a power of 2 long would meet in the same sets of the cache.
// Interleaved data turns into this in the first pass and back in the last. The inverse is the forward transform with
// the parts exchanged at both ends, so that all passes between serve both directions.
#pragma once

#include "dft/codelets/value.hpp"

#include <cstddef>

namespace vrn::dft {

enum class layout { planar, blocked };

// ---- parts of vectors ----

// The first `count` lanes, the others 0: memory behind the data may hold anything, subnormal numbers too, and those
// take a hundred times as long to compute with.
VRN_INLINE vec<double> load_part(const double* p, int count)
{
    return count == 1 ? vec<double>::load1(p) : vec<double>::loadu(p);
}
VRN_INLINE vec<float> load_part(const float* p, int count)
{
    if (count == 4) return vec<float>::loadu(p);
    return count == 3 ? vec<float>::load3(p) : count == 2 ? vec<float>::load2(p) : vec<float>::load1(p);
}
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

// ---- where the data lies ----

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
    VRN_INLINE apart<R> load(std::ptrdiff_t k, int count) const
    {
        return {load_part(re(k), count), load_part(re(k) + plane, count)};
    }
    VRN_INLINE void store(apart<R> x, std::ptrdiff_t k) const
    {
        R* p = re(k);
        if constexpr (L == layout::blocked) x.re.store(p), x.im.store(p + lanes);
        else x.re.storeu(p), x.im.storeu(p + plane);
    }
};

// The places base + j * stride for j < N, in reals, by one register for every four of them and two more. Compilers,
// left alone, keep a pointer for each and move them all.
template <int N, class T>
struct rungs {
    static constexpr int bases = (N + 3) / 4;
    T* base[bases];
    std::ptrdiff_t one, three; // bytes

    VRN_INLINE rungs(T* first, std::ptrdiff_t stride)
    {
        one = stride * static_cast<std::ptrdiff_t>(sizeof(T)), three = 3 * one;
        asm("" : "+r"(one), "+r"(three)); // what they are is not to be known
        unroll<bases>([&](auto b) VRN_HERE { base[b] = first + 4 * b * stride; });
    }
    VRN_INLINE T* operator[](int j) const
    {
        const std::ptrdiff_t bytes = j % 4 == 3 ? three : j % 4 * one;
        return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(base[j / 4]) +
                                    static_cast<std::uintptr_t>(bytes));
    }
    VRN_INLINE void advance(std::ptrdiff_t reals)
    {
        unroll<bases>([&](auto b) VRN_HERE { base[b] += reals; });
    }
};

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

// The same with lane l holding value lane_value(l): blends of loads that overlap, where shuffles would compete with
// the butterfly's additions for two ports.
template <class R>
constexpr int lane_value(int lane)
{
    return sizeof(R) == 8 || lane % 3 == 0 ? lane : 3 - lane;
}
template <bool Exchange, bool Aligned>
VRN_INLINE apart<double> gather_neighbours(const double* from)
{
    const auto load = [](const double* p) VRN_HERE { return Aligned ? _mm_load_pd(p) : _mm_loadu_pd(p); };
    const __m128d a = load(from), b = _mm_loadu_pd(from + 1), c = load(from + 2);
    const vec<double> re{_mm_blend_pd(a, b, 2)}, im{_mm_blend_pd(b, c, 2)};
    if constexpr (Exchange) return {im, re};
    else return {re, im};
}
template <bool Exchange, bool Aligned>
VRN_INLINE apart<float> gather_neighbours(const float* from)
{
    const auto load = [](const float* p) VRN_HERE { return Aligned ? _mm_load_ps(p) : _mm_loadu_ps(p); };
    const __m128 a = load(from), b = _mm_loadu_ps(from + 1), c = _mm_loadu_ps(from + 3), d = load(from + 4);
    const vec<float> re{_mm_blend_ps(a, c, 10)}, im{_mm_blend_ps(b, d, 10)};
    if constexpr (Exchange) return {im, re};
    else return {re, im};
}

// `count` values of x, side by side, in their order.
template <bool Exchange>
VRN_INLINE void interleave(apart<double> x, double* to, int count)
{
    const vec<double> re = Exchange ? x.im : x.re, im = Exchange ? x.re : x.im;
    store_low(re, to), store_low(im, to + 1);
    if (count == 2) store_high(re, to + 2), store_high(im, to + 3);
}
template <bool Exchange>
VRN_INLINE void interleave(apart<float> x, float* to, int count)
{
    const __m128 re = Exchange ? x.im.v : x.re.v, im = Exchange ? x.re.v : x.im.v;
    const vec<float> low{_mm_unpacklo_ps(re, im)}, high{_mm_unpackhi_ps(re, im)};
    store_part(low, to, count >= 2 ? 4 : 2);
    if (count > 2) store_part(high, to + 4, count == 4 ? 4 : 2);
}

// Lane l of x[0 .. N-1] goes to to[l], `step` reals for each vector; the first `count` lanes.
template <int N>
VRN_INLINE void store_lanes(const vec<double> (&x)[N], double* const (&to)[2], int step, int count)
{
    unroll<N>([&](auto k) VRN_HERE {
        const int at = k % 2 + step * (k - k % 2);
        store_low(x[k], to[0] + at);
        if (count == 2) store_high(x[k], to[1] + at);
    });
}
template <int N>
VRN_INLINE void store_lanes(const vec<float> (&x)[N], float* const (&to)[4], int step, int count)
{
    unroll<N / 2>([&](auto h) VRN_HERE {
        constexpr int k = 2 * decltype(h)::value;
        const int at = k % 4 + step * (k - k % 4);
        const vec<float> low{_mm_unpacklo_ps(x[k].v, x[k + 1].v)}, high{_mm_unpackhi_ps(x[k].v, x[k + 1].v)};
        store_low(low, to[0] + at);
        if (count > 1) store_high(low, to[1] + at);
        if (count > 2) store_low(high, to[2] + at);
        if (count > 3) store_high(high, to[3] + at);
    });
    if constexpr (N % 2 != 0)
        for (int l = 0; l < count; ++l) to[l][(N - 1) % 4 + step * (N - 1 - (N - 1) % 4)] = x[N - 1].lane(l);
}

} // namespace vrn::dft
