// spblas/csr/scatter.hpp - transposed products: row i of the arrays goes to y at its columns,
//     y[col] += (alpha*x[i])*val, val conjugated for op c.
// The operands are vectors, columns or strips of columns (spblas/number.hpp). y has been scaled by beta before.
// Inlined into mv.hpp and mm.hpp.
#pragma once

#include "spblas/csr/rows.hpp"

namespace vrn::spblas::csr {

// Rows from..to-1; Shape's triangle and diagonal matter for the triangular class alone.
template <tag Shape, class T, class I, class X, class Y>
[[gnu::always_inline]] inline void scatter(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to, I base,
                                           T alpha, const X& x, const Y& y)
{
    constexpr bool conjugate = Shape.conjugates();
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const row<T, I> r = a.next(i);
        const I self = static_cast<I>(i + base);
        const typename X::value t = alpha * x.get(self);
        // One after the other even in pairs, since a column may stand twice in a row.
        auto add = [&](std::ptrdiff_t k, std::ptrdiff_t col) __attribute__((always_inline))
        {
            y.put(col, y.get(col) + conj_if<conjugate>(r.val[k]) * t);
        };
        auto pair = [&](std::ptrdiff_t k) __attribute__((always_inline))
        {
            const places<I, 2> at(r.indx + k);
            add(k, at.col[0]);
            add(k + 1, at.col[1]);
        };
        // Complex arithmetic hides the loop, and its straight lines would be long.
        if constexpr (std::is_same_v<Y, vector<T>> && !is_complex<T>) {
            in_order(
                r.size, [&](std::ptrdiff_t k) __attribute__((always_inline)) { add(k, r.indx[k]); }, pair);
        } else {
            std::ptrdiff_t k = 0;
            for (; k + 1 < r.size; k += 2) pair(k);
            if (k < r.size) add(k, r.indx[k]);
        }
        if constexpr (Shape.is('t')) {
            // Everything has been added; what lies outside the triangle, or on a diagonal that is one, is taken back.
            for (std::ptrdiff_t k = 0; k < r.size; ++k)
                if (inside<!Shape.lower()>(r.indx[k], self) || (Shape.unit() && r.indx[k] == self))
                    y.put(r.indx[k], y.get(r.indx[k]) - conj_if<conjugate>(r.val[k]) * t);
            if constexpr (Shape.unit()) y.put(self, y.get(self) + t);
        }
    }
}

} // namespace vrn::spblas::csr
