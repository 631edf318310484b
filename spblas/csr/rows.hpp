// spblas/csr/rows.hpp - the rows of a CSR matrix, and what every kernel does before it walks them.
// Row i holds entries pntrb[i] - pntrb[0] .. pntre[i] - pntrb[0] - 1: the pointers' own base never matters, rows may
// lie anywhere and leave gaps. Row numbers here are zero-based; `base` is added where they meet column indices.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"
#include "spblas/tag.hpp"

namespace vrn::spblas::csr {

// One row: entries 0 .. size-1.
template <class T, class I>
struct row {
    const T* val;
    const I* indx;
    std::ptrdiff_t size;
};

template <class T, class I>
struct matrix {
    const T* val;
    const I *indx, *pntrb, *pntre;
    std::ptrdiff_t origin;

    matrix(const T* v, const I* j, const I* b, const I* e, bool any)
        : val(v), indx(j), pntrb(b), pntre(e), origin(any ? b[0] : 0)
    {
    }
    row<T, I> operator[](std::ptrdiff_t i) const
    {
        const std::ptrdiff_t at = pntrb[i] - origin;
        return {val + at, indx + at, pntre[i] - origin - at};
    }
};

// Which entries of row `self` (in the base of the indices) lie in the wanted triangle, the diagonal apart.
template <bool Lower, class I>
bool inside(I col, I self)
{
    return Lower ? col < self : col > self;
}

// beta*y. With beta zero y is not read: 0*NaN would keep an old NaN alive.
template <class T, class Operand>
void scale(const Operand& y, std::ptrdiff_t from, std::ptrdiff_t to, T beta)
{
    if (beta == T{})
        for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, Operand::zero());
    else
        for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, beta * y.get(i));
}

// Row blocks: `size` rows each, and the last runs to the end, so that it may hold almost twice as many.
struct blocks {
    std::ptrdiff_t rows, size, count;
    blocks(std::ptrdiff_t m, std::ptrdiff_t limit) : rows(m), size(m < limit ? m : limit), count(m > 0 ? m / size : 0)
    {
    }
    std::ptrdiff_t begin(std::ptrdiff_t b) const { return b * size; }
    std::ptrdiff_t end(std::ptrdiff_t b) const { return b + 1 == count ? rows : (b + 1) * size; }
};

} // namespace vrn::spblas::csr
