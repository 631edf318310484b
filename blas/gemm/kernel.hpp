// blas/gemm/kernel.hpp - the inner kernel of the real types: C (m by n) += packed A times packed B.
//
// Panels of 8 columns outermost, then the chain of narrower ones; within a panel, row tiles of mr rows; within a
// tile, the depth. Eight accumulators hold the tile:
//
//     d, 2x8: diagonals, nothing is broadcast          s, 4x8: A comes as r0 r2 r1 r3
//       (a0 a1) * (b0 b1) -> (a0b0 a1b1)                 (r0 r0 r1 r1) * (b0 b1 b0 b1) -> r0b0 r0b1 r1b0 r1b1
//       (a1 a0) * (b0 b1) -> (a1b0 a0b1)                 (r2 r2 r3 r3) * (b0 b1 b0 b1) -> r2b0 r2b1 r3b0 r3b1
//
// In s both forms of A and the doubled pairs of B are plain loads (movsldup, movshdup, movddup): no shuffle
// competes with the arithmetic. Where a processor's shuffles share ports with its arithmetic, the second kernel of
// d gets its two forms by loads too, as (a0 a0) and (a1 a1). Each element of C is one sum over the depth in its
// natural order, whatever tile form computes it, so the result depends on the depth block alone. The bodies never
// multiply by alpha or beta: alpha is in A, beta is 0 (store) or 1 (add).
//
// The depth loops are assembly: g++ reorders the intrinsics and spills accumulators.
// Goto and van de Geijn (2008), Anatomy of high-performance matrix multiplication.
#pragma once

#include "blas/gemm/pack.hpp"
#include "blas/gemm/tables.hpp"
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
                 : [c0] "=&x"(c[0].v), [c1] "=&x"(c[1].v), [c2] "=&x"(c[2].v), [c3] "=&x"(c[3].v),                 \
                   [c4] "=&x"(c[4].v), [c5] "=&x"(c[5].v), [c6] "=&x"(c[6].v), [c7] "=&x"(c[7].v),                 \
                   [a0] "=&x"(a0), [a1] "=&x"(a1), [p0] "=&x"(p0), [p1] "=&x"(p1), [p2] "=&x"(p2),                 \
                   [p3] "=&x"(p3), [p4] "=&x"(p4), [p5] "=&x"(p5), [a] "+&r"(a), [b] "+&r"(b), [k] "+&r"(k)        \
                 :                                                                                                 \
                 : "cc", "memory")

// clang-format on

// How a depth loop of d meets A. Both sum the same products in the same order, so the bits are the same.
enum class scheme { diagonal, broadcast };

// c[j] and c[4+j] are the two forms of column pair j.
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
inline void a_forms(const double* a, simd::vec<double>& f0, simd::vec<double>& f1)
{
    f0.v = _mm_load_pd(a);
    f1.v = _mm_castsi128_pd(_mm_shuffle_epi32(_mm_castpd_si128(f0.v), 78));
}
inline void a_forms(const float* a, simd::vec<float>& f0, simd::vec<float>& f1)
{
    const __m128 r = _mm_load_ps(a);
    f0.v = _mm_moveldup_ps(r);
    f1.v = _mm_movehdup_ps(r);
}

// The first form by broadcast.
inline simd::vec<double> doubled(const double* a) { return {_mm_loaddup_pd(a)}; }
inline simd::vec<float> doubled(const float* a) { return {_mm_moveldup_ps(_mm_load_ps(a))}; }

// A pair of B columns at one depth, as the products want it.
inline simd::vec<double> b_pair(const double* b) { return {_mm_load_pd(b)}; }
inline simd::vec<float> b_pair(const float* b)
{
    return {_mm_castpd_ps(_mm_loaddup_pd(reinterpret_cast<const double*>(b)))};
}

// Undoes the forms: columns j and j+1 of the tile from one pair's two accumulators.
template <scheme S = scheme::diagonal>
inline void columns(simd::vec<double>& x, simd::vec<double>& y)
{
    const __m128d c0 = _mm_shuffle_pd(x.v, y.v, 0);
    const __m128d c1 = S == scheme::diagonal ? _mm_shuffle_pd(y.v, x.v, 3) : _mm_shuffle_pd(x.v, y.v, 3);
    x.v = c0, y.v = c1;
}
template <scheme = scheme::diagonal>
inline void columns(simd::vec<float>& x, simd::vec<float>& y)
{
    const __m128 c0 = _mm_shuffle_ps(x.v, y.v, 0x88), c1 = _mm_shuffle_ps(x.v, y.v, 0xdd);
    x.v = c0, y.v = c1;
}

template <bool Store, bool Aligned, class T>
inline void put(T* c, simd::vec<T> x)
{
    if constexpr (!Store) x = pack::load<Aligned>(c) + x;
    if constexpr (Aligned) x.store(c);
    else x.storeu(c);
}

// ---- tiles ----

// mr rows by 8 columns.
template <scheme S, bool Store, bool Aligned, class T>
inline void tile8(vrn_int k, const T* a, const T* b, T* c, vrn_int ldc)
{
    simd::vec<T> acc[8];
    for (int j = 0; j < 8; ++j) _mm_prefetch(reinterpret_cast<const char*>(c + j * ldc) + 16, _MM_HINT_T0);
    depth8<S>(a, b, k, acc);
    for (int j = 0; j < 4; ++j) {
        columns<S>(acc[j], acc[j + 4]);
        put<Store, Aligned>(c + 2 * j * ldc, acc[j]);
        put<Store, Aligned>(c + (2 * j + 1) * ldc, acc[j + 4]);
    }
}

// Width (4, 2 or 1) columns of the chain by Tiles row tiles: several tiles at once, since the sums of a single
// one are too few to keep the adders busy. sums[t][j] is column j of tile t.
template <int Width, int Tiles, class T>
[[gnu::always_inline]] inline void narrow_sums(vrn_int k, const T* a, vrn_int a_distance, const T* b,
                                               simd::vec<T> (&sums)[Tiles][Width])
{
    using V = simd::vec<T>;
    using simd::unroll;
    constexpr int mr = gemm_tile<T>.mr;
    V acc[Tiles][Width];
    unroll<Tiles>([&](auto t) { unroll<Width>([&](auto j) { acc[t][j] = V::zero(); }); });
    for (vrn_int kk = 0; kk < k; ++kk, a += mr, b += Width) {
        if constexpr (Width == 1) {
            const V one = V::all(*b);
            unroll<Tiles>([&](auto t) { acc[t][0] = acc[t][0] + V::load(a + t * a_distance) * one; });
        } else {
            unroll<Tiles>([&](auto t) {
                V f0, f1;
                a_forms(a + t * a_distance, f0, f1);
                unroll<Width / 2>([&](auto p) {
                    const V pair = b_pair(b + 2 * p);
                    acc[t][2 * p] = acc[t][2 * p] + f0 * pair;
                    acc[t][2 * p + 1] = acc[t][2 * p + 1] + f1 * pair;
                });
            });
        }
    }
    unroll<Tiles>([&](auto t) {
        if constexpr (Width == 1) acc[t][0] = pack::permuted(acc[t][0], pack::a_order<T>);
        else unroll<Width / 2>([&](auto p) { columns(acc[t][2 * p], acc[t][2 * p + 1]); });
        unroll<Width>([&](auto j) { sums[t][j] = acc[t][j]; });
    });
}

template <int Width, int Tiles, bool Store, bool Aligned, class T>
inline void narrow_tiles(vrn_int k, const T* a, vrn_int a_distance, const T* b, int valid, T* c, vrn_int ldc)
{
    constexpr int mr = gemm_tile<T>.mr;
    simd::vec<T> sums[Tiles][Width];
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
    constexpr int mr = gemm_tile<T>.mr, tiles = Width == 1 ? 4 : 8 / Width;
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
    const auto pack_panel = pack::can_align(o.b, o.b_distance) ? pack::b_panel<true, T> : pack::b_panel<false, T>;
    for (vrn_int j = 0; j < o.n;) {
        const vrn_int left = o.n - j;
        const int width = left >= nr ? nr : chain_width(left);
        const int valid = left < width ? static_cast<int>(left) : width;
        if constexpr (RawB) pack_panel(o.b_normal, o.depth, valid, width, b, o.b_distance, o.w);
        visit(RawB ? o.w : b, width, valid, o.c + j * o.ldc);
        b += RawB ? valid * step : width == nr ? o.b_distance : o.padded * width;
        j += valid;
    }
}

// m is a multiple of mr.
template <scheme S, bool RawB, bool Store, bool Aligned, class T>
void body(vrn_int m, const kernel_operands<T>& o)
{
    constexpr int mr = gemm_tile<T>.mr;
    for_each_panel<RawB>(o, [&](const T* b, int width, int valid, T* c) {
        switch (width) {
        case 8: {
            const T* a = o.a;
            for (vrn_int i = 0; i < m; i += mr, a += o.a_distance)
                tile8<S, Store, Aligned>(o.padded, a, b, c + i, o.ldc);
            break;
        }
        case 4:
            narrow_panel<4, Store, Aligned>(m, o.padded, o.a, o.a_distance, b, valid, c, o.ldc);
            break;
        case 2:
            narrow_panel<2, Store, Aligned>(m, o.padded, o.a, o.a_distance, b, valid, c, o.ldc);
            break;
        default:
            narrow_panel<1, Store, Aligned>(m, o.padded, o.a, o.a_distance, b, valid, c, o.ldc);
            break;
        }
    });
}

// The first rows of a tile against one panel of 8 columns, half the work of a tile: the first form of A by
// broadcast holds row 0 of d, rows 0 and 1 of s. first_rows of columns 2j and 2j+1 come out in acc[j].
template <class T>
inline constexpr int first_rows = gemm_tile<T>.mr / 2;
template <class T>
[[gnu::flatten]] inline void half_tile8(vrn_int k, const T* a, const T* b, simd::vec<T> (&sums)[4])
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

// The fewer than mr rows at the end: the panel is full, padded with zero rows, and only `rows` of a tile reach
// C. Unlike the bodies it takes any alpha and beta.
template <bool RawB, class T>
void row_rest(int rows, T alpha, T beta, const kernel_operands<T>& o)
{
    using V = simd::vec<T>;
    constexpr int mr = gemm_tile<T>.mr;
    const auto element = [&](T sum, T* c) { *c = beta == T{} ? alpha * sum : beta * *c + alpha * sum; };
    const auto finish = [&](V x, T* c) {
        alignas(16) T sum[V::lanes];
        x.store(sum);
        for (int r = 0; r < rows; ++r) element(sum[r], c + r);
    };
    for_each_panel<RawB>(o, [&](const T* b, int width, int valid, T* c) {
        static_assert(mr == V::lanes);
        const auto narrow = [&]<int Width>() {
            V sums[1][Width];
            narrow_sums<Width, 1>(o.padded, o.a, 0, b, sums);
            for (int j = 0; j < valid; ++j) finish(sums[0][j], c + j * o.ldc);
        };
        switch (width) {
        case 8: {
            if (rows <= first_rows<T>) {
                V half[4];
                half_tile8(o.padded, o.a, b, half);
                for (int j = 0; j < 4; ++j) {
                    alignas(16) T sum[V::lanes];
                    half[j].store(sum);
                    for (int r = 0; r < rows; ++r) {
                        element(sum[2 * r], c + 2 * j * o.ldc + r);
                        element(sum[2 * r + 1], c + (2 * j + 1) * o.ldc + r);
                    }
                }
                break;
            }
            V acc[8];
            depth8<scheme::diagonal>(o.a, b, o.padded, acc);
            for (int j = 0; j < 4; ++j) {
                columns(acc[j], acc[j + 4]);
                finish(acc[j], c + 2 * j * o.ldc);
                finish(acc[j + 4], c + (2 * j + 1) * o.ldc);
            }
            break;
        }
        case 4:
            narrow.template operator()<4>();
            break;
        case 2:
            narrow.template operator()<2>();
            break;
        default:
            narrow.template operator()<1>();
            break;
        }
    });
}

// The kernel behind gemm_desc::kernel. One of eight bodies by variant, beta and the alignment of C; alignment
// changes the instruction and not the arithmetic.
template <class T, scheme S>
void kernel(const char* transb, vrn_int m, vrn_int n, vrn_int k, T alpha, const T* a, vrn_int a_distance, const T* b,
            vrn_int b_distance, T beta, T* c, vrn_int ldc, T* w, std::int32_t variant)
{
    constexpr int mr = gemm_tile<T>.mr;
    const bool raw = variant == 3;
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
            {{body<S, true, false, false, T>, body<S, true, false, true, T>},
             {body<S, true, true, false, T>, body<S, true, true, true, T>}}};
        bodies[raw][beta == T{}][aligned](whole, o);
        o.a += whole / mr * a_distance;
        o.c += whole;
    }
    if (rest != 0) (raw ? row_rest<true, T> : row_rest<false, T>)(rest, alpha, beta, o);
}

} // namespace vrn::blas
