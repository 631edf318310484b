// spblas/convert/csrcoo.hpp - CSR and COO.
//
//     job[0]  0 CSR to COO, 1 COO to CSR, 2 the same with rows sorted at the end
//     job[1], job[2]  base of the CSR and of the COO arrays
//     job[4]  capacity: to COO of all entries, to CSR where job[5] is 0
//     job[5]  to COO: 1 rowind, 2 colind too, 3 values too
//             to CSR: 1 ia alone; 2 ja and acsr alone, entry k of COO as entry k of CSR (the arrays may be the same
//             ones); else all, and 0 tests the capacity
//     info    1 the capacity does not suffice, 2 unknown job[5] to COO, else 0
//
// Both directions are one pass over the entries beside a counting pass; entries of a row keep their order. Called by
// name through the generated exports.
#pragma once

#include "spblas/convert/services.hpp"
#include "spblas/convert/starts.hpp"

namespace vrn::spblas::convert {

template <class T, class I>
void csr_to_coo(const I* job, I m, const T* acsr, const I* ja, const I* ia, I* nnz, T* acoo, I* rowind, I* colind,
                I* info)
{
    const I count = ia[m] - ia[0], arrays = job[5];
    if (count > job[4]) return void(*info = 1);
    if (arrays < 1 || arrays > 3) return void(*info = 2);
    *nnz = count;
    if (arrays == 3 && count > 0)
        std::memcpy(static_cast<void*>(acoo), acsr, static_cast<std::size_t>(count) * sizeof(T));
    if (arrays >= 2) {
        const I shift = job[2] - job[1];
        if (shift == 0 && count > 0) std::memcpy(colind, ja, static_cast<std::size_t>(count) * sizeof(I));
        else
            for (I k = 0; k < count; ++k) colind[k] = ja[k] + shift;
    }
    for (I i = 0, k = 0, origin = ia[0], base = job[2]; i < m; ++i)
        for (const I end = ia[i + 1] - origin; k < end; ++k) rowind[k] = i + base;
}

template <class T, class I>
void coo_to_csr(const I* job, I m, T* acsr, I* ja, I* ia, I nnz, const T* acoo, const I* rowind, const I* colind,
                I* info)
{
    const I base = job[1], shift = job[1] - job[2];
    if (job[5] == 2) {
        for (I k = 0; k < nnz; ++k) ja[k] = colind[k] + shift, acsr[k] = acoo[k];
    } else {
        starts<I> at(ia, m, base);
        for (I k = 0; k < nnz; ++k) at.count(rowind[k] - job[2]);
        at.sum();
        if (job[5] != 1) {
            I k = 0;
            for (; k < nnz && !(job[5] == 0 && k >= job[4]); ++k) {
                const I to = at.next(rowind[k] - job[2]);
                ja[to] = colind[k] + shift, acsr[to] = acoo[k];
            }
            if (k < nnz) return void(*info = 1);
            at.rewind();
        }
    }
    if (job[0] == 2 && job[5] != 1) {
        const I one = 1;
        sortrow(&one, &m, ia, ja, acsr);
    }
}

template <class T, class I>
void csrcoo(const I* job, const I* m, T* acsr, I* ja, I* ia, I* nnz, T* acoo, I* rowind, I* colind, I* info)
{
    *info = 0;
    if (job[0] == 0) csr_to_coo(job, *m, acsr, ja, ia, nnz, acoo, rowind, colind, info);
    else coo_to_csr(job, *m, acsr, ja, ia, *nnz, acoo, rowind, colind, info);
}

} // namespace vrn::spblas::convert
