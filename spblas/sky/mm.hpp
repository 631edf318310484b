// spblas/sky/mm.hpp - C := C + alpha*op(A)*B, A in skyline storage, B and C by columns; C comes prepared.
//
//     g   triangular: a dot along the run, or the run scattered, whichever op and triangle ask for
//     s   symmetric: both for what lies beside the diagonal, and the diagonal once
//     k   skew: both with opposite signs, without the diagonal; its transpose is its negative
//
// A diagonal that does not count is left out. Nothing conjugates. Dots and axpys are the host's, with unit strides,
// so that its checks and threads apply. Called by name through the generated exports.
#pragma once

#include "spblas/sky/runs.hpp"

namespace vrn::spblas::sky {

template <class T, class I, char Kind>
void mm(const I* op, const void* /*unread*/, const I* m, const I* n, const I* uplo, const I* diag, const T* alpha,
        const T* val, const I* pntr, const T* b, const I* ldb, T* c, const I* ldc)
{
    const I one = 1;
    const bool dots = by_dots(*op, *uplo);
    for (I i = 0; i < *m; ++i) {
        const run<T, I> a = line(val, pntr, i);
        // The strict part alone where the diagonal does not count or is done apart.
        const I height = Kind == 'g' && *diag != 0 ? a.size : a.size - 1;
        for (I j = 0; j < *n; ++j) {
            const T* x = b + std::ptrdiff_t{j} * *ldb;
            T* y = c + std::ptrdiff_t{j} * *ldc;
            auto gather = [&](T scale) { y[i] = y[i] + scale * dot(&height, a.val, &one, x + a.first, &one); };
            auto scatter = [&](T scale) { axpy(&height, &scale, a.val, &one, y + a.first, &one); };
            if constexpr (Kind == 'g') {
                if (dots) gather(*alpha);
                else scatter(*alpha * x[i]);
            } else {
                constexpr bool skew = Kind == 'k';
                gather(skew && !dots ? -*alpha : *alpha);
                scatter((skew && dots ? -*alpha : *alpha) * x[i]);
                if (!skew && *diag != 0) y[i] = y[i] + *alpha * a.diagonal() * x[i];
            }
        }
    }
}

} // namespace vrn::spblas::sky
