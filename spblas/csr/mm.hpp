// spblas/csr/mm.hpp - C := beta*C + alpha*op(A)*B, A m by k in CSR: on a range of rows of C (general, no
// transposition, by rows), on a range of its columns (everything else), or whole (the diagonal class).
// The loops are in mm_rows.hpp and mm_columns.hpp. Nothing is allocated. Called by name through the generated
// exports.
#pragma once

#include "spblas/csr/mm_columns.hpp"
#include "spblas/csr/mm_rows.hpp"
#include "spblas/imports.hpp"

namespace vrn::spblas::csr {

template <class T, class I, tag Tag>
void mm_par(const I* first, const I* last, const I* m, const I* n, const I* k, const T* alpha, const T* val,
            const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc,
            const T* beta)
{
    constexpr tag shape = Tag.canonical();
    constexpr bool by_rows = Tag.by_rows();
    const I base = Tag.base;
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last, lb = *ldb, lc = *ldc;
    const matrix<T, I> a(val, indx, pntrb, pntre, from<to&& * m> 0);
    b = based(b, base, by_rows ? lb : 1), c = based(c, base, by_rows ? lc : 1);
    const std::ptrdiff_t rows = shape.transposes() ? *k : *m;
    if constexpr (shape.is('g') && !shape.transposes()) {
        if constexpr (by_rows)
            mm_rows_general<shape.conjugates()>(a, from, to, *n, base, *alpha, b, lb, c, lc, *beta);
        else mm_columns_general<shape.conjugates()>(a, from, to, *m, *n, base, *alpha, b, lb, c, lc, *beta);
    } else if constexpr (by_rows) mm_rows<shape>(a, from, to, *m, rows, base, *alpha, b, lb, c, lc, *beta);
    else if constexpr (shape.is('t') && !shape.transposes())
        mm_columns_masked<shape>(a, from, to, *m, base, *alpha, b, lb, c, lc, *beta);
    else mm_columns_scattered<shape>(a, from, to, *m, rows, base, *alpha, b, lb, c, lc, *beta);
}

// Row by row, or column by column: line i of C from line i of B, through `line`.
template <class T, class Body>
void mm_lines(std::ptrdiff_t count, const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, Body&& line)
{
    for (std::ptrdiff_t i = 0; i < count; ++i) line(i, b + i * ldb, c + i * ldc);
}

template <class T, class I, tag Tag>
void mm_seq(const I* m, const I* n, const I* /*k*/, const T* alpha, const T* val, const I* indx, const I* pntrb,
            const I* pntre, const T* b, const I* ldb, T* c, const I* ldc, const T* beta)
{
    const std::ptrdiff_t count = Tag.by_rows() ? *m : *n; // of lines that lie in one piece
    const I length = Tag.by_rows() ? *n : *m, one = 1;
    if constexpr (Tag.unit()) {
        mm_lines(count, b, *ldb, c, *ldc, [&](std::ptrdiff_t, const T* x, T* y) {
            scale(vector<T>{y}, 0, length, *beta);
            axpy(&length, alpha, x, &one, y, &one);
        });
    } else {
        const matrix<T, I> a(val, indx, pntrb, pntre, *m > 0);
        auto add = [&](std::ptrdiff_t i, auto&& put) {
            const row<T, I> r = a[i];
            for (std::ptrdiff_t k = 0; k < r.size; ++k)
                if (r.indx[k] == i + Tag.base) put(*alpha * conj_if<Tag.conjugates()>(r.val[k]));
        };
        mm_lines(count, b, *ldb, c, *ldc, [&](std::ptrdiff_t line, const T* x, T* y) {
            scale(vector<T>{y}, 0, length, *beta);
            if constexpr (Tag.by_rows())
                add(line, [&](T t) {
                    for (std::ptrdiff_t j = 0; j < length; ++j) y[j] = y[j] + t * x[j];
                });
            else
                for (std::ptrdiff_t i = 0; i < length; ++i) add(i, [&](T t) { y[i] = y[i] + t * x[i]; });
        });
    }
}

} // namespace vrn::spblas::csr
