// spblas/csr/rows.hpp - the rows of a CSR matrix, and what every kernel does before it walks them.
// Row i holds entries pntrb[i] - pntrb[0] .. pntre[i] - pntrb[0] - 1: the pointers' own base never matters, rows may
// lie anywhere and leave gaps. Row numbers here are zero-based; `base` is added where they meet column indices.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"
#include "spblas/tag.hpp"

#include <cstring>

namespace vrn::spblas::csr {

// One row: entries 0 .. size-1.
template <class T, class I>
struct row {
    const T* val;
    const I* indx;
    std::ptrdiff_t size;
};

// val and indx come shifted by pntrb[0], so that row pointers address them as they stand. By value into kernels:
// fields behind a reference are loaded anew for every row.
template <class T, class I>
struct matrix {
    const T* val;
    const I *indx, *pntrb, *pntre;

    matrix(const T* v, const I* j, const I* b, const I* e, bool any)
        : val(any ? based(v, b[0]) : v), indx(any ? based(j, b[0]) : j), pntrb(b), pntre(e)
    {
    }
    [[gnu::always_inline]] row<T, I> operator[](std::ptrdiff_t i) const
    {
        const std::ptrdiff_t begin = pntrb[i];
        return {val + begin, indx + begin, pntre[i] - begin};
    }
};

// N neighbouring column indices. Two of 32 bits come in one load: three loads an entry are what bounds a row's sum
// that the caches hold.
template <class I, int N>
struct places {
    std::ptrdiff_t col[N];
    [[gnu::always_inline]] explicit places(const I* indx)
    {
        if constexpr (sizeof(I) == 4 && N % 2 == 0)
            simd::unroll<N / 2>([&](auto i) {
                std::int64_t two;
                std::memcpy(&two, indx + 2 * i, sizeof two);
                col[2 * i] = static_cast<std::int32_t>(two);
                col[2 * i + 1] = two >> 32;
            });
        else simd::unroll<N>([&](auto i) { col[i] = indx[i]; });
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
[[gnu::always_inline]] inline void scale(const Operand& y, std::ptrdiff_t from, std::ptrdiff_t to, T beta)
{
    if (beta == T{}) {
        if constexpr (std::is_same_v<Operand, vector<T>>) {
            if (from < to)
                std::memset(static_cast<void*>(y.p + from), 0, static_cast<std::size_t>(to - from) * sizeof(T));
        } else
            for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, Operand::zero());
    } else
        for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, beta * y.get(i));
}

} // namespace vrn::spblas::csr
