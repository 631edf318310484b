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
    // The lowest lane alone; the others are zero.
    static vec load1(const double* p) { return {_mm_load_sd(p)}; }
    void store1(double* p) const { _mm_store_sd(p, v); }
    friend vec operator+(vec a, vec b) { return {_mm_add_pd(a.v, b.v)}; }
    friend vec operator-(vec a, vec b) { return {_mm_sub_pd(a.v, b.v)}; }
    friend vec operator*(vec a, vec b) { return {_mm_mul_pd(a.v, b.v)}; }
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
};

} // namespace vrn::simd
