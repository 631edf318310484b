// blas/gemm/kernel.hpp - the inner kernel of all four types: C (m by n) += packed A times packed B.
//
// Panels of nr columns outermost, then the chain of narrower ones; within a panel, row tiles of mr rows; within a
// tile, the depth. Eight accumulators hold the tile: two forms of A times four pairs of reals of B.
//
//     d, 2x8: diagonals, nothing is broadcast          s, 4x8: A comes as r0 r2 r1 r3
//       (a0 a1) * (b0 b1) -> (a0b0 a1b1)                 (r0 r0 r1 r1) * (b0 b1 b0 b1) -> r0b0 r0b1 r1b0 r1b1
//       (a1 a0) * (b0 b1) -> (a1b0 a0b1)                 (r2 r2 r3 r3) * (b0 b1 b0 b1) -> r2b0 r2b1 r3b0 r3b1
//
//     z, 1x4: x + iy times u + iv                      c, 2x4: the same for rows 0 and 1 side by side
//       (x x) * (u v) -> (xu xv)                         (x0 x0 x1 x1) * (u v u v) -> x0u x0v x1u x1v
//       (y y) * (u v) -> (yu yv)                         (y0 y0 y1 y1) * (u v u v) -> y0u y0v y1u y1v
//     behind the depth the second swaps its lanes, and one addsub makes (xu - yv, xv + yu)
//
// In s, c and z the forms of A and the pairs of B are plain loads (movsldup, movshdup, movddup): no shuffle
// competes with the arithmetic. Where a processor's shuffles share ports with its arithmetic, the second kernel of
// d gets its two forms by loads too, as (a0 a0) and (a1 a1), and its loop is that of z, as that of s is that of c.
// Each real sum of C is one sum over the depth in its natural order, whatever tile form computes it, so the result
// depends on the depth block alone. The bodies never multiply by alpha or beta: alpha is in A, beta is 0 (store) or
// 1 (add). Conjugation is in the panels. The complex kernels have no variant with a raw B.
//
// The depth loops are assembly: g++ reorders the intrinsics and spills accumulators.
// Goto and van de Geijn (2008), Anatomy of high-performance matrix multiplication.
#pragma once

#include "blas/gemm/pack.hpp"
#include "blas/gemm/tables.hpp"
#include "simd/complex.hpp"
#include "simd/unroll.hpp"
#include "simd/vec.hpp"

#include <cstdint>

namespace vrn::blas {

using vrn_int = std::int64_t;

// clang-format off
// ---- one depth step, as text ----
// c0-c7 are the accumulators, a0 and a1 the two forms of A, p0-p5 products: all sixteen registers. `i` is the
// step within a turn.

// One pair of columns: load B once, copy it, two products, two sums.
#define VRN_PAIR(load_b, off, t, p, q, c, d)                                                                       \
    load_b " " off "(%[b]), %[" #p "]\n\t"                                                                         \
    "movaps %[" #p "], %[" #q "]\n\t"                                                                              \
    "mul" t " %[a0], %[" #p "]\n\t"                                                                                \
    "mul" t " %[a1], %[" #q "]\n\t"                                                                                \
    "add" t " %[" #p "], %[" #c "]\n\t"                                                                            \
    "add" t " %[" #q "], %[" #d "]\n\t"
// The four pairs of a step: a step of B is `step` bytes, a pair of it `pair`.
#define VRN_PAIRS(load_b, t, step, pair, i)                                                                            \
    VRN_PAIR(load_b, #step "*" #i, t, p0, p1, c0, c4)                                                                  \
    VRN_PAIR(load_b, #step "*" #i "+" #pair, t, p2, p3, c1, c5)                                                        \
    VRN_PAIR(load_b, #step "*" #i "+2*" #pair, t, p4, p5, c2, c6)                                                      \
    VRN_PAIR(load_b, #step "*" #i "+3*" #pair, t, p0, p1, c3, c7)

#define VRN_STEP_D(i)                                                                                                  \
    "movapd 16*" #i "(%[a]), %[a0]\n\t"                                                                                \
    "pshufd $78, 16*" #i "(%[a]), %[a1]\n\t"                                                                           \
    VRN_PAIRS("movapd", "pd", 64, 16, i)
// Broadcasts by load in the place of the diagonals: one load more and no shuffle.
#define VRN_STEP_D_BROADCAST(i)                                                                                        \
    "movddup 16*" #i "(%[a]), %[a0]\n\t"                                                                               \
    "movddup 16*" #i "+8(%[a]), %[a1]\n\t"                                                                             \
    VRN_PAIRS("movapd", "pd", 64, 16, i)
#define VRN_STEP_S(i)                                                                                                  \
    "movsldup 16*" #i "(%[a]), %[a0]\n\t"                                                                              \
    "movshdup 16*" #i "(%[a]), %[a1]\n\t"                                                                              \
    VRN_PAIRS("movddup", "ps", 32, 8, i)

// 8 steps a turn, then one block of 4 where the padded depth leaves one; a padded depth leaves nothing finer. A
// turn uses two lines of A, which stream from the second-level cache: asking for them 2 KiB ahead is worth a
// hundredth of the peak over the processor's own prefetch.
#define VRN_DEPTH_LOOP(step, a_turn, b_turn)                                                                 \
    "pxor %[c0], %[c0]\n\tpxor %[c1], %[c1]\n\tpxor %[c2], %[c2]\n\tpxor %[c3], %[c3]\n\t"                         \
    "pxor %[c4], %[c4]\n\tpxor %[c5], %[c5]\n\tpxor %[c6], %[c6]\n\tpxor %[c7], %[c7]\n\t"                         \
    "sub $8, %[k]\n\t"                                                                                             \
    "jl 2f\n\t"                                                                                                    \
    ".p2align 5\n"                                                                                                 \
    "1:\n\t"                                                                                                       \
    "prefetcht0 2048(%[a])\n\t" step(0) step(1) step(2) step(3)                                                    \
    "prefetcht0 2048+64(%[a])\n\t" step(4) step(5) step(6) step(7)                                                 \
    "add $" #a_turn ", %[a]\n\t"                                                                                   \
    "add $" #b_turn ", %[b]\n\t"                                                                                   \
    "sub $8, %[k]\n\t"                                                                                             \
    "jge 1b\n"                                                                                                     \
    "2:\n\t"                                                                                                       \
    "test $4, %[k]\n\t"                                                                                            \
    "jz 3f\n\t"                                                                                                    \
    step(0) step(1) step(2) step(3)                                                        \
    "3:\n\t"

#define VRN_DEPTH(V, step, a_turn, b_turn)                                                                   \
    V a0, a1, p0, p1, p2, p3, p4, p5;                                                                              \
    asm volatile(VRN_DEPTH_LOOP(step, a_turn, b_turn)                                                        \
                 : [c0] "=&x"(c[0].v), [c1] "=&x"(c[2].v), [c2] "=&x"(c[4].v), [c3] "=&x"(c[6].v),                 \
                   [c4] "=&x"(c[1].v), [c5] "=&x"(c[3].v), [c6] "=&x"(c[5].v), [c7] "=&x"(c[7].v),                 \
                   [a0] "=&x"(a0), [a1] "=&x"(a1), [p0] "=&x"(p0), [p1] "=&x"(p1), [p2] "=&x"(p2),                 \
                   [p3] "=&x"(p3), [p4] "=&x"(p4), [p5] "=&x"(p5), [a] "+&r"(a), [b] "+&r"(b), [k] "+&r"(k)        \
                 :                                                                                                 \
                 : "cc", "memory")

// clang-format on

// How a depth loop in double meets A. Both sum the same products in the same order, so the bits of d are the same;
// parts of a complex number take the broadcast.
enum class scheme { diagonal, broadcast };
template <class T>
inline constexpr scheme own_scheme = simd::element<T>::parts == 1 ? scheme::diagonal : scheme::broadcast;

// What holds parts of T, and the columns of C that a pair of reals of B belongs to.
template <class T>
using vec_of = simd::vec<simd::real_of<T>>;
template <class T>
inline constexpr int pair_columns = 2 / simd::element<T>::parts;

// c[2p] and c[2p+1] are the products of the two forms of A with pair p.
template <scheme S>
inline void depth8(const double* a, const double* b, vrn_int k, simd::vec<double> (&c)[8])
{
    if constexpr (S == scheme::diagonal) {
        VRN_DEPTH(__m128d, VRN_STEP_D, 128, 512);
    } else {
        VRN_DEPTH(__m128d, VRN_STEP_D_BROADCAST, 128, 512);
    }
}
template <scheme>
inline void depth8(const float* a, const float* b, vrn_int k, simd::vec<float> (&c)[8])
{
    VRN_DEPTH(__m128, VRN_STEP_S, 128, 256);
}

#undef VRN_PAIR
#undef VRN_PAIRS
#undef VRN_STEP_D
#undef VRN_STEP_D_BROADCAST
#undef VRN_STEP_S
#undef VRN_DEPTH_LOOP
#undef VRN_DEPTH

// ---- between the two forms and columns of C ----

// The two forms of A at one depth.
template <scheme S>
inline void a_forms(const double* a, simd::vec<double>& f0, simd::vec<double>& f1)
{
    if constexpr (S == scheme::diagonal) {
        f0.v = _mm_load_pd(a);
        f1.v = _mm_castsi128_pd(_mm_shuffle_epi32(_mm_castpd_si128(f0.v), 78));
    } else {
        f0.v = _mm_loaddup_pd(a);
        f1.v = _mm_loaddup_pd(a + 1);
    }
}
template <scheme>
inline void a_forms(const float* a, simd::vec<float>& f0, simd::vec<float>& f1)
{
    const __m128 r = _mm_load_ps(a);
    f0.v = _mm_moveldup_ps(r);
    f1.v = _mm_movehdup_ps(r);
}

// The first form by broadcast.
inline simd::vec<double> doubled(const double* a) { return {_mm_loaddup_pd(a)}; }
inline simd::vec<float> doubled(const float* a) { return {_mm_moveldup_ps(_mm_load_ps(a))}; }

// A pair of reals of B at one depth, as the products want it.
inline simd::vec<double> b_pair(const double* b) { return {_mm_load_pd(b)}; }
inline simd::vec<float> b_pair(const float* b)
{
    return {_mm_castpd_ps(_mm_loaddup_pd(reinterpret_cast<const double*>(b)))};
}

// Undoes the forms. Of a real type: columns j and j+1 of the tile from one pair's two accumulators.
template <scheme S>
inline void columns(simd::vec<double>& x, simd::vec<double>& y)
{
    const __m128d c0 = _mm_shuffle_pd(x.v, y.v, 0);
    const __m128d c1 = S == scheme::diagonal ? _mm_shuffle_pd(y.v, x.v, 3) : _mm_shuffle_pd(x.v, y.v, 3);
    x.v = c0, y.v = c1;
}
template <scheme>
inline void columns(simd::vec<float>& x, simd::vec<float>& y)
{
    const __m128 c0 = _mm_shuffle_ps(x.v, y.v, 0x88), c1 = _mm_shuffle_ps(x.v, y.v, 0xdd);
    x.v = c0, y.v = c1;
}
// For all pairs: from the two accumulators of pair p, acc[2p] and acc[2p+1], its columns of C in sums[].
template <class T, scheme S, int Pairs, class V>
[[gnu::always_inline]] inline void finish(V (&acc)[2 * Pairs], V (&sums)[Pairs * pair_columns<T>])
{
    simd::unroll<Pairs>([&](auto p) {
        V x = acc[2 * p], y = acc[2 * p + 1];
        if constexpr (pair_columns<T> == 1) {
            sums[p] = add_sub(x, swap_parts(y));
        } else {
            columns<S>(x, y);
            sums[2 * p] = x, sums[2 * p + 1] = y;
        }
    });
}

template <bool Store, bool Aligned, class T, class V>
inline void put(T* c, V x)
{
    auto* p = pack::reals(c);
    if constexpr (!Store) x = pack::load<Aligned>(p) + x;
    if constexpr (Aligned) x.store(p);
    else x.storeu(p);
}

// ---- tiles ----

// mr rows by nr columns, of which `valid` exist: all of them but for the last panel of a complex type.
template <scheme S, bool Store, bool Aligned, class T>
inline void full_tile(vrn_int k, const T* a, const T* b, int valid, T* c, vrn_int ldc)
{
    constexpr int nr = gemm_tile<T>.nr;
    vec_of<T> acc[8], sums[nr];
    for (int j = 0; j < nr; ++j) _mm_prefetch(reinterpret_cast<const char*>(c + j * ldc) + 16, _MM_HINT_T0);
    depth8<S>(pack::reals(a), pack::reals(b), k, acc);
    finish<T, S, 4>(acc, sums);
    simd::unroll<nr>([&](auto j) {
        if (nr == 8 || j < 3 || valid == nr) put<Store, Aligned>(c + j * ldc, sums[j]);
    });
}

// Width (4, 2 or 1) columns of the chain by Tiles row tiles: several tiles at once, since the sums of a single
// one are too few to keep the adders busy. sums[t][j] is column j of tile t.
template <int Width, int Tiles, class T>
[[gnu::always_inline]] inline void narrow_sums(vrn_int k, const T* at, vrn_int a_distance, const T* bt,
                                               vec_of<T> (&sums)[Tiles][Width])
{
    using V = vec_of<T>;
    using simd::unroll;
    constexpr int parts = simd::element<T>::parts, mr = gemm_tile<T>.mr * parts, reals = Width * parts;
    constexpr scheme S = own_scheme<T>;
    V acc[Tiles][reals];
    const auto *a = pack::reals(at), *b = pack::reals(bt);
    a_distance *= parts;
    unroll<Tiles>([&](auto t) { unroll<reals>([&](auto j) { acc[t][j] = V::zero(); }); });
    for (vrn_int kk = 0; kk < k; ++kk, a += mr, b += reals) {
        if constexpr (reals == 1) {
            const V one = V::all(*b);
            unroll<Tiles>([&](auto t) { acc[t][0] = acc[t][0] + V::load(a + t * a_distance) * one; });
        } else {
            unroll<Tiles>([&](auto t) {
                V f0, f1;
                a_forms<S>(a + t * a_distance, f0, f1);
                unroll<reals / 2>([&](auto p) {
                    const V pair = b_pair(b + 2 * p);
                    acc[t][2 * p] = acc[t][2 * p] + f0 * pair;
                    acc[t][2 * p + 1] = acc[t][2 * p + 1] + f1 * pair;
                });
            });
        }
    }
    unroll<Tiles>([&](auto t) {
        if constexpr (reals == 1) sums[t][0] = pack::permuted(acc[t][0], pack::a_order<T>);
        else finish<T, S, reals / 2>(acc[t], sums[t]);
    });
}

template <int Width, int Tiles, bool Store, bool Aligned, class T>
inline void narrow_tiles(vrn_int k, const T* a, vrn_int a_distance, const T* b, int valid, T* c, vrn_int ldc)
{
    constexpr int mr = gemm_tile<T>.mr;
    vec_of<T> sums[Tiles][Width];
    narrow_sums<Width, Tiles>(k, a, a_distance, b, sums);
    simd::unroll<Tiles>([&](auto t) {
        simd::unroll<Width>([&](auto j) {
            if (j < valid) put<Store, Aligned>(c + t * mr + j * ldc, sums[t][j]);
        });
    });
}

// All row tiles of one panel of the chain.
template <int Width, bool Store, bool Aligned, class T>
[[gnu::flatten]] void narrow_panel(vrn_int m, vrn_int k, const T* a, vrn_int a_distance, const T* b, int valid, T* c,
                                   vrn_int ldc)
{
    constexpr int mr = gemm_tile<T>.mr, tiles = Width == 1 ? 4 : 8 / (Width * simd::element<T>::parts);
    for (; m >= tiles * mr; m -= tiles * mr, a += tiles * a_distance, c += tiles * mr)
        narrow_tiles<Width, tiles, Store, Aligned>(k, a, a_distance, b, valid, c, ldc);
    for (; m > 0; m -= mr, a += a_distance, c += mr)
        narrow_tiles<Width, 1, Store, Aligned>(k, a, a_distance, b, valid, c, ldc);
}

// ---- the bodies ----

// What the bodies and the row rest work on. In variant 3 `b` is raw, packed panel by panel into w.
template <class T>
struct kernel_operands {
    bool b_normal;
    vrn_int n, depth, padded; // padded: depth of the packed panels
    const T* a;
    vrn_int a_distance;
    const T* b;
    vrn_int b_distance; // of panels; the leading dimension where b is raw
    T* c;
    vrn_int ldc;
    T* w;
};

// Walks the panels of B: full ones, then the chain; visit(panel, width, valid, c of its first column).
template <bool RawB, class T, class Visit>
inline void for_each_panel(const kernel_operands<T>& o, Visit&& visit)
{
    constexpr int nr = gemm_tile<T>.nr;
    const T* b = o.b;
    const vrn_int step = o.b_normal ? o.b_distance : 1;
    for (vrn_int j = 0; j < o.n;) {
        const vrn_int left = o.n - j;
        const int width = left >= nr ? nr : chain_width(left);
        const int valid = left < width ? static_cast<int>(left) : width;
        if constexpr (RawB) {
            using pack::b_panel;
            (pack::can_align(o.b, o.b_distance) ? b_panel<true, T, pack::plain<T>> : b_panel<false, T, pack::plain<T>>)(
                o.b_normal, o.depth, valid, width, b, o.b_distance, o.w, {});
        }
        visit(RawB ? o.w : b, width, valid, o.c + j * o.ldc);
        b += RawB ? valid * step : width == nr ? o.b_distance : o.padded * width;
        j += valid;
    }
}

// Calls f with the width of a panel of the chain as a constant.
template <class T, class F>
inline void by_width(int width, F&& f)
{
    if constexpr (gemm_tile<T>.nr == 8)
        if (width == 4) return f.template operator()<4>();
    width == 2 ? f.template operator()<2>() : f.template operator()<1>();
}

// m is a multiple of mr.
template <scheme S, bool RawB, bool Store, bool Aligned, class T>
void body(vrn_int m, const kernel_operands<T>& o)
{
    constexpr int mr = gemm_tile<T>.mr;
    for_each_panel<RawB>(o, [&](const T* b, int width, int valid, T* c) {
        const auto narrow = [&]<int Width>() {
            narrow_panel<Width, Store, Aligned>(m, o.padded, o.a, o.a_distance, b, valid, c, o.ldc);
        };
        if (width == gemm_tile<T>.nr) {
            const T* a = o.a;
            for (vrn_int i = 0; i < m; i += mr, a += o.a_distance)
                full_tile<S, Store, Aligned>(o.padded, a, b, valid, c + i, o.ldc);
        } else {
            by_width<T>(width, narrow);
        }
    });
}

// The first rows of a tile against one panel of nr columns, half the work of a tile: the first form of A by
// broadcast holds row 0 of d, rows 0 and 1 of s. first_rows of columns 2j and 2j+1 come out in sums[j].
template <class T>
inline constexpr int first_rows = gemm_tile<T>.mr / 2;
template <class T>
[[gnu::flatten]] inline void half_tile(vrn_int k, const T* a, const T* b, simd::vec<T> (&sums)[4])
{
    using V = simd::vec<T>;
    V acc[4];
    simd::unroll<4>([&](auto j) { acc[j] = V::zero(); });
    for (vrn_int kk = 0; kk < k; ++kk, a += gemm_tile<T>.mr, b += 8) {
        const V f = doubled(a);
        simd::unroll<4>([&](auto j) { acc[j] = acc[j] + f * b_pair(b + 2 * j); });
    }
    simd::unroll<4>([&](auto j) { sums[j] = acc[j]; });
}
// In c row 0 has to be spread: with two columns of B in a vector it takes half the products all the same.
[[gnu::flatten]] inline void half_tile(vrn_int k, const simd::cplx<float>* a, const simd::cplx<float>* b,
                                       simd::vec<float> (&sums)[2])
{
    using V = simd::vec<float>;
    V re[2], im[2];
    simd::unroll<2>([&](auto j) { re[j] = im[j] = V::zero(); });
    for (vrn_int kk = 0; kk < k; ++kk, a += 2, b += 4) {
        const V x = V::all(a->re), y = V::all(a->im);
        simd::unroll<2>([&](auto j) {
            const V two = V::load(&b[2 * j].re);
            re[j] = re[j] + x * two;
            im[j] = im[j] + y * two;
        });
    }
    simd::unroll<2>([&](auto j) { sums[j] = add_sub(re[j], swap_parts(im[j])); });
}

// The fewer than mr rows at the end: the panel is full, padded with zero rows, and only `rows` of a tile reach
// C. Unlike the bodies it takes any alpha and beta.
template <bool RawB, class T>
void row_rest(int rows, T alpha, T beta, const kernel_operands<T>& o)
{
    using V = vec_of<T>;
    constexpr int mr = gemm_tile<T>.mr, nr = gemm_tile<T>.nr;
    // A complex factor of one is left out: 1 * inf would make a NaN of the other part, which the bodies do not.
    const auto element = [&](T sum, T* c) {
        if (simd::element<T>::parts == 1 || alpha != simd::unity<T>) sum = alpha * sum;
        if (beta == T{}) *c = sum;
        else *c = (beta == simd::unity<T> ? *c : beta * *c) + sum;
    };
    const auto elements = [&](V x, T* c) {
        alignas(16) T sum[mr];
        x.store(pack::reals(sum));
        for (int r = 0; r < rows; ++r) element(sum[r], c + r);
    };
    for_each_panel<RawB>(o, [&](const T* b, int width, int valid, T* c) {
        static_assert(mr == simd::per_vec<T>);
        const auto narrow = [&]<int Width>() {
            V sums[1][Width];
            narrow_sums<Width, 1>(o.padded, o.a, 0, b, sums);
            for (int j = 0; j < valid; ++j) elements(sums[0][j], c + j * o.ldc);
        };
        if (width < nr) {
            by_width<T>(width, narrow);
        } else if (rows <= first_rows<T>) {
            V half[nr / 2];
            half_tile(o.padded, o.a, b, half);
            for (int j = 0; j < valid; ++j) {
                alignas(16) T sum[mr];
                half[j / 2].store(pack::reals(sum));
                for (int r = 0; r < rows; ++r) element(sum[2 * r + j % 2], c + j * o.ldc + r);
            }
        } else {
            V acc[8], sums[nr];
            depth8<own_scheme<T>>(pack::reals(o.a), pack::reals(b), o.padded, acc);
            finish<T, own_scheme<T>, 4>(acc, sums);
            for (int j = 0; j < valid; ++j) elements(sums[j], c + j * o.ldc);
        }
    });
}

// The kernel behind gemm_desc::kernel. One of eight bodies by variant, beta and the alignment of C, of four by the
// last two for a complex type; alignment changes the instruction and not the arithmetic.
template <class T, scheme S>
void kernel(const char* transb, vrn_int m, vrn_int n, vrn_int k, T alpha, const T* a, vrn_int a_distance, const T* b,
            vrn_int b_distance, T beta, T* c, vrn_int ldc, T* w, std::int32_t variant)
{
    constexpr int mr = gemm_tile<T>.mr;
    constexpr bool takes_raw = simd::element<T>::parts == 1;
    const bool raw = takes_raw && variant == 3;
    const bool b_normal = (*transb & 78) == 78; // the bits of N in either case
    kernel_operands<T> o{b_normal, n,   k, raw ? round_up(k, gemm_tile<T>.kr) : k, a, a_distance, b, b_distance,
                         c,        ldc, w};
    const int rest = static_cast<int>(m % mr);
    if (const vrn_int whole = m - rest; whole != 0) {
        const bool aligned = pack::can_align(c, ldc);
        using body_function = void(vrn_int, const kernel_operands<T>&);
        static constexpr body_function* bodies[2][2][2] = {
            {{body<S, false, false, false, T>, body<S, false, false, true, T>},
             {body<S, false, true, false, T>, body<S, false, true, true, T>}},
            {{body<S, takes_raw, false, false, T>, body<S, takes_raw, false, true, T>},
             {body<S, takes_raw, true, false, T>, body<S, takes_raw, true, true, T>}}};
        bodies[raw][beta == T{}][aligned](whole, o);
        o.a += whole / mr * a_distance;
        o.c += whole;
    }
    if constexpr (mr > 1)
        if (rest != 0) (raw ? row_rest<takes_raw, T> : row_rest<false, T>)(rest, alpha, beta, o);
}

} // namespace vrn::blas
