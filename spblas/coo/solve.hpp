// spblas/coo/solve.hpp - inv(A) or inv(conj(A)) times a few columns, A triangular in COO, in place.
// Substitution row by row: y[i] := (y[i] - sum)/diagonal, the sum in the order of the arrays. With a bucket a row's
// entries are at hand; without one every row looks at all entries, m*nnz steps for the same bits. A row without a
// diagonal divides by zero either way.
// Inlined into sv.hpp and sm.hpp.
#pragma once

#include "spblas/coo/bucket.hpp"

namespace vrn::spblas::coo {

template <tag Shape, class T, class I, class Y>
[[gnu::always_inline]] inline void finish(const Y& y, I row, typename Y::value sum, [[maybe_unused]] T diagonal)
{
    auto left = y.get(row) - sum;
    if constexpr (!Shape.unit()) left = left / diagonal;
    y.put(row, left);
}

template <tag Shape, class T, class I, class Y>
[[gnu::always_inline]] inline void solve_filed(const bucket<I>& b, I base, std::ptrdiff_t m, const T* val,
                                               const I* colind, const Y& y)
{
    constexpr bool conjugate = Shape.conjugates();
    // The rows' parts of the list follow one another, so that the counts alone tell where each lies.
    const I* list = Shape.lower() ? b.row_list : b.row_list + b.kept;
    for (std::ptrdiff_t step = 0; step < m; ++step) {
        const std::ptrdiff_t i = Shape.lower() ? step : m - 1 - step, count = b.row_count[i];
        if constexpr (!Shape.lower()) list -= count;
        auto sum = Y::zero();
        for (std::ptrdiff_t k = 0; k < count; ++k) {
            const std::ptrdiff_t p = list[k] - std::ptrdiff_t{1};
            y.add(sum, conj_if<conjugate>(val[p]), colind[p]);
        }
        T diagonal{};
        if constexpr (!Shape.unit())
            if (b.diag_pos[i] > 0) diagonal = conj_if<conjugate>(val[b.diag_pos[i] - std::ptrdiff_t{1}]);
        finish<Shape>(y, static_cast<I>(i + base), sum, diagonal);
        if constexpr (Shape.lower()) list += count;
    }
}

template <tag Shape, class T, class I, class Y>
[[gnu::always_inline]] inline void solve_unfiled(I base, std::ptrdiff_t m, const entries<T, I>& a, const Y& y)
{
    for (std::ptrdiff_t step = 0; step < m; ++step) {
        const I row = static_cast<I>((Shape.lower() ? step : m - 1 - step) + base);
        auto sum = Y::zero();
        T diagonal{};
        for (std::ptrdiff_t k = a.begin; k < a.end; ++k) {
            if (a.rowind[k] != row) continue;
            const I col = a.colind[k];
            const T v = conj_if<Shape.conjugates()>(a.val[k]);
            if (Shape.lower() ? col < row : col > row) y.add(sum, v, col);
            else if (col == row) diagonal = v;
        }
        finish<Shape>(y, row, sum, diagonal);
    }
}

// The diagonal class: every entry on the diagonal divides its row. alpha is not read.
template <tag Shape, class T, class I, class Y>
[[gnu::always_inline]] inline void divide_rows(const entries<T, I>& a, const Y& y)
{
    for (std::ptrdiff_t k = a.begin; k < a.end; ++k)
        if (a.rowind[k] == a.colind[k])
            y.put(a.rowind[k], y.get(a.rowind[k]) / conj_if<Shape.conjugates()>(a.val[k]));
}

// `columns` calls what it is given with each operand in turn; the bucket serves all of them.
template <tag Shape, class T, class I, class Columns>
[[gnu::always_inline]] inline void solve(const entries<T, I>& a, std::ptrdiff_t m, I base, Columns&& columns)
{
    if constexpr (Shape.is('d')) columns([&](auto y) { divide_rows<Shape>(a, y); });
    else
        with_bucket<Shape>(base, m, a.rowind, a.colind, a.end, [&](const bucket<I>* b) {
            if (b != nullptr) columns([&](auto y) { solve_filed<Shape>(*b, base, m, a.val, a.colind, y); });
            else columns([&](auto y) { solve_unfiled<Shape>(base, m, a, y); });
        });
}

} // namespace vrn::spblas::coo
