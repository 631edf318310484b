// spblas/convert/csrbsr.hpp - CSR and BSR, square matrices; block k begins at absr[k*lval].
//
//     job[0]  0 CSR to BSR, m in rows, the last block row filled up; else back, m in block rows, without zeros
//     job[1], job[2]  base of the CSR and of the BSR arrays; elements of a block by rows for base 0, else by columns
//     job[5]  above 0 all arrays of the target, 0 its pattern, -1 its row pointers alone
//     info    1 lb below 1, 2 lval below lb*lb, -1 where memory was refused, else 0
//
// To BSR, a first pass over a block row marks the block columns met, which are put in order and get their positions;
// a second one stores the elements. CSR rows need no order, and block rows come out sorted. Allocates a mark for each
// block column, and as many again for a list of those met where there is no jab to hold it. Called by name through
// the generated exports, and by the host under its own name.
#pragma once

#include "frame/services.hpp"
#include "spblas/convert/services.hpp"

namespace vrn::spblas::convert {

template <class I>
void insertion_sort(I* ja, std::ptrdiff_t size)
{
    for (std::ptrdiff_t k = 1; k < size; ++k) {
        const I col = ja[k];
        std::ptrdiff_t to = k;
        for (; to > 0 && ja[to - 1] > col; --to) ja[to] = ja[to - 1];
        ja[to] = col;
    }
}

template <class T, class I>
void csr_to_bsr(const I* job, I m, I lb, I lval, const T* acsr, const I* ja, const I* ia, T* absr, I* jab, I* iab,
                I* info)
{
    const I base = job[2], mb = m > 0 ? (m - 1) / lb + 1 : 0;
    const bool lists = job[5] >= 0, fills = job[5] > 0;
    const std::uint64_t bytes = static_cast<std::uint64_t>(mb) * 8;
    auto* const mark = static_cast<std::int64_t*>(vrn_serv_allocate(lists ? bytes : 2 * bytes, 128));
    if (mark == nullptr) return void(*info = -1);
    for (I j = 0; j < mb; ++j) mark[j] = 0;
    const std::ptrdiff_t row_step = base == 0 ? lb : 1, col_step = base == 0 ? 1 : lb;
    std::ptrdiff_t blocks = 0;
    iab[0] = base;
    for (I i = 0; i < mb; ++i) {
        I* const met = lists ? jab + blocks : reinterpret_cast<I*>(mark + mb);
        const I from = i * lb, to = m - from < lb ? m : from + lb;
        I count = 0;
        for (I k = ia[from] - ia[0], end = ia[to] - ia[0]; k < end; ++k) {
            const I j = (ja[k] - job[1]) / lb;
            if (mark[j] == 0) mark[j] = 1, met[count++] = j;
        }
        if (lists) insertion_sort(met, count);
        if (fills) {
            clear(absr + blocks * lval, std::ptrdiff_t{count} * lval);
            for (I q = 0; q < count; ++q) mark[met[q]] = blocks + q;
            for (I row = from; row < to; ++row)
                for (I k = ia[row] - ia[0], end = ia[row + 1] - ia[0]; k < end; ++k) {
                    const I col = ja[k] - job[1], j = col / lb;
                    absr[mark[j] * lval + (row - from) * row_step + (col - j * lb) * col_step] = acsr[k];
                }
        }
        for (I q = 0; q < count; ++q) {
            mark[met[q]] = 0;
            if (lists) met[q] += base;
        }
        blocks += count;
        iab[i + 1] = static_cast<I>(blocks) + base;
    }
    vrn_serv_deallocate(mark);
}

template <class T, class I>
void bsr_to_csr(const I* job, I mb, I lb, I lval, T* acsr, I* ja, I* ia, const T* absr, const I* jab, const I* iab)
{
    const I base = job[2];
    const std::ptrdiff_t row_step = base == 0 ? lb : 1, col_step = base == 0 ? 1 : lb;
    std::ptrdiff_t to = 0;
    ia[0] = job[1];
    for (I i = 0; i < mb; ++i)
        for (I r = 0; r < lb; ++r) {
            for (I k = iab[i] - iab[0], end = iab[i + 1] - iab[0]; k < end; ++k) {
                const T* block = absr + std::ptrdiff_t{k} * lval + r * row_step;
                const I first = (jab[k] - base) * lb + job[1];
                for (I s = 0; s < lb; ++s) {
                    const T value = block[s * col_step];
                    if (value == T{}) continue;
                    if (job[5] >= 0) ja[to] = first + s;
                    if (job[5] > 0) acsr[to] = value;
                    ++to;
                }
            }
            ia[i * lb + r + 1] = static_cast<I>(to) + job[1];
        }
}

template <class T, class I>
void csrbsr(const I* job, const I* m, const I* lb, const I* lval, T* acsr, I* ja, I* ia, T* absr, I* jab, I* iab,
            I* info)
{
    *info = 0;
    if (*lb < 1) return void(*info = 1);
    if (*lval < *lb * *lb) return void(*info = 2);
    if (job[0] == 0) csr_to_bsr(job, *m, *lb, *lval, acsr, ja, ia, absr, jab, iab, info);
    else bsr_to_csr(job, *m, *lb, *lval, acsr, ja, ia, absr, jab, iab);
}

} // namespace vrn::spblas::convert
