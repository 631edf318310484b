// spblas/csr/gemv.hpp - y := A*x on a range of rows, A one-based CSR with a single array of row pointers.
// Sums in groups of four entries, and one sum of the one to three that are left. Called by its one name.
#pragma once

#include "spblas/csr/dot.hpp"

namespace vrn::spblas::csr {

template <class T, class I, tag Tag>
void gemv_par(const I* first, const I* last, const I* /*m*/, const I* /*n*/, const I* /*k*/, const T* val,
              const I* indx, const I* ia, const void* /*unread*/, const T* x, T* y)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last;
    const matrix<T, I> a(val, indx, ia, ia + 1, from < to);
    x = based(x, Tag.base);
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const row<T, I> r = a[i];
        auto product = [&](std::ptrdiff_t k) { return r.val[k] * x[r.indx[k]]; };
        T sum{};
        std::ptrdiff_t k = 0;
        for (; k + 4 <= r.size; k += 4)
            sum = sum + ((product(k) + product(k + 1)) + (product(k + 2) + product(k + 3)));
        if (k + 1 == r.size) sum = sum + product(k);
        else if (k + 2 == r.size) sum = sum + (product(k) + product(k + 1));
        else if (k + 3 == r.size) sum = sum + (product(k) + product(k + 1) + product(k + 2));
        y[i] = sum;
    }
}

} // namespace vrn::spblas::csr
