// spblas/product/dense.hpp - C := A*B and C := C + transpose(A)*B of sparse matrices in one-based CSR, C dense by
// columns. Every product of an entry of A with one of B's row goes to its place; the transposed form scatters over
// all of C, which comes prepared. Called by name through the generated exports.
#pragma once

#include "spblas/convert/services.hpp"

namespace vrn::spblas::product {

// C(i, j) += w*v over row k of B, i and k zero-based: c is the row, and an index j one-based.
template <class T, class I>
[[gnu::always_inline]] inline void add_row(T v, const T* b, const I* jb, const I* ib, std::ptrdiff_t k, T* c,
                                           std::ptrdiff_t ldc)
{
    std::ptrdiff_t q = ib[k] - 1;
    const std::ptrdiff_t end = ib[k + 1] - 1;
    // One after the other even in pairs, since a column may stand twice.
    auto add = [&](std::ptrdiff_t at) __attribute__((always_inline))
    {
        T& to = c[(jb[at] - 1) * ldc];
        to = to + b[at] * v;
    };
    for (; q + 1 < end; q += 2) {
        add(q);
        add(q + 1);
    }
    if (q < end) add(q);
}

template <class T, class I>
void csrmultd_ker(const void* /*unread*/, const I* first, const I* last, const I* n, const T* a, const I* ja,
                  const I* ia, const T* b, const I* jb, const I* ib, T* c, const I* ldc)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last, ld = *ldc;
    for (std::ptrdiff_t j = 0; j < *n; ++j) convert::clear(c + from + j * ld, to - from);
    for (std::ptrdiff_t i = from; i < to; ++i)
        for (std::ptrdiff_t k = ia[i] - 1; k < ia[i + 1] - 1; ++k) add_row(a[k], b, jb, ib, ja[k] - 1, c + i, ld);
}

template <class T, class I>
void csrmultd_ker_t(const void* /*unread*/, const I* first, const I* last, const I* /*n*/, const T* a, const I* ja,
                    const I* ia, const T* b, const I* jb, const I* ib, T* c, const I* ldc)
{
    for (std::ptrdiff_t r = *first - std::ptrdiff_t{1}; r < *last; ++r)
        for (std::ptrdiff_t k = ia[r] - 1; k < ia[r + 1] - 1; ++k) add_row(a[k], b, jb, ib, r, c + (ja[k] - 1), *ldc);
}

} // namespace vrn::spblas::product
