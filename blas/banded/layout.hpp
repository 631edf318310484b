// blas/banded/layout.hpp - where the columns of a triangle lie, in band and in packed storage.
//
// column(j)[i] is element (i, j) for the rows that the storage holds; the pointer itself never leaves the array. A
// group of N columns from j0 on has rows that all of them reach, off its own N rows (`common`), and for each column a
// few more: near the diagonal, and at the band's edge (`each_near_row`).
//
//     upper, columns j0 and j0+1 of a band:    e .   edge: the first column alone
//                                              c c   common
//                                              c c
//                                              d n   diagonal, near
//                                              . d   diagonal
#pragma once

#include "blas/banded/columns.hpp"

namespace vrn::blas::banded {

template <class E, bool Upper>
struct band_triangle {
    static constexpr bool upper = Upper, packed = false;
    const E* a;
    vrn_int n, lda, k;
    const E* column(vrn_int j) const { return a + (j * lda + (Upper ? k - j : -j)); }
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
    vrn_int top(vrn_int) const { return 0; }
    vrn_int end(vrn_int) const { return n; }
};

template <int N, class T>
[[gnu::always_inline]] inline auto columns_of(const T& a, vrn_int j0)
{
    columns<N, std::remove_cvref_t<decltype(*a.a)>> c;
    unroll<N>([&](auto i) __attribute__((always_inline)) { c.at[i] = a.column(j0 + i); });
    return c;
}

template <int N, class T>
[[gnu::always_inline]] inline span common(const T& a, vrn_int j0)
{
    if constexpr (T::upper) {
        const vrn_int top = a.top(j0 + N - 1);
        return {top < j0 ? top : j0, j0};
    } else {
        const vrn_int end = a.end(j0), below = j0 + N;
        return {below, end > below ? end : below};
    }
}

// body(i) for the stored rows of column j that `all` leaves out, but for the diagonal.
template <int N, class T, class Body>
[[gnu::always_inline]] inline void each_near_row(const T& a, vrn_int j0, vrn_int j, span all, Body body)
{
    if constexpr (T::upper) {
        const vrn_int top = a.top(j);
        if constexpr (!T::packed)
            for (vrn_int i = top; i < all.first; ++i) body(i);
        for (vrn_int i = !T::packed && top > j0 ? top : j0; i < j; ++i) body(i);
    } else {
        const vrn_int end = a.end(j), below = j0 + N;
        for (vrn_int i = j + 1; i < (!T::packed && end < below ? end : below); ++i) body(i);
        if constexpr (!T::packed)
            for (vrn_int i = all.last; i < end; ++i) body(i);
    }
}

} // namespace vrn::blas::banded
