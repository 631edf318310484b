// spblas/dia/sm.hpp - C := inv(op(A))*C, C by columns: on a range of columns for a triangular A in DIA, on all n for
// the diagonal class. solve.hpp on those columns. Called by name through the generated exports.
#pragma once

#include "spblas/dia/solve.hpp"

namespace vrn::spblas::dia {

template <class T, class I, tag Tag>
void sm_par(const I* first, const I* last, const I* m, const T* val, const I* lval, const I* idiag,
            const void* /*unread*/, T* c, const I* ldc, const I* dfirst, const I* dlast, const void* /*unread2*/,
            const I* dmain)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, ld = *ldc;
    solve<Tag.canonical()>(*m, val, *lval, idiag, *dfirst, *dlast, dmain, c + from * ld, ld, *last - from);
}

template <class T, class I, tag Tag>
void sm_diagonal(const I* m, const I* n, const T* val, const I* lval, const I* idiag, const I* ndiag, T* c,
                 const I* ldc)
{
    solve_diagonal<Tag.canonical()>(*m, val, *lval, idiag, *ndiag, c, *ldc, *n);
}

} // namespace vrn::spblas::dia
