// spblas/product/multiply.hpp - C := A*B and C := transpose(A)*B of sparse matrices, one-based CSR.
//
// Row by row with a marker a column of B (Gustavson 1978): the rows of B that a row of A names are walked, a column
// met first is filed, one met again is added to. Rows of C so stand in the order of first touch.
//
//     mcsr_notr     C := A*B on a range of rows
//     multcsr_tr    transpose(A)*B: rows of A are linked by their next column, in memory of the order of A
//     multcsr_trom  transpose(A)*B over a transposed copy of A, rows of C sorted
//
// request 1 counts, 0 does all up to a capacity, any other fills rows whose places are known. Each allocates its
// markers; info is -1 where that is refused. Called by name through the generated exports.
#pragma once

#include "frame/services.hpp"
#include "spblas/convert/csrcsc.hpp"
#include "spblas/convert/services.hpp"

namespace vrn::spblas::product {

enum class wanted { count, bounded, filled };

// An integer array from the host, or null.
template <class I>
I* integers(std::ptrdiff_t count)
{
    return static_cast<I*>(vrn_serv_allocate(static_cast<std::uint64_t>(count) * sizeof(I), 128));
}

// A row of C that is being made: c[p] and jc[p], p from `begin` on.
template <class T, class I>
struct growing_row {
    I* marker; // of column j one-based: one more than its p, or 0
    T* c;
    I* jc;
    std::ptrdiff_t begin, p, limit; // as many entries as there are places

    // The entries from k to end of B, times v. False where a new entry has no place.
    template <bool Bounded>
    [[gnu::always_inline]] bool add(T v, const T* b, const I* jb, std::ptrdiff_t k, std::ptrdiff_t end)
    {
        for (; k < end; ++k) {
            const I j = jb[k];
            const T w = b[k] * v;
            const std::ptrdiff_t at = marker[j];
            if (at == 0) {
                if (Bounded && p >= limit) return false;
                jc[p] = j, c[p] = w;
                marker[j] = static_cast<I>(++p);
            } else c[at - 1] = c[at - 1] + w;
        }
        return true;
    }
    void close()
    {
        std::ptrdiff_t q = begin;
        for (; q + 1 < p; q += 2) marker[jc[q]] = 0, marker[jc[q + 1]] = 0;
        if (q < p) marker[jc[q]] = 0;
    }
};

// How many of the columns from k to end are new to row `stamp`, one-based, which then has them. A column's mark is
// the last row that named it, so that nothing has to be listed and cleared, and the count steps without a branch:
// half the time of a list on short rows.
template <class I>
[[gnu::always_inline]] inline I new_columns(const I* jb, std::ptrdiff_t k, std::ptrdiff_t end, I* mark, I stamp)
{
    I count = 0;
    for (; k < end; ++k) {
        const I j = jb[k];
        count += mark[j] != stamp;
        mark[j] = stamp;
    }
    return count;
}

// Entries of each row, without making them.
template <class I>
bool count_rows(I first, I last, I n, const I* ja, const I* ia, const I* jb, const I* ib, I* ic)
{
    I* const mark = integers<I>(n);
    if (mark == nullptr) return false;
    convert::clear(mark, n);
    for (std::ptrdiff_t i = first - std::ptrdiff_t{1}; i < last; ++i) {
        I count = 0;
        for (std::ptrdiff_t k = ia[i] - 1, end = ia[i + 1] - 1; k < end; ++k)
            count += new_columns(jb, ib[ja[k] - 1] - 1, ib[ja[k]] - 1, mark - 1, static_cast<I>(i + 1));
        ic[i] = count;
    }
    vrn_serv_deallocate(mark);
    return true;
}

template <bool Bounded, class T, class I>
I fill_rows(I first, I last, I n, I limit, const T* a, const I* ja, const I* ia, const T* b, const I* jb, const I* ib,
            T* c, I* jc, I* ic)
{
    I* const marker = integers<I>(n);
    if (marker == nullptr) return -1;
    convert::clear(marker, n);
    I info = 0;
    for (std::ptrdiff_t i = first - std::ptrdiff_t{1}; i < last && info == 0; ++i) {
        growing_row<T, I> row{marker - 1, c, jc, ic[i] - 1, ic[i] - 1, limit};
        for (std::ptrdiff_t k = ia[i] - 1, end = ia[i + 1] - 1; k < end; ++k) {
            const std::ptrdiff_t r = ja[k];
            if (k + 1 < end) {
                // Rows of B come from anywhere: the next one is on its way while this one is added.
                const std::ptrdiff_t next = ib[ja[k + 1] - 1] - 1;
                simd::prefetch(jb + next);
                simd::prefetch(b + next);
            }
            if (!row.template add<Bounded>(a[k], b, jb, ib[r - 1] - 1, ib[r] - 1)) {
                info = static_cast<I>(i + 1);
                break;
            }
        }
        row.close();
        if (Bounded && info == 0) ic[i + 1] = static_cast<I>(row.p + 1);
    }
    vrn_serv_deallocate(marker);
    return info;
}

template <class I>
inline constexpr I no_limit = sizeof(I) == 8 ? static_cast<I>(INT64_MAX) : static_cast<I>(INT32_MAX);

template <class T, class I>
void mcsr_notr(const I* first, const I* last, const I* n, const I* request, const void* /*unread*/, const T* a,
               const I* ja, const I* ia, const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax,
               const I* start, const void* /*unread2*/, I* info)
{
    if (*request == 1) *info = count_rows(*first, *last, *n, ja, ia, jb, ib, ic) ? 0 : -1;
    else if (*request == 0) {
        ic[0] = *start + 1;
        *info = fill_rows<true>(*first, *last, *n, nzmax == nullptr ? no_limit<I> : *nzmax, a, ja, ia, b, jb, ib, c,
                                jc, ic);
    } else *info = fill_rows<false>(*first, *last, *n, no_limit<I>, a, ja, ia, b, jb, ib, c, jc, ic);
}

// The entries of a column of A: rows whose next entry lies there are linked, head[column] to next[row], and `place`
// is where a row has come to. Rows of A are in order, so that each row is visited column by column.
template <class I>
struct linked_columns {
    I *head, *next, *place;
    const I *ja, *ia;

    linked_columns(I* memory, I m, I n, const I* columns, const I* starts)
        : head(memory), next(memory + n), place(next + m), ja(columns), ia(starts)
    {
        for (I j = 0; j < n; ++j) head[j] = 0;
        // From the last row, so that each list is in order.
        for (I r = m; r > 0; --r) {
            place[r - 1] = ia[r - 1] - 1;
            link(r);
        }
    }
    void link(I r)
    {
        if (place[r - 1] >= ia[r] - 1) return;
        I& list = head[ja[place[r - 1]] - 1];
        next[r - 1] = list;
        list = r;
    }
    // f(row, place) for the entries of column j, zero-based, which are used up by this.
    template <class F>
    void over(I j, F&& f)
    {
        for (I r = head[j]; r != 0;) {
            const I following = next[r - 1];
            for (; place[r - 1] < ia[r] - 1 && ja[place[r - 1]] == j + 1; ++place[r - 1]) f(r, place[r - 1]);
            link(r);
            r = following;
        }
    }
    static std::ptrdiff_t size(I m, I n) { return 2 * std::ptrdiff_t{m} + n; }
};

template <wanted Wanted, class T, class I>
I multiply_linked(I m, I n, I k, const T* a, const I* ja, const I* ia, const T* b, const I* jb, const I* ib, T* c,
                  I* jc, I* ic, I limit)
{
    const std::ptrdiff_t links = linked_columns<I>::size(m, n);
    I* const memory = integers<I>(links + k);
    if (memory == nullptr) return -1;
    linked_columns<I> columns(memory, m, n, ja, ia);
    I* const marker = memory + links;
    convert::clear(marker, k);
    I info = 0;
    if (Wanted == wanted::bounded) ic[0] = 1;
    for (I j = 0; j < n && info == 0; ++j) {
        if constexpr (Wanted == wanted::count) {
            I count = 0;
            columns.over(j,
                         [&](I r, I) { count += new_columns<I>(jb, ib[r - 1] - 1, ib[r] - 1, marker - 1, j + 1); });
            ic[j] = count;
        } else {
            growing_row<T, I> row{marker - 1, c, jc, ic[j] - 1, ic[j] - 1, limit};
            columns.over(j, [&](I r, I place) {
                if (info == 0 &&
                    !row.template add<Wanted == wanted::bounded>(a[place], b, jb, ib[r - 1] - 1, ib[r] - 1))
                    info = j + 1;
            });
            row.close();
            if (Wanted == wanted::bounded && info == 0) ic[j + 1] = static_cast<I>(row.p + 1);
        }
    }
    vrn_serv_deallocate(memory);
    return info;
}

template <class T, class I>
void multcsr_tr(const I* m, const I* n, const I* k, const I* request, const I* sort, T* a, I* ja, const I* ia,
                const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info)
{
    const I one = 1;
    if (*sort == 1 || *sort == 3) convert::sortrow(&one, m, ia, ja, a);
    if (*request == 1) *info = multiply_linked<wanted::count, T, I>(*m, *n, *k, a, ja, ia, b, jb, ib, c, jc, ic, 0);
    else if (*request == 0)
        *info = multiply_linked<wanted::bounded>(*m, *n, *k, a, ja, ia, b, jb, ib, c, jc, ic,
                                                 nzmax == nullptr ? no_limit<I> : *nzmax);
    else *info = multiply_linked<wanted::filled>(*m, *n, *k, a, ja, ia, b, jb, ib, c, jc, ic, no_limit<I>);
}

// A with m rows and n columns, transposed into fresh memory: pointers and columns, and values where they are wanted.
template <class T, class I>
struct transposed_copy {
    I *ia, *ja = nullptr;
    T* a = nullptr;
    bool whole = false;

    transposed_copy(I m, I n, const T* values, const I* columns, const I* starts, bool with_values)
        : ia(integers<I>(std::ptrdiff_t{n} + 1))
    {
        const std::ptrdiff_t entries = starts[m] - starts[0];
        if (ia != nullptr) ja = integers<I>(entries);
        if (ja != nullptr && with_values)
            a = static_cast<T*>(vrn_serv_allocate(static_cast<std::uint64_t>(entries) * sizeof(T), 128));
        whole = ja != nullptr && (a != nullptr || !with_values);
        if (!whole) return;
        if (with_values) convert::transpose<true>(m, n, I{1}, I{1}, values, columns, starts, a, ja, ia);
        else convert::transpose<false>(m, n, I{1}, I{1}, values, columns, starts, a, ja, ia);
    }
    ~transposed_copy()
    {
        vrn_serv_deallocate(a);
        vrn_serv_deallocate(ja);
        vrn_serv_deallocate(ia);
    }
};

// Pieces of a bounded product: from this many rows of C and pieces on. Each has a marker array of its own, which is
// fresh in the caches, and the next begins where the last one ended.
inline constexpr int rows_for_pieces = 8000, least_pieces = 4;

template <class T, class I>
void multcsr_trom(const I* m, const I* n, const I* k, const I* request, const I* parts, const T* a, const I* ja,
                  const I* ia, const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info)
{
    const transposed_copy<T, I> t(*m, *n, a, ja, ia, *request != 1);
    if (!t.whole) return void(*info = -1);
    const I one = 1;
    const bool pieces = *request == 0 && *n > rows_for_pieces && *parts >= least_pieces;
    const I count = pieces ? *parts : 1;
    I start = 0;
    *info = 0;
    for (I piece = 0; piece < count && *info == 0; ++piece) {
        const I from = static_cast<I>(std::ptrdiff_t{*n} * piece / count);
        const I rows = static_cast<I>(std::ptrdiff_t{*n} * (piece + 1) / count) - from;
        mcsr_notr(&one, &rows, k, request, nullptr, t.a, t.ja, t.ia + from, b, jb, ib, c, jc, ic + from, nzmax,
                  &start, nullptr, info);
        if (*info > 0) *info += from;
        if (*info == 0 && *request == 0) start = ic[from + rows] - 1;
    }
    if (*info == 0 && *request != 1) convert::sortrow(&one, n, ic, jc, c);
}

} // namespace vrn::spblas::product
