// spblas/convert/csrsky.hpp - one triangle of a CSR matrix and its skyline.
//
//     job[0]  0 CSR to skyline, else back
//     job[1], job[2]  base of the CSR arrays and of pntr
//     job[3]  0 lower triangle, a run a row from the first stored column to the diagonal; 1 upper triangle, a run a
//             column from the first stored row to the diagonal
//     job[4]  capacity of asky
//     job[5]  not 0: pointers of the target alone
//     info    1 the capacity does not suffice, else 0
//
// Every run ends with the diagonal's place, stored or not. Zeros in a run are gaps of the pattern and do not go back.
// The pointers serve as counters; nothing is allocated. Called by name through the generated exports.
#pragma once

#include "spblas/convert/services.hpp"
#include "spblas/convert/starts.hpp"

namespace vrn::spblas::convert {

// f(line, neighbour, k) for the entries of the triangle, neighbour at most line.
template <class I, class F>
[[gnu::always_inline]] inline void over_triangle(bool lower, I m, const I* ja, const I* ia, I base, F&& f)
{
    for (I i = 0; i < m; ++i)
        for (I k = ia[i] - ia[0], end = ia[i + 1] - ia[0]; k < end; ++k) {
            const I j = ja[k] - base;
            if (lower ? j <= i : j >= i) f(lower ? i : j, lower ? j : i, k);
        }
}

template <class T, class I>
void csr_to_sky(const I* job, I m, const T* acsr, const I* ja, const I* ia, T* asky, I* pntr, I* info)
{
    const bool lower = job[3] == 0;
    pntr[0] = job[2];
    for (I i = 1; i <= m; ++i) pntr[i] = 1;
    over_triangle(lower, m, ja, ia, job[1], [&](I line, I neighbour, I) {
        if (line - neighbour + 1 > pntr[line + 1]) pntr[line + 1] = line - neighbour + 1;
    });
    for (I i = 0; i < m; ++i) pntr[i + 1] += pntr[i];
    const I total = pntr[m] - pntr[0];
    if (job[5] != 0) return;
    if (total > job[4]) return void(*info = 1);
    clear(asky, total);
    // A line's last element is the diagonal.
    over_triangle(lower, m, ja, ia, job[1], [&](I line, I neighbour, I k) {
        asky[pntr[line + 1] - pntr[0] - 1 - (line - neighbour)] = acsr[k];
    });
}

template <class T, class I>
void sky_to_csr(const I* job, I m, T* acsr, I* ja, I* ia, const T* asky, const I* pntr)
{
    const bool lower = job[3] == 0;
    auto over = [&](auto&& f) {
        for (I i = 0; i < m; ++i)
            for (I k = pntr[i] - pntr[0], end = pntr[i + 1] - pntr[0]; k < end; ++k) {
                const I neighbour = i - (end - 1 - k);
                if (!(asky[k] == T{})) f(lower ? i : neighbour, lower ? neighbour : i, k);
            }
    };
    starts<I> at(ia, m, job[1]);
    over([&](I row, I, I) { at.count(row); });
    at.sum();
    if (job[5] != 0) return;
    over([&](I row, I col, I k) {
        const I to = at.next(row);
        acsr[to] = asky[k], ja[to] = col + job[1];
    });
    at.rewind();
}

template <class T, class I>
void csrsky(const I* job, const I* m, T* acsr, I* ja, I* ia, T* asky, I* pntr, I* info)
{
    *info = 0;
    if (job[0] == 0) csr_to_sky(job, *m, acsr, ja, ia, asky, pntr, info);
    else sky_to_csr(job, *m, acsr, ja, ia, asky, pntr);
}

} // namespace vrn::spblas::convert
