// blas/gemm/pack.hpp - packed panels of all four types.
//
// A panel is W elements wide and stands depth by depth: element (kk, w) at kk*W + w. Panels of A are mr rows of
// op(A) wide, panels of B nr columns of op(B); behind the full B panels the chain of narrower ones follows
// without a gap. Depth is padded with zeros to a multiple of 4, and a panel that is not full is padded with
// zeros to its width, so the kernels run whole panels without a test and the padding adds nothing.
//
//     s, A panel, one depth:  r0 r2 r1 r3     natural order elsewhere
//
// The s kernel loads a depth of A twice, once with its even and once with its odd elements doubled, which gives
// (r0 r0 r1 r1) and (r2 r2 r3 r3) without a shuffle; hence the order. Complex elements lie as pairs, conjugated where
// the operation asks for it, so that the kernels form plain products.
//
// Two ways to read: `contiguous`, where the W elements of a depth are adjacent in the caller's matrix (A as N, B
// as T), and `strided`, where the depths are (A as T, B as N). Exported by pack.cpp.
#pragma once

#include "blas/gemm/tables.hpp"
#include "simd/complex.hpp"
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

// How op stands in the letters: as stored, transposed, or transposed and conjugated.
struct operation {
    bool normal, conjugate;
};

// What an element is multiplied by on its way into a panel: nothing, or alpha, and its conjugation before that.
template <class T>
struct plain {
    T operator()(T x) const { return x; }
    vec<simd::real_of<T>> operator()(vec<simd::real_of<T>> x) const { return x; }
};
template <class T>
struct conjugated;
template <class R>
struct conjugated<simd::cplx<R>> {
    simd::cplx<R> operator()(simd::cplx<R> x) const { return conj(x); }
    vec<R> operator()(vec<R> x) const { return x * vec<R>::pair(1, -1); }
};
// alpha conj(x) as two products and a sum, with the signs in the factors.
template <class T>
struct conjugate_factor;
template <class R>
struct conjugate_factor<simd::cplx<R>> {
    simd::cplx<R> scalar;
    vec<R> re, im;
    explicit conjugate_factor(simd::cplx<R> a)
        : scalar(a), re(vec<R>::pair(a.re, -a.re)), im(vec<R>::all(a.im))
    {
    }
    simd::cplx<R> operator()(simd::cplx<R> x) const { return scalar * conj(x); }
    vec<R> operator()(vec<R> x) const { return re * x + im * swap_parts(x); }
};

// A complex number as its parts.
template <class T>
const simd::real_of<T>* reals(const T* p)
{
    return reinterpret_cast<const simd::real_of<T>*>(p);
}
template <class T>
simd::real_of<T>* reals(T* p)
{
    return reinterpret_cast<simd::real_of<T>*>(p);
}

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

// Depths full panels wide. W is a multiple of the elements in a vector.
template <int W, order O, bool Aligned, class T, class Factor>
[[gnu::flatten]] inline void contiguous_depths(const T* from, vrn_int ld, vrn_int depths, T* to, Factor f)
{
    constexpr int per = simd::per_vec<T>;
    for (vrn_int kk = 0; kk < depths; ++kk, from += ld, to += W)
        simd::unroll<W / per>(
            [&](auto g) { permuted(f(load<Aligned>(reals(from + g * per))), O).store(reals(to + g * per)); });
}

// A panel of which only `valid` of the W columns exist.
template <order O, class T, class Factor>
void contiguous_narrow(const T* from, vrn_int ld, vrn_int depths, int valid, int width, T* to, Factor f)
{
    for (vrn_int kk = 0; kk < depths; ++kk, from += ld, to += width)
        for (int w = 0; w < width; ++w) to[place(O, w)] = w < valid ? f(from[w]) : T{};
}

// ---- strided: element (kk, w) is from[kk + w*ld] ----

// One vector of depths of each column, turned, and stored depth by depth, `width` reals apart.
inline void transpose_store(const vec<double> (&c)[1], double* to, vrn_int, order) { c[0].store(to); }

inline void transpose_store(const vec<double> (&c)[2], double* to, vrn_int width, order)
{
    _mm_store_pd(to, _mm_unpacklo_pd(c[0].v, c[1].v));
    _mm_store_pd(to + width, _mm_unpackhi_pd(c[0].v, c[1].v));
}

inline void transpose_store(const vec<float> (&c)[2], float* to, vrn_int width, order)
{
    _mm_store_ps(to, _mm_movelh_ps(c[0].v, c[1].v));
    _mm_store_ps(to + width, _mm_movehl_ps(c[1].v, c[0].v));
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

template <int W, order O, bool Aligned, class T, class Factor>
[[gnu::flatten]] inline void strided_depths(const T* from, vrn_int ld, vrn_int depths, T* to, Factor f)
{
    constexpr int per = simd::per_vec<T>, parts = simd::element<T>::parts;
    vrn_int kk = 0;
    for (; kk + per <= depths; kk += per)
        simd::unroll<W / per>([&](auto g) {
            constexpr int w = g * per;
            vec<simd::real_of<T>> c[per];
            simd::unroll<per>([&](auto i) { c[i] = f(load<Aligned>(reals(from + kk + (w + i) * ld))); });
            transpose_store(c, reals(to + kk * W + w), W * parts, O);
        });
    for (; kk < depths; ++kk)
        for (int w = 0; w < W; ++w) to[kk * W + place(O, w)] = f(from[kk + w * ld]);
}

template <order O, class T, class Factor>
void strided_narrow(const T* from, vrn_int ld, vrn_int depths, int valid, int width, T* to, Factor f)
{
    for (vrn_int kk = 0; kk < depths; ++kk)
        for (int w = 0; w < width; ++w) to[kk * width + place(O, w)] = w < valid ? f(from[kk + w * ld]) : T{};
}

// ---- panel sets ----

// Aligned loads serve every column when the matrix and its leading dimension are multiples of 16 bytes.
template <class T>
bool can_align(const T* p, vrn_int ld)
{
    return (reinterpret_cast<std::uintptr_t>(p) & 15) == 0 && ld % simd::per_vec<T> == 0;
}

template <bool Aligned, class T, class Factor>
void a_normal(vrn_int mb, vrn_int depths, const T* a, vrn_int lda, T* to, vrn_int distance, Factor f)
{
    constexpr int mr = gemm_tile<T>.mr;
    constexpr order o = a_order<T>;
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

template <bool Aligned, class T, class Factor>
void a_transposed(vrn_int mb, vrn_int depths, const T* a, vrn_int lda, T* to, vrn_int distance, Factor f)
{
    constexpr int mr = gemm_tile<T>.mr;
    constexpr order o = a_order<T>;
    for (; mb >= mr; mb -= mr, a += mr * lda, to += distance) strided_depths<mr, o, Aligned>(a, lda, depths, to, f);
    if (mb != 0) strided_narrow<o>(a, lda, depths, static_cast<int>(mb), mr, to, f);
}

// op(A), mb by depth, times alpha.
template <class T>
void a(operation op, vrn_int mb, vrn_int depth, const T* from, vrn_int lda, T* to, vrn_int distance, T alpha)
{
    if (mb < 1 || depth < 1) return;
    constexpr int mr = gemm_tile<T>.mr;
    const bool fits = can_align(from, lda);
    using factor = simd::factor<T>;
    const auto panels = [&](auto aligned, auto unaligned, auto f) {
        (fits ? aligned : unaligned)(mb, depth, from, lda, to, distance, f);
    };
    if (op.normal) panels(a_normal<true, T, factor>, a_normal<false, T, factor>, factor(alpha));
    else if (!op.conjugate) panels(a_transposed<true, T, factor>, a_transposed<false, T, factor>, factor(alpha));
    else if constexpr (simd::element<T>::parts == 2) {
        using conjugate = conjugate_factor<T>;
        panels(a_transposed<true, T, conjugate>, a_transposed<false, T, conjugate>, conjugate(alpha));
    }
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr);
    if (padded != depth)
        for (vrn_int i = 0; i < mb; i += mr, to += distance) zero_depths(to + depth * mr, (padded - depth) * mr);
}

// One panel of op(B), `width` wide, of which `valid` columns exist.
template <bool Aligned, class T, class Factor>
void b_panel(bool normal, vrn_int depth, int valid, int width, const T* from, vrn_int ldb, T* to, Factor f)
{
    constexpr order o = order::natural;
    if (valid == gemm_tile<T>.nr)
        (normal ? strided_depths<gemm_tile<T>.nr, o, Aligned, T, Factor>
                : contiguous_depths<gemm_tile<T>.nr, o, Aligned, T, Factor>)(from, ldb, depth, to, f);
    else if (valid == 4)
        (normal ? strided_depths<4, o, Aligned, T, Factor>
                : contiguous_depths<4, o, Aligned, T, Factor>)(from, ldb, depth, to, f);
    else
        (normal ? strided_narrow<o, T, Factor> : contiguous_narrow<o, T, Factor>)(from, ldb, depth, valid, width, to, f);
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr);
    zero_depths(to + depth * width, (padded - depth) * width);
}

template <bool Aligned, class T, class Factor>
void b_panels(bool normal, vrn_int depth, vrn_int nb, const T* from, vrn_int ldb, T* to, vrn_int distance, Factor f)
{
    constexpr int nr = gemm_tile<T>.nr;
    const vrn_int padded = round_up(depth, gemm_tile<T>.kr), step = normal ? ldb : 1;
    const auto panel = b_panel<Aligned, T, Factor>;
    for (; nb >= nr; nb -= nr, from += nr * step, to += distance) panel(normal, depth, nr, nr, from, ldb, to, f);
    while (nb > 0) {
        const int width = chain_width(nb);
        const int valid = nb < width ? static_cast<int>(nb) : width;
        panel(normal, depth, valid, width, from, ldb, to, f);
        nb -= valid;
        from += valid * step;
        to += padded * width;
    }
}

// op(B), depth by nb: full panels `distance` apart, then the chain without gaps.
template <class T>
void b(operation op, vrn_int depth, vrn_int nb, const T* from, vrn_int ldb, T* to, vrn_int distance)
{
    if (nb < 1 || depth < 1) return;
    const auto pack = [&]<class Factor>(Factor f) {
        (can_align(from, ldb) ? b_panels<true, T, Factor> : b_panels<false, T, Factor>)(op.normal, depth, nb, from, ldb,
                                                                                        to, distance, f);
    };
    if constexpr (simd::element<T>::parts == 2)
        if (op.conjugate) return pack(conjugated<T>{});
    pack(plain<T>{});
}

} // namespace vrn::blas::pack
