// spblas/convert/csrdia.hpp - CSR and DIA, square matrices; element (i, i + idiag[j]) is adia[i + j*lval].
//
//     job[0]  0 CSR to DIA, else back
//     job[1], job[2]  base of the CSR arrays, and of those for the rest
//     job[5]  to DIA, tens: 0 the caller's idiag, else the routine chooses
//             to DIA, units: 0 drops what fits no diagonal, else stores it in (acsr_rem, ja_rem, ia_rem)
//             to CSR: 0 drops zeros
//     info    -1 where memory was refused, else 0
//
// The routine chooses up to *ndiag diagonals, the fullest ones (of equal ones the lower), in ascending order, as the
// solves want them, and tells their number in ndiag. Allocates a counter for each possible offset, which later tells
// an offset's diagonal. An entry that stands twice leaves its last value. Called by name through the generated
// exports.
#pragma once

#include "frame/services.hpp"
#include "spblas/convert/services.hpp"

namespace vrn::spblas::convert {

// Of `count` counters, the `most` largest that are not zero: how large, and how many of the smallest of them count.
template <class I>
struct threshold {
    I least = 1, ties;
    threshold(const I* counter, std::ptrdiff_t count, I most, I largest)
    {
        auto at_least = [&](I size) {
            I found = 0;
            for (std::ptrdiff_t d = 0; d < count; ++d) found += counter[d] >= size;
            return found;
        };
        // The smallest size that no more than `most` exceed, by bisection.
        for (I low = 1, high = largest + 1; low <= high;) {
            const I middle = low + (high - low) / 2;
            if (at_least(middle + 1) <= most) least = middle, high = middle - 1;
            else low = middle + 1;
        }
        ties = most - at_least(least + 1);
    }
};

template <class T, class I>
void csr_to_dia(const I* job, I m, const T* acsr, const I* ja, const I* ia, T* adia, I lval, I* idiag, I* ndiag,
                T* acsr_rem, I* ja_rem, I* ia_rem, I* info)
{
    const bool chooses = job[5] / 10 % 10 != 0, keeps_rest = job[5] % 10 != 0;
    if (keeps_rest) ia_rem[0] = job[2];
    if (m < 1) {
        if (chooses) *ndiag = 0;
        return;
    }
    const std::ptrdiff_t offsets = 2 * std::ptrdiff_t{m} - 1;
    I* const counter = static_cast<I*>(vrn_serv_allocate(static_cast<std::uint64_t>(offsets) * sizeof(I), 128));
    if (counter == nullptr) return void(*info = -1);
    for (std::ptrdiff_t d = 0; d < offsets; ++d) counter[d] = 0;
    // Of column ja[k] in row i.
    auto offset = [&](I i, I k) { return std::ptrdiff_t{ja[k]} - job[1] - i + m - 1; };
    if (chooses) {
        for (I i = 0; i < m; ++i)
            for (I k = ia[i] - ia[0], end = ia[i + 1] - ia[0]; k < end; ++k) ++counter[offset(i, k)];
        threshold<I> t(counter, offsets, *ndiag, m);
        I found = 0;
        for (std::ptrdiff_t d = 0; d < offsets && found < *ndiag; ++d) {
            if (counter[d] < t.least || (counter[d] == t.least && t.ties-- <= 0)) continue;
            idiag[found++] = static_cast<I>(d - (m - 1));
        }
        *ndiag = found;
        for (std::ptrdiff_t d = 0; d < offsets; ++d) counter[d] = 0;
    }
    for (I j = 0; j < *ndiag; ++j) {
        const std::ptrdiff_t d = std::ptrdiff_t{idiag[j]} + m - 1;
        if (d >= 0 && d < offsets) counter[d] = j + 1;
    }
    clear(adia, std::ptrdiff_t{lval} * *ndiag);
    I rest = 0;
    for (I i = 0; i < m; ++i) {
        for (I k = ia[i] - ia[0], end = ia[i + 1] - ia[0]; k < end; ++k) {
            const I j = counter[offset(i, k)];
            if (j > 0) adia[i + std::ptrdiff_t{j - 1} * lval] = acsr[k];
            else if (keeps_rest) {
                acsr_rem[rest] = acsr[k], ja_rem[rest] = ja[k] - job[1] + job[2];
                ++rest;
            }
        }
        if (keeps_rest) ia_rem[i + 1] = rest + job[2];
    }
    vrn_serv_deallocate(counter);
}

template <class T, class I>
void dia_to_csr(const I* job, I m, T* acsr, I* ja, I* ia, const T* adia, I lval, const I* idiag, I ndiag)
{
    const I base = job[1];
    I k = 0;
    ia[0] = base;
    for (I i = 0; i < m; ++i) {
        for (I j = 0; j < ndiag; ++j) {
            const std::ptrdiff_t col = std::ptrdiff_t{i} + idiag[j];
            if (col < 0 || col >= m) continue;
            const T value = adia[i + std::ptrdiff_t{j} * lval];
            if (job[5] == 0 && value == T{}) continue;
            acsr[k] = value, ja[k] = static_cast<I>(col) + base;
            ++k;
        }
        ia[i + 1] = k + base;
    }
}

template <class T, class I>
void csrdia(const I* job, const I* m, T* acsr, I* ja, I* ia, T* adia, const I* lval, I* idiag, I* ndiag, T* acsr_rem,
            I* ja_rem, I* ia_rem, I* info)
{
    *info = 0;
    if (job[0] == 0) csr_to_dia(job, *m, acsr, ja, ia, adia, *lval, idiag, ndiag, acsr_rem, ja_rem, ia_rem, info);
    else dia_to_csr(job, *m, acsr, ja, ia, adia, *lval, idiag, *ndiag);
}

} // namespace vrn::spblas::convert
