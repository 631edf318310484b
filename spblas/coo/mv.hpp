// spblas/coo/mv.hpp - y := y + alpha*A*x or y + alpha*conj(A)*x, A in COO. There is no beta: the caller has applied
// it. The general and the triangular class do all nnz entries and do not read the range; the two-sided classes do the
// entries first..last and do not read nnz. A unit diagonal is added over all m rows in the same call, whatever the
// range. Nothing is allocated. Called by name through the generated exports.
#pragma once

#include "spblas/coo/entries.hpp"
#include "spblas/imports.hpp"

namespace vrn::spblas::coo {

// Both bases share the body: x and y come shifted by the base.
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void mv(entries<T, I> a, std::ptrdiff_t m, I base, T alpha, const T* x, T* y)
{
    add_entries<Shape>(a, alpha, in_registers<vector<const T>, vector<T>>{{x}, {y}});
    if constexpr (Shape.unit()) add_line(m, alpha, x + base, y + base);
}

template <class T, class I, tag Tag>
void mv_par(const I* first, const I* last, const I* m, const I* /*n*/, const T* alpha, const T* val, const I* rowind,
            const I* colind, const I* nnz, const T* x, T* y)
{
    entries<T, I> a{val, rowind, colind, 0, 0};
    if constexpr (Tag.two_sided()) a.begin = *first - std::ptrdiff_t{1}, a.end = *last;
    else a.end = *nnz;
    const I base = Tag.base;
    mv<Tag.canonical()>(a, *m, base, *alpha, based(x, base), based(y, base));
}

template <class T, class I, tag Tag>
void mv_seq(const I* m, const I* /*n*/, const T* alpha, const T* val, const I* rowind, const I* colind, const I* nnz,
            const T* x, T* y)
{
    const I base = Tag.base, one = 1;
    if constexpr (Tag.unit()) axpy(m, alpha, x, &one, y, &one);
    else
        mv<Tag.canonical()>(entries<T, I>{val, rowind, colind, 0, *nnz}, *m, base, *alpha, based(x, base),
                            based(y, base));
}

} // namespace vrn::spblas::coo
