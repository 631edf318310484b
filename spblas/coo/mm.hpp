// spblas/coo/mm.hpp - C := beta*C + alpha*A*B or with conj(A), A m by n in COO, on a range of columns of B and C.
// The range is scaled by beta, all entries are added, and a unit diagonal comes last.
//     by rows     entry by entry over the whole range; a range of four vectors stays in registers along a row
//     by columns  column by column; four at once, sharing the entries, where entries stand row by row. Entries in no
//                 order would only spread over four times the cache.
// mm_scratch, the product in the caller's scratch, is in scratch.hpp. Nothing is allocated. Called by name through
// the generated exports.
#pragma once

#include "spblas/coo/scratch.hpp"

namespace vrn::spblas::coo {

// f(x, y, length) over the lines of the range that lie in one piece: rows of B and C, or columns.
template <bool ByRows, class T, class F>
[[gnu::always_inline]] inline void over_lines(std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t m, const T* b,
                                              std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, F&& f)
{
    if constexpr (ByRows)
        for (std::ptrdiff_t i = 0; i < m; ++i) f(b + i * ldb + from, c + i * ldc + from, to - from);
    else
        for (std::ptrdiff_t j = from; j < to; ++j) f(b + j * ldb, c + j * ldc, m);
}

template <tag Shape, class T, class I>
[[gnu::always_inline]] inline void add_to_columns(const entries<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                  T alpha, const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc)
{
    if constexpr (Shape.by_rows()) {
        constexpr int vectors = 4;
        b += from, c += from;
        if (to - from == vectors * per_vec<T>)
            add_entries<Shape>(a, alpha,
                               in_registers<strip<const T, vectors>, strip<T, vectors>>{{b, ldb}, {c, ldc}});
        else add_entries<Shape>(a, alpha, in_memory<T>{b, ldb, c, ldc, to - from});
    } else {
        std::ptrdiff_t j = from;
        if (to - from >= 4 && stand_by_rows(a))
            for (; j + 4 <= to; j += 4)
                add_entries<Shape>(
                    a, alpha, in_registers<bundle<const T, 4>, bundle<T, 4>>{{b + j * ldb, ldb}, {c + j * ldc, ldc}});
        for (; j < to; ++j)
            add_entries<Shape>(a, alpha, in_registers<vector<const T>, vector<T>>{{b + j * ldb}, {c + j * ldc}});
    }
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm(entries<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t m,
                                        T alpha, const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, T beta)
{
    constexpr bool by_rows = Shape.by_rows();
    constexpr std::ptrdiff_t base = Shape.base;
    over_lines<by_rows>(from, to, m, b, ldb, c, ldc,
                        [&](const T*, T* y, std::ptrdiff_t length) { scale_line(length, beta, y); });
    if constexpr (!(Shape.is('d') && Shape.unit()))
        add_to_columns<Shape>(a, from, to, alpha, based(b, base, by_rows ? ldb : 1), ldb,
                              based(c, base, by_rows ? ldc : 1), ldc);
    if constexpr (Shape.unit())
        over_lines<by_rows>(from, to, m, b, ldb, c, ldc,
                            [&](const T* x, T* y, std::ptrdiff_t length) { add_line(length, alpha, x, y); });
}

template <class T, class I, tag Tag>
void mm_par(const I* first, const I* last, const I* m, const I* /*n*/, const T* alpha, const T* val, const I* rowind,
            const I* colind, const I* nnz, const T* b, const I* ldb, T* c, const I* ldc, const T* beta)
{
    mm<Tag>(entries<T, I>{val, rowind, colind, 0, *nnz}, *first - std::ptrdiff_t{1}, *last, *m, *alpha, b, *ldb, c,
            *ldc, *beta);
}

} // namespace vrn::spblas::coo
