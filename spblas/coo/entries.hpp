// spblas/coo/entries.hpp - what the entries of a COO matrix add to a product, for all classes:
//     y[row] += (alpha*v)*x[col], and in two-sided classes y[col] += (alpha*mirrored v)*x[row].
// Entries stand in any order and a position may stand twice: all are added, in the order of the arrays. The element
// of y that neighbouring entries share stays in registers meanwhile, since the way through memory would be half of
// an entry's time where a row's entries stand together; the bits are those of adding in memory.
// Inlined into mv.hpp, mm.hpp and scratch.hpp.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/columns.hpp"
#include "spblas/tag.hpp"

namespace vrn::spblas::coo {

// Entries begin..end-1. By value into kernels: fields behind a reference are loaded anew for every entry.
template <class T, class I>
struct entries {
    const T* val;
    const I *rowind, *colind;
    std::ptrdiff_t begin, end;
};

// Conjugating a real number changes nothing, so that names which differ in that alone share a body.
template <class T>
constexpr tag folded(tag t)
{
    if (!is_complex<T>) t.op = 'n';
    return t;
}

template <tag Shape, class I>
[[gnu::always_inline]] inline bool wanted(I row, I col)
{
    if constexpr (Shape.is('g')) return true;
    else if constexpr (Shape.is('d')) return row == col;
    else if constexpr (Shape.diagonal == 'n') return Shape.lower() ? row >= col : row <= col;
    else return Shape.lower() ? row > col : row < col;
}

// A class with a stored diagonal has to leave it out of the mirrored half.
template <tag Shape, class T, class I, class X, class Y>
[[gnu::always_inline]] inline void add_entries(const entries<T, I>& a, T alpha, const X& x, const Y& y)
{
    if (a.begin >= a.end) return;
    I row = a.rowind[a.begin];
    auto sum = y.get(row);
    for (std::ptrdiff_t k = a.begin; k < a.end; ++k) {
        const I self = a.rowind[k], col = a.colind[k];
        if (!wanted<Shape>(self, col)) continue;
        if (self != row) {
            y.put(row, sum);
            row = self;
            sum = y.get(row);
        }
        const T v = conj_if<Shape.conjugates()>(a.val[k]);
        x.add(sum, alpha * v, col);
        if constexpr (Shape.two_sided())
            if (Shape.diagonal != 'n' || col != row) {
                T t = alpha * conj_if<Shape.is('h')>(v);
                if constexpr (Shape.is('a')) t = -t;
                auto other = y.get(col);
                x.add(other, t, row);
                y.put(col, other);
            }
    }
    y.put(row, sum);
}

// y += alpha*x over neighbours: the implicit diagonal, one column or one row of C at a time.
template <class T>
[[gnu::noinline, gnu::flatten]] void add_line(std::ptrdiff_t n, T alpha, const T* x, T* y)
{
    over_columns<true, 4>(0, n, y, 0, [&](auto part, std::ptrdiff_t j) {
        auto sum = part.get(0);
        alongside(part, x + j, 0).add(sum, alpha, 0);
        part.put(0, sum);
    });
}

// y := beta*y over neighbours. With beta zero y is not read: 0*NaN would keep an old NaN alive.
template <class T>
[[gnu::noinline, gnu::flatten]] void scale_line(std::ptrdiff_t n, T beta, T* y)
{
    const bool clears = beta == T{};
    over_columns<true, 4>(0, n, y, 0,
                          [&](auto part, std::ptrdiff_t) { part.put(0, clears ? part.zero() : beta * part.get(0)); });
}

} // namespace vrn::spblas::coo
