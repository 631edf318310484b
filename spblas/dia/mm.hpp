// spblas/dia/mm.hpp - C := C + alpha*op(A)*B on a range of columns, A in DIA, B and C by columns. beta is not read:
// the caller has applied it. product.hpp on those columns. Called by name through the generated exports.
#pragma once

#include "spblas/dia/product.hpp"

namespace vrn::spblas::dia {

template <class T, class I, tag Tag>
void mm_par(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val, const I* lval,
            const I* idiag, const I* ndiag, const T* b, const I* ldb, const T* /*beta*/, T* c, const I* ldc)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, lb = *ldb, lc = *ldc;
    product<Tag.canonical()>(matrix<T, I>{*m, *n, val, *lval, idiag, *ndiag},
                             operands<T>{*alpha, b + from * lb, lb, c + from * lc, lc, *last - from});
}

} // namespace vrn::spblas::dia
