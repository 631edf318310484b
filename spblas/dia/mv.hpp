// spblas/dia/mv.hpp - y := y + alpha*op(A)*x, A in DIA. There is no beta: the caller has applied it. The range is not
// read, all is done. product.hpp with one column. Called by name through the generated exports.
#pragma once

#include "spblas/dia/product.hpp"

namespace vrn::spblas::dia {

template <class T, class I, tag Tag>
void mv_par(const I* /*first*/, const I* /*last*/, const I* m, const I* n, const T* alpha, const T* val,
            const I* lval, const I* idiag, const I* ndiag, const T* x, T* y)
{
    product<Tag.canonical()>(matrix<T, I>{*m, *n, val, *lval, idiag, *ndiag}, operands<T>{*alpha, x, 0, y, 0, 1});
}

} // namespace vrn::spblas::dia
