// blas/banded/layout.hpp - where the columns of a triangle lie, in band and in packed storage.
//
// column(j)[i] is element (i, j) for the rows that the storage holds; the pointer itself never leaves the array. A
// group of N columns, no wider than the band, has three kinds of rows off the diagonal:
//
//     upper, two columns of a band:    e .   edge: not all columns reach it (none where the storage is packed)
//                                      c c   common to all columns
//                                      c c
//                                      d i   inner: between the group's own columns
//                                      . d
#pragma once

#include "blas/banded/columns.hpp"

namespace vrn::blas::banded {

template <class E, bool Upper>
struct band_triangle {
    static constexpr bool upper = Upper, packed = false;
    const E* a;
    vrn_int n, lda, k;
    const E* column(vrn_int j) const { return a + (j * lda + (Upper ? k - j : -j)); }
    vrn_int band() const { return k; }
    vrn_int elements() const { return n * (k + 1); }
    // Rows above j go from here, rows below j end here.
    vrn_int top(vrn_int j) const { return j > k ? j - k : 0; }
    vrn_int end(vrn_int j) const { return j + k + 1 < n ? j + k + 1 : n; }
};

// From the first element of a packed triangle to the (perhaps absent) element (0, j).
template <bool Upper>
vrn_int packed_column(vrn_int n, vrn_int j)
{
    return Upper ? j * (j + 1) / 2 : j * (2 * n - j - 1) / 2;
}

template <class E, bool Upper>
struct packed_triangle {
    static constexpr bool upper = Upper, packed = true;
    const E* a;
    vrn_int n;
    const E* column(vrn_int j) const { return a + packed_column<Upper>(n, j); }
    vrn_int band() const { return n; }
    vrn_int elements() const { return n * (n + 1) / 2; }
    vrn_int top(vrn_int) const { return 0; }
    vrn_int end(vrn_int) const { return n; }
};

// Columns j0 .. j0+N-1 in the order in which they are walked.
template <bool Ascending, int N, class T>
struct group {
    using E = std::remove_cvref_t<decltype(*T::a)>;
    static constexpr int place(int c) { return Ascending ? c : N - 1 - c; } // of the c-th in the walk

    T a;
    vrn_int j0;
    columns<N, E> at;
    span common;

    [[gnu::always_inline]] group(const T& matrix, vrn_int first) : a(matrix), j0(first)
    {
        unroll<N>([&](auto c) __attribute__((always_inline)) { at.at[c] = a.column(j0 + place(c)); });
        common = T::upper ? span{a.top(j0 + N - 1), j0} : span{j0 + N, a.end(j0)};
        // Past the last column's first row there may be none.
        if constexpr (!T::upper)
            if (common.last < common.first) common.last = common.first;
    }
    vrn_int ahead() const { return fetch_distance<Ascending, E>(a.elements()); }
    [[gnu::always_inline]] vrn_int column(int c) const { return j0 + place(c); }
    [[gnu::always_inline]] E inner(int row, int c) const { return at.at[c][column(row)]; }
    [[gnu::always_inline]] E diagonal(int c) const { return inner(c, c); }

    // body(c, row) for the stored elements between the group's columns: row and c by their places in the walk.
    template <class Body>
    [[gnu::always_inline]] static void each_inner(Body body)
    {
        unroll<N>([&](auto c) __attribute__((always_inline)) {
            unroll<N>([&](auto row) __attribute__((always_inline)) {
                if constexpr (T::upper ? place(row) < place(c) : place(row) > place(c)) body(c, row);
            });
        });
    }
    // The rows at the edge of the band, for columns.hpp.
    [[gnu::always_inline]] auto edges() const
    {
        return [&g = *this](auto body) __attribute__((always_inline))
        {
            (void)g; // packed columns have none
            if constexpr (!T::packed)
                unroll<N>([&](auto c) __attribute__((always_inline)) {
                    constexpr int most = T::upper ? N - 1 - place(c) : place(c);
                    const vrn_int first = T::upper ? g.a.top(g.column(c)) : g.common.last;
                    const vrn_int last = T::upper ? g.common.first : g.a.end(g.column(c));
                    unroll<most>([&](auto r) __attribute__((always_inline)) {
                        if (first + r < last) body(c, first + r);
                    });
                });
        };
    }
};

// Bands narrower than this are walked column by column.
template <int Group>
inline constexpr vrn_int least_band = Group - 1;

} // namespace vrn::blas::banded
