// spblas/sky/sv.hpp - y := inv(op(A))*y, A triangular in skyline storage.
// Forward by dots along the runs, or backward with each finished element scattered over its run, whichever op and
// triangle ask for; the dots and axpys are the host's. Called by name through the generated exports.
#pragma once

#include "spblas/sky/runs.hpp"

namespace vrn::spblas::sky {

template <class T, class I>
void sv(const I* op, const void* /*unread*/, const I* uplo, const I* diag, const I* m, const T* val, const I* pntr,
        T* y)
{
    if (*m < 1) return;
    const I one = 1;
    const bool stored = *diag != 0;
    if (by_dots(*op, *uplo)) {
        for (I i = 0; i < *m; ++i) {
            const run<T, I> a = line(val, pntr, i);
            const I height = a.size - 1;
            const T t = y[i] - dot(&height, a.val, &one, y + a.first, &one);
            y[i] = stored ? t / a.diagonal() : t;
        }
    } else
        for (I i = *m - 1; i >= 0; --i) {
            const run<T, I> a = line(val, pntr, i);
            const I height = a.size - 1;
            const T t = stored ? y[i] / a.diagonal() : y[i], minus = -t;
            axpy(&height, &minus, a.val, &one, y + a.first, &one);
            y[i] = t;
        }
}

} // namespace vrn::spblas::sky
