// trans/inplace.hpp - A := alpha op(A) in one buffer, row-major rows by cols, from leading dimension lda to ldb.
//
//     square, alpha 1    mirrored tiles of 8 by 8 exchanged, each transposed in registers
//     square             a plain loop over the pairs below the diagonal
//     other transposes   every cycle of the permutation followed from its least offset (Windley 1959): no memory,
//                        one walk an element
//     no transpose       rows moved from one stride to the other, in the order that overwrites nothing unread
//
// Nothing allocates. Called by inplace.cpp.
#pragma once

#include "trans/element.hpp"
#include "trans/functions.hpp"

namespace vrn::trans {

// ---- tiles ----

inline constexpr vrn_int tile = 8;

// A register's worth of rows and columns, turned.
inline void turn(vec<double> (&x)[1]) { (void)x; }
inline void turn(vec<double> (&x)[2])
{
    const __m128d low = _mm_unpacklo_pd(x[0].v, x[1].v);
    x[1].v = _mm_unpackhi_pd(x[0].v, x[1].v);
    x[0].v = low;
}
inline void turn(vec<float> (&x)[2]) // of two complex numbers
{
    const __m128 low = _mm_movelh_ps(x[0].v, x[1].v);
    x[1].v = _mm_movehl_ps(x[1].v, x[0].v);
    x[0].v = low;
}
inline void turn(vec<float> (&x)[4]) { _MM_TRANSPOSE4_PS(x[0].v, x[1].v, x[2].v, x[3].v); }

// The w by w block at p becomes the transpose of that at q, and the other way round; p may be q.
template <class E>
[[gnu::always_inline]] inline void exchange_block(E* p, E* q, vrn_int lda)
{
    constexpr int w = per_vec<E>;
    vec<real_of<E>> x[w], y[w];
    simd::unroll<w>([&](auto r) __attribute__((always_inline)) {
        x[r] = load(p + r * lda);
        y[r] = load(q + r * lda);
    });
    turn(x);
    turn(y);
    simd::unroll<w>([&](auto r) __attribute__((always_inline)) {
        store(x[r], q + r * lda);
        store(y[r], p + r * lda);
    });
}

// The w by w block at p becomes its own transpose.
template <class E>
[[gnu::always_inline]] inline void turn_block(E* p, vrn_int lda)
{
    constexpr int w = per_vec<E>;
    vec<real_of<E>> x[w];
    simd::unroll<w>([&](auto r) __attribute__((always_inline)) { x[r] = load(p + r * lda); });
    turn(x);
    simd::unroll<w>([&](auto r) __attribute__((always_inline)) { store(x[r], p + r * lda); });
}

// A tile on the diagonal.
template <class E>
[[gnu::flatten]] void turn_tile(E* p, vrn_int lda)
{
    constexpr int w = per_vec<E>, blocks = tile / w;
    simd::unroll<blocks>([&](auto r) __attribute__((always_inline)) {
        turn_block(p + r * w * (lda + 1), lda);
        simd::unroll<blocks - 1 - r>([&](auto more) __attribute__((always_inline)) {
            constexpr int c = r + 1 + more;
            exchange_block(p + r * w * lda + c * w, p + c * w * lda + r * w, lda);
        });
    });
}

// Tile (i, j) and its mirror, i and j in elements.
template <class E>
[[gnu::flatten]] void exchange_tiles(E* a, vrn_int lda, vrn_int i, vrn_int j)
{
    constexpr int w = per_vec<E>;
    if (i == j) return turn_tile(a + i * (lda + 1), lda);
    for (vrn_int r = 0; r < tile; r += w) {
        E *p = a + (i + r) * lda + j, *q = a + j * lda + i + r;
        simd::unroll<tile / w>([&](auto c) __attribute__((always_inline)) {
            exchange_block(p + c * w, q + c * w * lda, lda);
        });
    }
}

// Tiles (i, j) and (i + 8, j) and their mirrors, for an i in a band of 16 rows: two lines' worth of the mirrored
// rows at once, whose addresses are far apart.
template <class E>
void exchange_pair(E* a, vrn_int lda, vrn_int i, vrn_int j)
{
    // The mirrored rows of the next pair are not in any order that the processor foresees.
    for (vrn_int r = 0; r < tile; ++r)
        for (std::size_t b = 0; b < band_rows * sizeof(E); b += 64)
            simd::prefetch(reinterpret_cast<const char*>(a + (j + tile + r) * lda + i) + b);
    exchange_tiles(a, lda, i, j);
    exchange_tiles(a, lda, i + tile, j);
}

template <class E>
void exchange_elements(E* a, vrn_int lda, vrn_int i, vrn_int j)
{
    const E x = a[i * lda + j];
    a[i * lda + j] = a[j * lda + i];
    a[j * lda + i] = x;
}

// The band of 16 rows from i on: its own tiles, and all that lies to the right against its mirror.
template <class E>
void transpose_band(vrn_int n, E* a, vrn_int lda, vrn_int i)
{
    exchange_tiles(a, lda, i, i);
    exchange_tiles(a, lda, i, i + tile);
    exchange_tiles(a, lda, i + tile, i + tile);
    vrn_int j = i + 2 * tile;
    for (; j + tile <= n; j += tile) exchange_pair(a, lda, i, j);
    for (; j < n; ++j)
        for (vrn_int r = i; r < i + 2 * tile; ++r) exchange_elements(a, lda, r, j);
}

// Above this many bytes the walk goes by bands of 16 rows: the mirrored tiles are then fetched by whole lines and
// their neighbours.
inline constexpr vrn_int bands_from_bytes = 262144;

// What the tiled swap answers when neither n nor lda is a multiple of a tile.
inline constexpr std::int64_t refused = 6;

template <class E>
std::int64_t tiled_swap(vrn_int n, E* a, vrn_int lda)
{
    if (lda % tile != 0 && n % tile != 0) return refused;
    vrn_int done = 0;
    if (n * static_cast<vrn_int>(sizeof(E)) * n > bands_from_bytes)
        for (; done + 2 * tile <= n; done += 2 * tile) transpose_band(n, a, lda, done);
    // Row of tiles by row of tiles: the small matrices, and the corner that the bands leave.
    const vrn_int first = done;
    for (; done + tile <= n; done += tile)
        for (vrn_int j = first; j <= done; j += tile) exchange_tiles(a, lda, done, j);
    for (; done < n; ++done)
        for (vrn_int j = first; j < done; ++j) exchange_elements(a, lda, done, j);
    return 0;
}

// ---- the other forms ----

template <class E, class Op>
void transpose_pairs(vrn_int n, E* a, vrn_int lda, const Op& f)
{
    for (vrn_int i = 0; i < n; ++i)
        for (vrn_int j = 0; j <= i; ++j) {
            const E below = a[i * lda + j], above = a[j * lda + i];
            a[i * lda + j] = f(above);
            a[j * lda + i] = f(below);
        }
}

template <class E, class Op>
void follow_cycles(vrn_int rows, vrn_int cols, E* a, vrn_int lda, vrn_int ldb, const Op& f)
{
    // Row p / lda and column p % lda of the source become column and row of the result.
    const auto next = [lda, ldb](vrn_int p) { return p / lda + p % lda * ldb; };
    for (vrn_int i = 0; i < rows; ++i)
        for (vrn_int j = 0; j < cols; ++j) {
            const vrn_int p = i * lda + j;
            vrn_int m = next(p);
            while (m > p || m % lda >= cols) m = next(m);
            if (m != p) continue; // a smaller element leads this cycle
            E carried = a[p];
            bool carries = true;
            do {
                m = next(m);
                const bool inside = m / lda < rows && m % lda < cols;
                const E found = inside ? a[m] : E{};
                if (carries) a[m] = f(carried);
                carried = found;
                carries = inside; // offsets between the rows take a value and have none to hand on
            } while (m != p);
        }
}

template <class E, class Op>
void move_row(vrn_int n, const E* from, E* to, const Op& f)
{
    // All eight are read before the first is written; the direction does the rest.
    if (to <= from) {
        vrn_int j = 0;
        for (; j + 8 <= n; j += 8) {
            E x[8];
            simd::unroll<8>([&](auto u) { x[u] = f(from[j + u]); });
            simd::unroll<8>([&](auto u) { to[j + u] = x[u]; });
        }
        for (; j < n; ++j) to[j] = f(from[j]);
    } else {
        vrn_int j = n;
        for (; j >= 8; j -= 8) {
            E x[8];
            simd::unroll<8>([&](auto u) { x[u] = f(from[j - 1 - u]); });
            simd::unroll<8>([&](auto u) { to[j - 1 - u] = x[u]; });
        }
        while (--j >= 0) to[j] = f(from[j]);
    }
}

template <class E, class Op>
void restride(vrn_int rows, vrn_int cols, E* a, vrn_int lda, vrn_int ldb, const Op& f)
{
    if (lda >= ldb)
        for (vrn_int i = 0; i < rows; ++i) move_row(cols, a + i * lda, a + i * ldb, f);
    else
        for (vrn_int i = rows; --i >= 0;) move_row(cols, a + i * lda, a + i * ldb, f);
}

} // namespace vrn::trans
