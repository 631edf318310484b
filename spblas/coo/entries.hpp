// spblas/coo/entries.hpp - what the entries of a COO matrix add to a product, for all classes:
//     y[row] += (alpha*v)*x[col], and in two-sided classes y[col] += (alpha*mirrored v)*x[row].
// Entries stand in any order and a position may stand twice: all are added, in the order of the arrays. Where they
// are added decides the speed alone, in_registers or in_memory; the bits are the same. Inlined into mv.hpp, mm.hpp
// and scratch.hpp.
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

template <tag Shape>
[[gnu::always_inline]] inline bool wanted(std::ptrdiff_t row, std::ptrdiff_t col)
{
    if constexpr (Shape.is('g')) return true;
    else if constexpr (Shape.is('d')) return row == col;
    else if constexpr (Shape.diagonal == 'n') return Shape.lower() ? row >= col : row <= col;
    else return Shape.lower() ? row > col : row < col;
}

// The element of y that neighbouring entries share stays in registers: where a row's entries stand together, the way
// through memory would be half of an entry's time.
template <class X, class Y>
struct in_registers {
    X x;
    Y y;
    std::ptrdiff_t row = 0;
    typename Y::value sum{};

    [[gnu::always_inline]] void begin(std::ptrdiff_t first)
    {
        row = first;
        sum = y.get(row);
    }
    template <class T>
    [[gnu::always_inline]] void add(std::ptrdiff_t self, T t, std::ptrdiff_t col)
    {
        if (self != row) {
            done();
            begin(self);
        }
        x.add(sum, t, col);
    }
    // `col` is another row than the one in registers.
    template <class T>
    [[gnu::always_inline]] void add_mirrored(std::ptrdiff_t col, T t, std::ptrdiff_t self)
    {
        auto other = y.get(col);
        x.add(other, t, self);
        y.put(col, other);
    }
    [[gnu::always_inline]] void done() { y.put(row, sum); }
};

// y += t*x over neighbours.
template <class T>
[[gnu::always_inline]] inline void add_neighbours(std::ptrdiff_t n, T t, const T* x, T* y)
{
    over_columns<true, 4>(0, n, y, 0, [&](auto part, std::ptrdiff_t j) {
        auto sum = part.get(0);
        alongside(part, x + j, 0).add(sum, t, 0);
        part.put(0, sum);
    });
}

// Whole rows of a range of columns, entry by entry: entries are read once, and rows of B in one piece.
template <class T>
struct in_memory {
    const T* x;
    std::ptrdiff_t ldx;
    T* y;
    std::ptrdiff_t ldy, width;

    [[gnu::always_inline]] void add(std::ptrdiff_t row, T t, std::ptrdiff_t col) const
    {
        add_neighbours(width, t, x + col * ldx, y + row * ldy);
    }
    [[gnu::always_inline]] void add_mirrored(std::ptrdiff_t col, T t, std::ptrdiff_t row) const { add(col, t, row); }
    void begin(std::ptrdiff_t) const {}
    void done() const {}
};

// A class with a stored diagonal has to leave it out of the mirrored half.
template <tag Shape, class T, class I, class To>
[[gnu::always_inline]] inline void add_entries(const entries<T, I>& a, T alpha, To to)
{
    if (a.begin >= a.end) return;
    to.begin(a.rowind[a.begin]);
    for (std::ptrdiff_t k = a.begin; k < a.end; ++k) {
        const std::ptrdiff_t row = a.rowind[k], col = a.colind[k];
        if (!wanted<Shape>(row, col)) continue;
        const T v = conj_if<Shape.conjugates()>(a.val[k]);
        to.add(row, alpha * v, col);
        if constexpr (Shape.two_sided())
            if (Shape.diagonal != 'n' || col != row) {
                T t = alpha * conj_if<Shape.is('h')>(v);
                if constexpr (Shape.is('a')) t = -t;
                to.add_mirrored(col, t, row);
            }
    }
    to.done();
}

// Do most entries stand beside another one of their row? A look at a few.
template <class T, class I>
[[gnu::noinline]] bool stand_by_rows(const entries<T, I>& a)
{
    const std::ptrdiff_t step = (a.end - a.begin) / 64 + 1;
    int looked = 0, same = 0;
    for (std::ptrdiff_t k = a.begin + 1; k < a.end; k += step) {
        ++looked;
        same += a.rowind[k] == a.rowind[k - 1];
    }
    return 2 * same >= looked;
}

// The implicit diagonal, one column or one row of C at a time.
template <class T>
[[gnu::noinline, gnu::flatten]] void add_line(std::ptrdiff_t n, T alpha, const T* x, T* y)
{
    add_neighbours(n, alpha, x, y);
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
