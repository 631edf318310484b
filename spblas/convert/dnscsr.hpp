// spblas/convert/dnscsr.hpp - a dense m by n matrix and CSR.
//
//     job[0]  0 dense to CSR, 1 CSR to dense, else nothing is done
//     job[1]  base of the dense side: 0 by rows, else by columns
//     job[2]  base of the CSR arrays
//     job[3]  0 lower triangle, 1 upper triangle, both with the diagonal, 2 all
//     job[4]  capacity of acsr and ja
//     job[5]  to CSR: 0 ia alone
//     info    to CSR: the row that does not fit, zero-based, so 0 for the first as for success; to dense: the row,
//             one-based, that names a column at or beyond n. Both stop there
//
// To dense, job[3] says what is cleared; entries go to their places wherever these are. Nothing is allocated. Called
// by name through the generated exports.
#pragma once

#include "spblas/convert/services.hpp"

namespace vrn::spblas::convert {

// Columns of row i that a selection takes.
template <class I>
struct selection {
    I which, n;
    I from(I i) const { return which == 1 ? (i < n ? i : n) : 0; }
    I to(I i) const { return which == 0 ? (i + 1 < n ? i + 1 : n) : n; }
};

// Dense to CSR as far as it has come: `count` entries are in.
template <class T, class I>
struct rows_taken {
    const I* job;
    selection<I> part;
    const T* adns;
    std::ptrdiff_t row_step, col_step;
    T* acsr;
    I *ja, *ia;
    I count = 0;

    // Rows from..to-1 one after the other. The row that does not fit, or -1.
    I one_by_one(I from, I to)
    {
        const I base = job[2], capacity = job[4];
        const bool stores = job[5] != 0;
        for (I i = from; i < to; ++i) {
            const T* row = adns + i * row_step;
            for (I j = part.from(i), end = part.to(i); j < end; ++j) {
                const T value = row[j * col_step];
                if (value == T{}) continue;
                if (stores) {
                    if (count >= capacity) return i;
                    acsr[count] = value, ja[count] = j + base;
                }
                ++count;
            }
            ia[i + 1] = count + base;
        }
        return -1;
    }
    // A few rows of a matrix by columns at once, so that each of its lines is read twice and not once a row: first
    // counted, then stored.
    static constexpr I together = 16; // two lines of the cache for a double
    I by_columns(I from, I to)
    {
        const I base = job[2], first = part.from(from), end = part.to(to - 1), rows = to - from;
        I next[together]{};
        // f(r, j, element) for the rows of each column that the selection takes.
        auto over = [&](auto&& f) {
            for (I j = first; j < end; ++j) {
                const T* column = adns + from + j * col_step;
                const I above = part.which == 0 ? j - from : 0, below = part.which == 1 ? j - from + 1 : rows;
                const I r0 = above > 0 ? above : 0, r1 = below < rows ? below : rows;
                if (r1 - r0 == together)
                    simd::unroll<together>([&](auto r) __attribute__((always_inline)) { f(r, j, column[r]); });
                else
                    for (I r = r0; r < r1; ++r) f(r, j, column[r]);
            }
        };
        over([&](I r, I, T value) { next[r] += !(value == T{}); });
        I total = count;
        for (I r = 0; r < rows; ++r) total += next[r];
        if (job[5] != 0 && total > job[4]) return one_by_one(from, to);
        for (I r = 0; r < rows; ++r) {
            const I size = next[r];
            next[r] = count, count += size;
            ia[from + r + 1] = count + base;
        }
        if (job[5] != 0)
            over([&](I r, I j, T value) {
                if (!(value == T{})) acsr[next[r]] = value, ja[next[r]++] = j + base;
            });
        return -1;
    }
};

template <class T, class I>
void dns_to_csr(I m, rows_taken<T, I> rows, I* info)
{
    rows.ia[0] = rows.job[2];
    I failed = -1;
    if (rows.col_step == 1) failed = rows.one_by_one(0, m);
    else
        for (I i = 0; i < m && failed < 0; i += rows.together)
            failed = rows.by_columns(i, m - i < rows.together ? m : i + rows.together);
    if (failed >= 0) *info = failed;
}

template <class T, class I>
void csr_to_dns(const I* job, I m, selection<I> part, T* adns, std::ptrdiff_t row_step, std::ptrdiff_t col_step,
                const T* acsr, const I* ja, const I* ia, I* info)
{
    if (col_step == 1)
        for (I i = 0; i < m; ++i) clear(adns + i * row_step + part.from(i), part.to(i) - part.from(i));
    else
        // By columns the lower triangle is what the upper one is by rows.
        for (I j = 0; j < part.n; ++j) {
            const selection<I> down{part.which == 2 ? 2 : 1 - part.which, m};
            clear(adns + j * col_step + down.from(j), down.to(j) - down.from(j));
        }
    for (I i = 0; i < m; ++i)
        for (I k = ia[i] - ia[0], end = ia[i + 1] - ia[0]; k < end; ++k) {
            const I j = ja[k] - job[2];
            if (j >= part.n) return void(*info = i + 1);
            adns[i * row_step + j * col_step] = acsr[k];
        }
}

template <class T, class I>
void dnscsr(const I* job, const I* m, const I* n, T* adns, const I* lda, T* acsr, I* ja, I* ia, I* info)
{
    const std::ptrdiff_t ld = *lda, row_step = job[1] == 0 ? ld : 1, col_step = job[1] == 0 ? 1 : ld;
    const selection<I> part{job[3], *n};
    *info = 0;
    if (job[0] == 0) dns_to_csr(*m, rows_taken<T, I>{job, part, adns, row_step, col_step, acsr, ja, ia}, info);
    else if (job[0] == 1) csr_to_dns(job, *m, part, adns, row_step, col_step, acsr, ja, ia, info);
}

} // namespace vrn::spblas::convert
