// simd/vec.hpp - the 16-byte vector: the one door to the instruction set.
//
// vec<double> holds 2 lanes, vec<float> 4, lane 0 lowest in memory. Only what kernels use stands here; each
// function is one or two instructions, and the name says which. Nothing reassociates or contracts.
#pragma once

#include <cstdint>
#include <nmmintrin.h>

namespace vrn::simd {

template <class T>
struct vec;

template <>
struct vec<double> {
    using scalar = double;
    static constexpr int lanes = 2;
    __m128d v;

    static vec zero() { return {_mm_setzero_pd()}; }
    static vec all(double x) { return {_mm_set1_pd(x)}; }
    static vec load(const double* p) { return {_mm_load_pd(p)}; }
    static vec loadu(const double* p) { return {_mm_loadu_pd(p)}; }
    void store(double* p) const { _mm_store_pd(p, v); }
    void storeu(double* p) const { _mm_storeu_pd(p, v); }
    void stream(double* p) const { _mm_stream_pd(p, v); } // aligned, past the caches; fence() before others may read
    // The lowest lane alone; the others are zero.
    static vec load1(const double* p) { return {_mm_load_sd(p)}; }
    void store1(double* p) const { _mm_store_sd(p, v); }
    friend vec operator+(vec a, vec b) { return {_mm_add_pd(a.v, b.v)}; }
    friend vec operator-(vec a, vec b) { return {_mm_sub_pd(a.v, b.v)}; }
    friend vec operator*(vec a, vec b) { return {_mm_mul_pd(a.v, b.v)}; }

    // Lanes from two places and back: p[0] and p[stride].
    static vec gather(const double* p, std::int64_t stride) { return {_mm_loadh_pd(_mm_load_sd(p), p + stride)}; }
    void scatter(double* p, std::int64_t stride) const
    {
        _mm_storel_pd(p, v);
        _mm_storeh_pd(p + stride, v);
    }
    // Two singles, widened. Spelt out: from memory it is one conversion, where g++ loads first and then pays for a
    // shuffle too (a third of the time of dsdot, a quarter of snrm2).
    static vec widen(const float* p)
    {
        __m128d wide;
        asm("cvtps2pd %1, %0" : "=x"(wide) : "m"(*reinterpret_cast<const float(*)[2]>(p)));
        return {wide};
    }
    static vec widen(const float* p, std::int64_t stride)
    {
        return {_mm_cvtps_pd(_mm_unpacklo_ps(_mm_load_ss(p), _mm_load_ss(p + stride)))};
    }
    double sum() const { return _mm_cvtsd_f64(_mm_add_sd(v, _mm_unpackhi_pd(v, v))); }
    double lane(int i) const { return _mm_cvtsd_f64(i == 0 ? v : _mm_unpackhi_pd(v, v)); }

    friend vec abs(vec a) { return {_mm_and_pd(a.v, _mm_castsi128_pd(_mm_set1_epi64x(INT64_MAX)))}; }
    // Where either is NaN these give b.
    friend vec max(vec a, vec b) { return {_mm_max_pd(a.v, b.v)}; }
    friend vec min(vec a, vec b) { return {_mm_min_pd(a.v, b.v)}; }
    // (a high, b low): what an aligned pair and the next one hold of the pair between.
    friend vec straddle(vec a, vec b) { return {_mm_shuffle_pd(a.v, b.v, 1)}; }

    // True lanes are all ones.
    friend vec not_less_equal(vec a, vec b) { return {_mm_cmpnle_pd(a.v, b.v)}; }
    friend vec not_greater_equal(vec a, vec b) { return {_mm_cmpnge_pd(a.v, b.v)}; }
    friend vec equal(vec a, vec b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
    friend vec unordered(vec a, vec b) { return {_mm_cmpunord_pd(a.v, b.v)}; }
    friend vec operator|(vec a, vec b) { return {_mm_or_pd(a.v, b.v)}; }
    friend vec operator^(vec a, vec b) { return {_mm_xor_pd(a.v, b.v)}; }
    int signs() const { return _mm_movemask_pd(v); } // the sign of lane i in bit i
    // Of the true lanes in these four masks, the bits: two for each lane, lowest first.
    static constexpr int marks_per_lane = 2;
    static unsigned marks(vec a, vec b, vec c, vec d)
    {
        const __m128i ab = _mm_packs_epi32(_mm_castpd_si128(a.v), _mm_castpd_si128(b.v));
        const __m128i cd = _mm_packs_epi32(_mm_castpd_si128(c.v), _mm_castpd_si128(d.v));
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(ab, cd)));
    }

    friend vec swap_halves(vec a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }

    // As one complex number.
    friend vec swap_parts(vec a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }
    static vec pair(double re, double im) { return {_mm_setr_pd(re, im)}; }
    static vec all_at(const double* p) { return {_mm_loaddup_pd(p)}; } // by the load port alone
    friend vec add_sub(vec a, vec b) { return {_mm_addsub_pd(a.v, b.v)}; } // (a0 - b0, a1 + b1)
    // (a0 + a1, b0 + b1)
    friend vec add_pairs(vec a, vec b) { return {_mm_hadd_pd(a.v, b.v)}; }
};

template <>
struct vec<float> {
    using scalar = float;
    static constexpr int lanes = 4;
    __m128 v;

    static vec zero() { return {_mm_setzero_ps()}; }
    static vec all(float x) { return {_mm_set1_ps(x)}; }
    static vec load(const float* p) { return {_mm_load_ps(p)}; }
    static vec loadu(const float* p) { return {_mm_loadu_ps(p)}; }
    void store(float* p) const { _mm_store_ps(p, v); }
    void storeu(float* p) const { _mm_storeu_ps(p, v); }
    void stream(float* p) const { _mm_stream_ps(p, v); }
    // The lowest one, two or three lanes; the others are zero.
    static vec load1(const float* p) { return {_mm_load_ss(p)}; }
    void store1(float* p) const { _mm_store_ss(p, v); }
    static vec load2(const float* p) { return {_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))}; }
    void store2(float* p) const { _mm_storel_pi(reinterpret_cast<__m64*>(p), v); }
    static vec load3(const float* p) { return {_mm_insert_ps(load2(p).v, _mm_load_ss(p + 2), 0x20)}; }
    void store3(float* p) const
    {
        store2(p);
        _mm_store_ss(p + 2, _mm_movehl_ps(v, v));
    }
    friend vec operator+(vec a, vec b) { return {_mm_add_ps(a.v, b.v)}; }
    friend vec operator-(vec a, vec b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend vec operator*(vec a, vec b) { return {_mm_mul_ps(a.v, b.v)}; }

    static vec gather(const float* p, std::int64_t stride)
    {
        return {_mm_setr_ps(p[0], p[stride], p[2 * stride], p[3 * stride])};
    }
    // Upper half onto lower half, then the higher of those two lanes onto the lower.
    float sum() const
    {
        const __m128 half = _mm_add_ps(v, _mm_movehl_ps(v, v));
        return _mm_cvtss_f32(_mm_add_ss(half, _mm_shuffle_ps(half, half, 1)));
    }
    float lane(int i) const { return v[i]; }

    friend vec abs(vec a) { return {_mm_and_ps(a.v, _mm_castsi128_ps(_mm_set1_epi32(INT32_MAX)))}; }
    friend vec max(vec a, vec b) { return {_mm_max_ps(a.v, b.v)}; }
    friend vec min(vec a, vec b) { return {_mm_min_ps(a.v, b.v)}; }

    friend vec not_less_equal(vec a, vec b) { return {_mm_cmpnle_ps(a.v, b.v)}; }
    friend vec not_greater_equal(vec a, vec b) { return {_mm_cmpnge_ps(a.v, b.v)}; }
    friend vec equal(vec a, vec b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
    friend vec unordered(vec a, vec b) { return {_mm_cmpunord_ps(a.v, b.v)}; }
    friend vec operator|(vec a, vec b) { return {_mm_or_ps(a.v, b.v)}; }
    friend vec operator^(vec a, vec b) { return {_mm_xor_ps(a.v, b.v)}; }
    int signs() const { return _mm_movemask_ps(v); }
    static constexpr int marks_per_lane = 1;
    static unsigned marks(vec a, vec b, vec c, vec d)
    {
        const __m128i ab = _mm_packs_epi32(_mm_castps_si128(a.v), _mm_castps_si128(b.v));
        const __m128i cd = _mm_packs_epi32(_mm_castps_si128(c.v), _mm_castps_si128(d.v));
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(ab, cd)));
    }

    friend vec swap_halves(vec a) { return {_mm_shuffle_ps(a.v, a.v, 0x4e)}; }

    // As two complex numbers.
    friend vec swap_parts(vec a) { return {_mm_shuffle_ps(a.v, a.v, 0xb1)}; }
    static vec pair(float re, float im) { return {_mm_setr_ps(re, im, re, im)}; }
    static vec halves(const float* low, const float* high)
    {
        return {_mm_loadh_pi(load2(low).v, reinterpret_cast<const __m64*>(high))};
    }
    friend vec upper_half(vec a) { return {_mm_movehl_ps(a.v, a.v)}; }
    friend vec add_sub(vec a, vec b) { return {_mm_addsub_ps(a.v, b.v)}; }
    friend vec add_pairs(vec a, vec b) { return {_mm_hadd_ps(a.v, b.v)}; }
};

// The same value, which the compiler has to hold in a register: it may not load it a second time instead.
template <class R>
[[gnu::always_inline]] inline vec<R> held(vec<R> a)
{
    asm("" : "+x"(a.v));
    return a;
}

// Streamed stores of this thread become visible in order with what follows.
inline void fence() { _mm_sfence(); }

inline void prefetch(const void* p) { _mm_prefetch(static_cast<const char*>(p), _MM_HINT_T0); }

// One 64-bit integer for each lane of vec<R>.
template <class R>
struct lane_ints;

template <>
struct lane_ints<double> {
    __m128i v;
    static lane_ints all(std::int64_t i) { return {_mm_set1_epi64x(i)}; }
    // Lanes of b where the mask is all ones, of a where it is zero.
    static lane_ints select(vec<double> mask, lane_ints b, lane_ints a)
    {
        return {_mm_blendv_epi8(a.v, b.v, _mm_castpd_si128(mask.v))};
    }
    std::int64_t lane(int i) const { return i == 0 ? _mm_cvtsi128_si64(v) : _mm_extract_epi64(v, 1); }
};

template <>
struct lane_ints<float> {
    lane_ints<double> low, high;
    static lane_ints all(std::int64_t i) { return {lane_ints<double>::all(i), lane_ints<double>::all(i)}; }
    static lane_ints select(vec<float> mask, lane_ints b, lane_ints a)
    {
        const __m128 lo = _mm_unpacklo_ps(mask.v, mask.v), hi = _mm_unpackhi_ps(mask.v, mask.v);
        return {lane_ints<double>::select({_mm_castps_pd(lo)}, b.low, a.low),
                lane_ints<double>::select({_mm_castps_pd(hi)}, b.high, a.high)};
    }
    std::int64_t lane(int i) const { return i < 2 ? low.lane(i) : high.lane(i - 2); }
};

} // namespace vrn::simd
