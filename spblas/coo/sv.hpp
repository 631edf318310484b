// spblas/coo/sv.hpp - y := inv(A)*y or inv(conj(A))*y, A triangular or diagonal in COO; y holds the right-hand side.
// solve.hpp with one column. Neither alpha nor x is read. Allocates the row bucket, and does without where it must.
// Called by name through the generated exports.
#pragma once

#include "spblas/coo/solve.hpp"

namespace vrn::spblas::coo {

// Both bases share the body.
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sv(entries<T, I> a, std::ptrdiff_t m, I base, T* y)
{
    solve<Shape>(a, m, base, [&](auto&& f) { f(vector<T>{y}); });
}

template <class T, class I, tag Tag>
void sv_seq(const I* m, const I* /*n*/, const T* /*alpha*/, const T* val, const I* rowind, const I* colind,
            const I* nnz, const T* /*x*/, T* y)
{
    sv<Tag.canonical()>(entries<T, I>{val, rowind, colind, 0, *nnz}, *m, I{Tag.base}, based(y, Tag.base));
}

} // namespace vrn::spblas::coo
