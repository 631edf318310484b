// blas/level2/lanes.hpp - a run of elements as one vector, whole or in part, at unit stride or gathered; the sweeps
// over rows and over groups of columns that are made of them.
//
// Missing elements are zero and are not touched in memory: a sum over lanes does not see them, and nothing is read or
// written past a column's end. So the last rows of a column are vectors like the others, and an element's arithmetic
// is the same wherever it stands.
#pragma once

#include "blas/level1/update.hpp"

namespace vrn::blas {

template <int Count>
using count_of = std::integral_constant<int, Count>;

inline vec<double> packed(const double* v) { return {_mm_setr_pd(v[0], v[1])}; }
inline vec<float> packed(const float* v) { return {_mm_setr_ps(v[0], v[1], v[2], v[3])}; }
inline vec<double> packed(const cplx<double>* v) { return {_mm_setr_pd(v->re, v->im)}; }
// By hand: with _mm_setr_ps here g++ 12 falls over its range propagation.
inline vec<float> packed(const cplx<float>* v)
{
    const auto one = [](cplx<float> z) { return _mm_unpacklo_ps(_mm_set_ss(z.re), _mm_set_ss(z.im)); };
    return {_mm_movelh_ps(one(v[0]), one(v[1]))};
}

// Calls body(count_of<count>) for a count of 1 to Most, or does nothing for 0.
template <int Most, class Body>
[[gnu::always_inline]] inline void with_count(vrn_int count, Body&& body)
{
    if constexpr (Most > 0) {
        if (count == Most) body(count_of<Most>{});
        else with_count<Most - 1>(count, body);
    }
}

// The lowest lane alone; the others zero.
inline vec<double> lowest(vec<double> v) { return {_mm_move_sd(_mm_setzero_pd(), v.v)}; }
inline vec<float> lowest(vec<float> v) { return {_mm_move_ss(_mm_setzero_ps(), v.v)}; }

template <class E>
struct lanes {
    using R = real_of<E>;
    using V = vec<R>;
    static constexpr int full = per_vec<E>, parts = simd::element<E>::parts;
    static const R* real(const E* p) { return reinterpret_cast<const R*>(p); }
    static R* real(E* p) { return reinterpret_cast<R*>(p); }

    template <int Count, bool Aligned = false>
    [[gnu::always_inline]] static V load(const E* p)
    {
        constexpr int reals = Count * parts;
        if constexpr (reals == V::lanes) return Aligned ? V::load(real(p)) : V::loadu(real(p));
        else if constexpr (reals == 1) return V::load1(real(p));
        else if constexpr (reals == 2) return V::load2(real(p));
        else return V::load3(real(p));
    }
    template <int Count, bool Aligned = false>
    [[gnu::always_inline]] static void store(E* p, V v)
    {
        constexpr int reals = Count * parts;
        if constexpr (reals == V::lanes) Aligned ? v.store(real(p)) : v.storeu(real(p));
        else if constexpr (reals == 1) v.store1(real(p));
        else if constexpr (reals == 2) v.store2(real(p));
        else v.store3(real(p));
    }
    template <int Count>
    [[gnu::always_inline]] static V gather(const E* p, vrn_int inc)
    {
        if constexpr (Count == full && parts == 1) {
            return V::gather(p, inc);
        } else if constexpr (Count == full && full == 2) {
            return V::halves(real(p), real(p + inc));
        } else if constexpr (Count == 1) {
            return load<1>(p);
        } else {
            alignas(16) E some[full] = {};
            for (int l = 0; l < Count; ++l) some[l] = p[l * inc];
            return V::load(real(some));
        }
    }
};

// Stores elements that are in registers, by vectors: stored one by one they would make the next load of a vector
// wait.
template <int Count, class E>
[[gnu::always_inline]] inline void put(const E (&v)[Count], E* x)
{
    using L = lanes<E>;
    if constexpr (Count % L::full == 0)
        unroll<Count / L::full>([&](auto g) __attribute__((always_inline)) {
            L::template store<L::full>(x + g * L::full, packed(v + g * L::full));
        });
    else unroll<Count>([&](auto i) __attribute__((always_inline)) { x[i] = v[i]; });
}

// Rows of a column: `peel` of them, fewer than a vector holds, come ahead of the first whole vector.
struct rows_of {
    vrn_int from, to, peel = 0;
};

// The rows as step(row, count, slot): vectors, Turn of them a turn, then what is left as part of one. The slot
// numbers the vectors of a turn, for steps that sum into several accumulators or that ask for lines ahead.
template <class E, int Turn = 2, class Step>
[[gnu::always_inline]] inline void sweep_rows(rows_of rows, Step&& step)
{
    constexpr int full = lanes<E>::full;
    const auto part = [&](vrn_int i, vrn_int left) __attribute__((always_inline))
    {
        with_count<full - 1>(
            left, [&](auto count) __attribute__((always_inline)) { step(i, count, count_of<0>{}); });
    };
    if (rows.peel != 0) part(rows.from, rows.peel);
    vrn_int i = rows.from + rows.peel;
    for (; rows.to - i >= Turn * full; i += Turn * full)
        unroll<Turn>([&](auto slot)
                         __attribute__((always_inline)) { step(i + slot * full, count_of<full>{}, slot); });
    for (; rows.to - i >= full; i += full) step(i, count_of<full>{}, count_of<0>{});
    part(i, rows.to - i);
}

// Groups of Widest columns, then of the powers of two below it: body(j, count_of<columns>).
template <int Widest, class Body>
[[gnu::always_inline]] inline void column_groups(vrn_int n, Body&& body)
{
    vrn_int j = 0;
    for (; n - j >= Widest; j += Widest) body(j, count_of<Widest>{});
    const auto tail = [&](auto width) __attribute__((always_inline))
    {
        if (n - j >= width) {
            body(j, width);
            j += width;
        }
    };
    if constexpr (Widest > 4) tail(count_of<4>{});
    if constexpr (Widest > 2) tail(count_of<2>{});
    if constexpr (Widest > 1) tail(count_of<1>{});
}

// Asks for the line of p, for the first-level cache.
template <class E>
[[gnu::always_inline]] inline void ask_for(const E* p)
{
    _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0);
}

// Whether A's columns are all aligned.
template <class E>
bool aligned_columns(const E* a, vrn_int lda)
{
    return place(a) == 0 && lda * static_cast<vrn_int>(sizeof(E)) % 16 == 0;
}

} // namespace vrn::blas
