// trans/transpose.hpp - b[j][i] := alpha op(a[i][j]) for a row-major a of rows by cols.
//
// Three paths. Plain transposition with unit strides goes by bands of rows (tiles.hpp): a column of the band is
// gathered from its rows, two doubles a register, and lies contiguous in b. Everything else halves the larger side
// until 4 by 4 is left, which suits every cache (Frigo, Leiserson, Prokop and Ramachandran 1999); with or without a
// product, with or without conjugation.
#pragma once

#include "trans/element.hpp"
#include "trans/tiles.hpp"

namespace vrn::trans {

// ---- by bands ----

// `height` rows of one column. Steps of eight rows, then as many as a register holds, then one.
template <bool Stream, class E>
[[gnu::always_inline]] inline void gather_column(const E* a, vrn_int lda, E* b, vrn_int height)
{
    constexpr int w = per_vec<E>;
    vrn_int i = 0;
    for (; i + 8 <= height; i += 8)
        simd::unroll<8 / w>([&](auto g) __attribute__((always_inline)) {
            store<Stream>(load_rows(a + (i + g * w) * lda, static_cast<std::uint64_t>(lda)), b + i + g * w);
        });
    if constexpr (!Stream)
        for (; i + w <= height; i += w) store(load_rows(a + i * lda, static_cast<std::uint64_t>(lda)), b + i);
    for (; i < height; ++i) b[i] = a[i * lda];
}

// Elements from p up to the next line.
template <class E>
vrn_int to_line(const E* p)
{
    return static_cast<vrn_int>((-reinterpret_cast<std::uintptr_t>(p) & (line_bytes - 1)) / sizeof(E));
}

// Rows first to last of a band. A streamed band is moved, for each column apart, so that it begins and ends at a
// line of b: a line that is not written in one go would cost two trips to memory.
template <bool Stream, class E>
void band(vrn_int first, vrn_int last, vrn_int rows, vrn_int cols, const E* a, vrn_int lda, E* b, vrn_int ldb)
{
    // No prefetching: asking for each row 128 bytes ahead was measured at half the speed where a is in the
    // second-level cache (doubles, n = 100), and at 0.4 to 0.9 of it in memory (n = 2048 and 4000).
    for (vrn_int j = 0; j < cols; ++j, b += ldb) {
        if constexpr (Stream) {
            vrn_int from = first + to_line(b + first), to = last < rows ? last + to_line(b + last) : rows;
            if (to > rows) to = rows;
            if (first == 0) {
                if (from > to) from = to;
                gather_column<false>(a + j, lda, b, from);
            }
            if (from < to) gather_column<true>(a + j + from * lda, lda, b + from, to - from);
        } else {
            gather_column<false>(a + j + first * lda, lda, b + first, last - first);
        }
    }
}

// A band of exactly 8 rows, straight-line for each column.
template <class E>
void band_of_8(vrn_int cols, const E* a, vrn_int lda, E* b, vrn_int ldb)
{
    for (const E* end = a + cols; a != end; ++a, b += ldb) gather_column<false>(a, lda, b, 8);
}

template <class E>
void transpose_by_bands(vrn_int rows, vrn_int cols, const E* a, vrn_int lda, E* b, vrn_int ldb)
{
    if (rows == 1) {
        for (vrn_int j = 0; j < cols; ++j) b[j * ldb] = a[j];
        return;
    }
    if (cols == 1) {
        for (vrn_int i = 0; i < rows; ++i) b[i] = a[i * lda];
        return;
    }
    const auto bytes = static_cast<std::uint64_t>(ldb) * sizeof(E);
    // No band is lower than 8 rows: the smallest matrices are spared the rule's divisions.
    const vrn_int height =
        rows <= 8 ? rows : static_cast<vrn_int>(band_height(static_cast<std::uint64_t>(lda) * sizeof(E), bytes));
    const bool whole_elements = reinterpret_cast<std::uintptr_t>(b) % sizeof(E) == 0;
    const bool stream = whole_elements && static_cast<std::uint64_t>(cols) * bytes > streamed_from_bytes;
    for (vrn_int i = 0; i < rows; i += height) {
        const vrn_int end = i + height < rows ? i + height : rows;
        if (!stream && end - i == 8) band_of_8(cols, a + i * lda, lda, b + i, ldb);
        else (stream ? band<true, E> : band<false, E>)(i, end, rows, cols, a, lda, b, ldb);
    }
    if (stream) simd::fence();
}

// ---- by halves ----

template <class E>
struct strided {
    E* p;
    vrn_int ld, inc; // from row to row, from column to column

    E& operator()(vrn_int i, vrn_int j) const { return p[i * ld + j * inc]; }
    strided from(vrn_int i, vrn_int j) const { return {&(*this)(i, j), ld, inc}; }
};

template <class E, class Op>
void transpose_by_halves(vrn_int rows, vrn_int cols, strided<const E> a, strided<E> b, const Op& f)
{
    while (rows > 4 || cols > 4) {
        if (rows > cols) {
            const vrn_int half = rows / 2;
            transpose_by_halves(half, cols, a, b, f);
            a = a.from(half, 0), b = b.from(0, half);
            rows -= half;
        } else {
            const vrn_int half = cols / 2;
            transpose_by_halves(rows, half, a, b, f);
            a = a.from(0, half), b = b.from(half, 0);
            cols -= half;
        }
    }
    for (vrn_int i = 0; i < rows; ++i) {
        vrn_int j = 0;
        for (; j + 2 <= cols; j += 2) {
            const E x = f(a(i, j)), y = f(a(i, j + 1));
            b(j, i) = x;
            b(j + 1, i) = y;
        }
        if (j < cols) b(j, i) = f(a(i, j));
    }
}

// ---- the choice ----

template <bool Conj, class E>
[[gnu::always_inline]] inline void transpose(vrn_int rows, vrn_int cols, E alpha, strided<const E> a, strided<E> b)
{
    if constexpr (!Conj)
        if (alpha == simd::unity<E>) {
            if (a.inc == 1 && b.inc == 1 && a.ld != 0) return transpose_by_bands(rows, cols, a.p, a.ld, b.p, b.ld);
            return transpose_by_halves(rows, cols, a, b, moved<E>());
        }
    transpose_by_halves(rows, cols, a, b, scaled<Conj, E>(alpha));
}

} // namespace vrn::trans
