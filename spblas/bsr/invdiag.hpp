// spblas/bsr/invdiag.hpp - y := y / D element by element, D the main diagonal of the diagonal blocks of A.
// A block row without a diagonal block takes its last one; an empty one leaves y alone. Not the inverse of blocks:
// that is what a sweep of gauss.hpp does with their triangles. Called by name through the generated exports.
#pragma once

#include "spblas/bsr/rows.hpp"

namespace vrn::spblas::bsr {

template <class T, class I, layout L>
void invdiag(const I* mb, const I* count, const I* lb, const T* val, const I* indx, const I* pntrb, const I* pntre,
             T* y, const void* /*unread*/, const I* base)
{
    if (*mb == 0 || *count == 0) return;
    // Here the base is what makes block columns one-based: zero for one-based ones.
    const matrix<T, I> a(val, indx, pntrb, pntre, 1 - std::ptrdiff_t{*base}, *lb, true);
    for (std::ptrdiff_t i = 0; i < *mb; ++i) {
        std::ptrdiff_t k = a.begin(i);
        const std::ptrdiff_t end = a.end(i);
        if (k == end) continue;
        while (k + 1 < end && a.col(k) != i) ++k;
        const T* block = a.block(k);
        for (std::ptrdiff_t r = 0; r < a.lb; ++r) y[i * a.lb + r] = y[i * a.lb + r] / block[r * (a.lb + 1)];
    }
}

} // namespace vrn::spblas::bsr
