// spblas/dia/sv.hpp - y := inv(op(A))*y, A triangular or diagonal in DIA. solve.hpp with one column. Called by name
// through the generated exports.
#pragma once

#include "spblas/dia/solve.hpp"

namespace vrn::spblas::dia {

template <class T, class I, tag Tag>
void sv_seq(const I* m, const T* val, const I* lval, const I* idiag, T* y, const I* dfirst, const I* dlast,
            const void* /*unread*/, const I* dmain)
{
    solve<Tag.canonical()>(*m, val, *lval, idiag, *dfirst, *dlast, dmain, y, 0, 1);
}

template <class T, class I, tag Tag>
void sv_diagonal(const I* m, const T* val, const I* lval, const I* idiag, const I* ndiag, T* y)
{
    solve_diagonal<Tag.canonical()>(*m, val, *lval, idiag, *ndiag, y, 0, 1);
}

} // namespace vrn::spblas::dia
