// spblas/coo/sm.hpp - C := inv(A)*C or inv(conj(A))*C on a range of columns, A triangular or diagonal in COO.
// One row bucket for all columns, a few of which are solved at a time. alpha is not read. Allocates the bucket, and
// does without where it must. Called by name through the generated exports.
#pragma once

#include "spblas/coo/solve.hpp"

namespace vrn::spblas::coo {

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sm(entries<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t m,
                                        T* c, std::ptrdiff_t ldc)
{
    solve<Shape>(a, m, I{Shape.base}, [&](auto&& f) {
        over_columns<Shape.by_rows(), 4>(from, to, c, ldc, [&](auto y, std::ptrdiff_t) { f(y); });
    });
}

// Conjugating a real matrix changes nothing: the real names with op s share the bodies of those with n.
template <class T, class I, tag Tag>
void sm_par(const I* first, const I* last, const I* m, const I* /*n*/, const T* /*alpha*/, const T* val,
            const I* rowind, const I* colind, const I* nnz, T* c, const I* ldc)
{
    sm<folded<T>(Tag)>(entries<T, I>{val, rowind, colind, 0, *nnz}, *first - std::ptrdiff_t{1}, *last, *m,
                       based(c, Tag.base, Tag.by_rows() ? *ldc : 1), *ldc);
}

} // namespace vrn::spblas::coo
