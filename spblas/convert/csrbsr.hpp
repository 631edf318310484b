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

// LB is the side where it is a constant, for the divisions and loops of usual sides, else 0.
template <int LB, class T, class I>
void csr_to_bsr(const I* job, I m, I any, I lval, const T* acsr, const I* ja, const I* ia, T* absr, I* jab, I* iab,
                I* info)
{
    const I lb = LB > 0 ? LB : any, from_base = job[1], base = job[2], origin = ia[0],
            mb = m > 0 ? (m - 1) / lb + 1 : 0;
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
        // f(j, k, column in block j); neighbours mostly share a block, and then nothing is divided.
        auto over = [&](I row, I end_row, auto&& f) {
            for (I k = ia[row] - origin, end = ia[end_row] - origin, first = -lb, j = 0; k < end; ++k) {
                const I col = ja[k] - from_base;
                if (col < first || col >= first + lb) j = col / lb, first = j * lb;
                f(j, k, col - first);
            }
        };
        over(from, to, [&](I j, I, I) {
            if (mark[j] == 0) mark[j] = 1, met[count++] = j;
        });
        if (lists) insertion_sort(met, count);
        if (fills) {
            clear(absr + blocks * lval, std::ptrdiff_t{count} * lval);
            for (I q = 0; q < count; ++q) mark[met[q]] = (blocks + q) * lval;
            for (I row = from; row < to; ++row)
                over(row, row + 1, [&, line = absr + (row - from) * row_step](I j, I k, I col) {
                    line[mark[j] + col * col_step] = acsr[k];
                });
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

enum class filled { pointers, pattern, all };

template <int LB, filled What, class T, class I>
void bsr_to_csr(const I* job, I mb, I any, I lval, T* acsr, I* ja, I* ia, const T* absr, const I* jab, const I* iab)
{
    const I lb = LB > 0 ? LB : any, base = job[2], to_base = job[1], origin = iab[0];
    const std::ptrdiff_t row_step = base == 0 ? lb : 1, col_step = base == 0 ? 1 : lb;
    std::ptrdiff_t to = 0;
    ia[0] = to_base;
    for (I i = 0; i < mb; ++i)
        for (I r = 0; r < lb; ++r) {
            for (I k = iab[i] - origin, end = iab[i + 1] - origin; k < end; ++k) {
                const T* element = absr + std::ptrdiff_t{k} * lval + r * row_step;
                const I first = (jab[k] - base) * lb + to_base;
                auto take = [&](I s) __attribute__((always_inline))
                {
                    const T value = element[s * col_step];
                    if (value == T{}) return;
                    if constexpr (What != filled::pointers) ja[to] = first + s;
                    if constexpr (What == filled::all) acsr[to] = value;
                    ++to;
                };
                if constexpr (LB > 0) simd::unroll<LB>([&](auto s) { take(s); });
                else
                    for (I s = 0; s < lb; ++s) take(s);
            }
            ia[i * lb + r + 1] = static_cast<I>(to) + to_base;
        }
}

template <int LB, class T, class I>
void csrbsr_side(const I* job, I m, I lb, I lval, T* acsr, I* ja, I* ia, T* absr, I* jab, I* iab, I* info)
{
    if (job[0] == 0) csr_to_bsr<LB>(job, m, lb, lval, acsr, ja, ia, absr, jab, iab, info);
    else if (job[5] > 0) bsr_to_csr<LB, filled::all>(job, m, lb, lval, acsr, ja, ia, absr, jab, iab);
    else if (job[5] == 0) bsr_to_csr<0, filled::pattern>(job, m, lb, lval, acsr, ja, ia, absr, jab, iab);
    else bsr_to_csr<0, filled::pointers>(job, m, lb, lval, acsr, ja, ia, absr, jab, iab);
}

template <class T, class I>
void csrbsr(const I* job, const I* m, const I* lb, const I* lval, T* acsr, I* ja, I* ia, T* absr, I* jab, I* iab,
            I* info)
{
    *info = 0;
    if (*lb < 1) return void(*info = 1);
    if (*lval < *lb * *lb) return void(*info = 2);
    if (*lb == 2) csrbsr_side<2>(job, *m, *lb, *lval, acsr, ja, ia, absr, jab, iab, info);
    else if (*lb == 3) csrbsr_side<3>(job, *m, *lb, *lval, acsr, ja, ia, absr, jab, iab, info);
    else csrbsr_side<0>(job, *m, *lb, *lval, acsr, ja, ia, absr, jab, iab, info);
}

} // namespace vrn::spblas::convert
