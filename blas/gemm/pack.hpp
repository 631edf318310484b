// blas/gemm/pack.hpp - packed panels of the real types.
//
// A panel is W elements wide and stands depth by depth: element (kk, w) at kk*W + w. Panels of A are mr rows of
// op(A) wide, panels of B nr columns of op(B); behind the full B panels the chain of narrower ones follows
// without a gap. Depth is padded with zeros to a multiple of 4, and a panel that is not full is padded with
// zeros to its width, so the kernels run whole panels without a test and the padding adds nothing.
//
//     s, A panel, one depth:  r0 r2 r1 r3     natural order elsewhere
//
// The s kernel loads a depth of A twice, once with its even and once with its odd elements doubled, which gives
// (r0 r0 r1 r1) and (r2 r2 r3 r3) without a shuffle; hence the order.
//
// Two ways to read: `contiguous`, where the W elements of a depth are adjacent in the caller's matrix (A as N, B
// as T), and `strided`, where the depths are (A as T, B as N). Exported by pack.cpp.
#pragma once

#include "blas/gemm/tables.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

#include <cstdint>

namespace vrn::blas::pack {

using vrn_int = std::int64_t;
using simd::vec;

// Where row r of a group of four stands in a panel of A.
enum class order { natural, even_odd };

template <class T>
inline constexpr order a_order = sizeof(T) == 4 ? order::even_odd : order::natural;

constexpr int place(order o, int w) { return o == order::natural ? w : (w & ~3) | ((w & 1) << 1) | ((w & 2) >> 1); }

// Multiplies by alpha where the panel is one of A.
template <class T, bool Scale>
struct scale {
    T alpha;
    T operator()(T x) const
    {
        if constexpr (Scale) return x * alpha;
        return x;
    }
    vec<T> operator()(vec<T> x) const
    {
        if constexpr (Scale) return x * vec<T>::all(alpha);
        return x;
    }
};

inline vec<float> permuted(vec<float> x, order o)
{
    if (o == order::natural) return x;
    return {_mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(x.v), 216))};
}
inline vec<double> permuted(vec<double> x, order) { return x; }

template <bool Aligned, class T>
vec<T> load(const T* p)
{
    if constexpr (Aligned) return vec<T>::load(p);
    return vec<T>::loadu(p);
}

template <class T>
void zero_depths(T* to, vrn_int elements)
{
    for (vrn_int i = 0; i < elements; ++i) to[i] = T{};
}

// ---- contiguous: element (kk, w) is from[w + kk*ld] ----

// Depths full panels wide. W is a multiple of the lanes.
template <int W, order O, bool Aligned, class T, class Scale>
[[gnu::flatten]] inline void contiguous_depths(const T* from, vrn_int ld, vrn_int depths, T* to, Scale f)
{
    constexpr int lanes = vec<T>::lanes;
    for (vrn_int kk = 0; kk < depths; ++kk, from += ld, to += W)
        simd::unroll<W / lanes>(
            [&](auto g) { permuted(f(load<Aligned>(from + g * lanes)), O).store(to + g * lanes); });
}

// A panel of which only `valid` of the W columns exist.
template <order O, class T, class Scale>
void contiguous_narrow(const T* from, vrn_int ld, vrn_int depths, int valid, int width, T* to, Scale f)
{
    for (vrn_int kk = 0; kk < depths; ++kk, from += ld, to += width)
        for (int w = 0; w < width; ++w) to[place(O, w)] = w < valid ? f(from[w]) : T{};
}

// ---- strided: element (kk, w) is from[kk + w*ld] ----

inline void transpose_store(const vec<double> (&c)[2], double* to, vrn_int width, order)
{
    _mm_store_pd(to, _mm_unpacklo_pd(c[0].v, c[1].v));
    _mm_store_pd(to + width, _mm_unpackhi_pd(c[0].v, c[1].v));
}

inline void transpose_store(const vec<float> (&c)[4], float* to, vrn_int width, order o)
{
    // Rows 1 and 2 change places on the way in, which gives the even-odd order on the way out.
    const __m128 c1 = o == order::natural ? c[1].v : c[2].v, c2 = o == order::natural ? c[2].v : c[1].v;
    const __m128 t0 = _mm_unpacklo_ps(c[0].v, c1), t1 = _mm_unpacklo_ps(c2, c[3].v);
    const __m128 t2 = _mm_unpackhi_ps(c[0].v, c1), t3 = _mm_unpackhi_ps(c2, c[3].v);
    _mm_store_ps(to, _mm_movelh_ps(t0, t1));
    _mm_store_ps(to + width, _mm_movehl_ps(t1, t0));
    _mm_store_ps(to + 2 * width, _mm_movelh_ps(t2, t3));
    _mm_store_ps(to + 3 * width, _mm_movehl_ps(t3, t2));
}

template <int W, order O, bool Aligned, class T, class Scale>
[[gnu::flatten]] inline void strided_depths(const T* from, vrn_int ld, vrn_int depths, T* to, Scale f)
{
    constexpr int lanes = vec<T>::lanes;
    vrn_int kk = 0;
    for (; kk + lanes <= depths; kk += lanes)
        simd::unroll<W / lanes>([&](auto g) {
            constexpr int w = g * lanes;
            vec<T> c[lanes];
            simd::unroll<lanes>([&](auto i) { c[i] = f(load<Aligned>(from + kk + (w + i) * ld)); });
            transpose_store(c, to + kk * W + w, W, O);
        });
    for (; kk < depths; ++kk)
        for (int w = 0; w < W; ++w) to[kk * W + place(O, w)] = f(from[kk + w * ld]);
}

template <order O, class T, class Scale>
void strided_narrow(const T* from, vrn_int ld, vrn_int depths, int valid, int width, T* to, Scale f)
{
    for (vrn_int kk = 0; kk < depths; ++kk)
        for (int w = 0; w < width; ++w) to[kk * width + place(O, w)] = w < valid ? f(from[kk + w * ld]) : T{};
}

// ---- panel sets ----

// Aligned loads serve every column when the matrix and its leading dimension are multiples of 16 bytes.
template <class T>
bool can_align(const T* p, vrn_int ld)
{
    return (reinterpret_cast<std::uintptr_t>(p) & 15) == 0 && ld % vec<T>::lanes == 0;
}

template <bool Aligned, class T>
void a_normal(vrn_int mb, vrn_int depths, const T* a, vrn_int lda, T* to, vrn_int distance, T alpha)
{
    constexpr int mr = gemm_tile<T>.mr;
    constexpr order o = a_order<T>;
    const scale<T, true> f{alpha};
    const int rest = static_cast<int>(mb % mr);
    // Four depths at a time across all panels: the four columns are read along, and a panel gets a whole
    // cache line of 64 bytes per turn.
    for (vrn_int kk = 0; kk < depths; kk += 4) {
        const vrn_int now = depths - kk < 4 ? depths - kk : 4;
        const T* from = a + kk * lda;
        T* panel = to + kk * mr;
        for (vrn_int i = 0; i + mr <= mb; i += mr, from += mr, panel += distance) {
            if (now == 4) contiguous_depths<mr, o, Aligned>(from, lda, 4, panel, f);
            else contiguous_depths<mr, o, Aligned>(from, lda, now, panel, f);
        }
        if (rest != 0) contiguous_narrow<o>(from, lda, now, rest, mr, panel, f);
    }
}

template <bool Aligned, class T>
void a_transposed(vrn_int mb, vrn_int depths, const T* a, vrn_int lda, T* to, vrn_int distance, T alpha)
{
    constexpr int mr = gemm_tile<T>.mr;
    constexpr order o = a_order<T>;
    const scale<T, true> f{alpha};
    for (; mb >= mr; mb -= mr, a += mr * lda, to += distance) strided_depths<mr, o, Aligned>(a, lda, depths, to, f);
    if (mb != 0) strided_narrow<o>(a, lda, depths, static_cast<int>(mb), mr, to, f);
}

// op(A), mb by depth, times alpha.
template <class T>
void a(bool normal, vrn_int mb, vrn_int depth, const T* from, vrn_int lda, T* to, vrn_int distance, T alpha)
{
    if (mb < 1 || depth < 1) return;
    constexpr int mr = gemm_tile<T>.mr;
    const bool fits = can_align(from, lda);
    if (normal) (fits ? a_normal<true, T> : a_normal<false, T>)(mb, depth, from, lda, to, distance, alpha);
    else (fits ? a_transposed<true, T> : a_transposed<false, T>)(mb, depth, from, lda, to, distance, alpha);
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr);
    if (padded != depth)
        for (vrn_int i = 0; i < mb; i += mr, to += distance) zero_depths(to + depth * mr, (padded - depth) * mr);
}

// One panel of op(B), `width` wide, of which `valid` columns exist.
template <bool Aligned, class T>
void b_panel(bool normal, vrn_int depth, int valid, int width, const T* from, vrn_int ldb, T* to)
{
    constexpr order o = order::natural;
    const scale<T, false> f{};
    if (valid == 8)
        (normal ? strided_depths<8, o, Aligned, T, scale<T, false>>
                : contiguous_depths<8, o, Aligned, T, scale<T, false>>)(from, ldb, depth, to, f);
    else if (valid == 4)
        (normal ? strided_depths<4, o, Aligned, T, scale<T, false>>
                : contiguous_depths<4, o, Aligned, T, scale<T, false>>)(from, ldb, depth, to, f);
    else
        (normal ? strided_narrow<o, T, scale<T, false>>
                : contiguous_narrow<o, T, scale<T, false>>)(from, ldb, depth, valid, width, to, f);
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr);
    zero_depths(to + depth * width, (padded - depth) * width);
}

// op(B), depth by nb: full panels `distance` apart, then the chain without gaps.
template <class T>
void b(bool normal, vrn_int depth, vrn_int nb, const T* from, vrn_int ldb, T* to, vrn_int distance)
{
    if (nb < 1 || depth < 1) return;
    constexpr int nr = gemm_tile<T>.nr;
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr);
    const vrn_int step = normal ? ldb : 1;
    const auto panel = can_align(from, ldb) ? b_panel<true, T> : b_panel<false, T>;
    for (; nb >= nr; nb -= nr, from += nr * step, to += distance) panel(normal, depth, nr, nr, from, ldb, to);
    while (nb > 0) {
        const int width = chain_width(nb);
        const int valid = nb < width ? static_cast<int>(nb) : width;
        panel(normal, depth, valid, width, from, ldb, to);
        nb -= valid;
        from += valid * step;
        to += padded * width;
    }
}

} // namespace vrn::blas::pack
