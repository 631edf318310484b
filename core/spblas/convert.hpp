// core/spblas/convert.hpp - conversions: the back-end's own routines, with arguments that have been checked.
#pragma once

#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

template <class T, class I>
void csrcoo(const I* job, I m, T* acsr, I* ja, I* ia, I* nnz, T* acoo, I* rowind, I* colind, I* info)
{
    kernels<T, I>::vrn_csrcoo()(job, &m, acsr, ja, ia, nnz, acoo, rowind, colind, info);
}
template <class T, class I>
void csrcsc(const I* job, I m, T* acsr, I* ja, I* ia, T* acsc, I* ja1, I* ia1, I* info)
{
    kernels<T, I>::vrn_csrcsc()(job, &m, acsr, ja, ia, acsc, ja1, ia1, info);
}
template <class T, class I>
void csrdia(const I* job, I m, T* acsr, I* ja, I* ia, T* adia, I lval, I* idiag, I* ndiag, T* acsr_rem, I* ja_rem,
            I* ia_rem, I* info)
{
    kernels<T, I>::vrn_csrdia()(job, &m, acsr, ja, ia, adia, &lval, idiag, ndiag, acsr_rem, ja_rem, ia_rem, info);
}
template <class T, class I>
void csrsky(const I* job, I m, T* acsr, I* ja, I* ia, T* asky, I* pntr, I* info)
{
    kernels<T, I>::vrn_csrsky()(job, &m, acsr, ja, ia, asky, pntr, info);
}
template <class T, class I>
void csrbsr(const I* job, I m, I lb, I lval, T* acsr, I* ja, I* ia, T* absr, I* jab, I* iab, I* info)
{
    kernels<T, I>::vrn_csrbsr()(job, &m, &lb, &lval, acsr, ja, ia, absr, jab, iab, info);
}
template <class T, class I>
void dnscsr(const I* job, I m, I n, T* adns, I lda, T* acsr, I* ja, I* ia, I* info)
{
    kernels<T, I>::vrn_dnscsr()(job, &m, &n, adns, &lda, acsr, ja, ia, info);
}

// A range that does not begin at row 1 is taken for one-based by the kernel, so that zero-based rows go in one call.
template <class T, class I>
void csrsort(I m, T* a, I* ja, const I* ia)
{
    if (m == 0) return;
    auto* f = kernels<T, I>::sortrow();
    const int wanted = ia[0] == 0 ? 1 : threads_for(std::int64_t{ia[m]} - ia[0]);
    threads::run(wanted, [&](int part, int parts) {
        const auto [from, to] = rows_of_part(ia, ia + 1, m, part, parts);
        const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
        if (from < to) f(&first, &last, ia, ja, a);
    });
}

} // namespace vrn::spblas::host
