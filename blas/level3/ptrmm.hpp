// blas/level3/ptrmm.hpp - the triangular product with deep updates.
//
// The same operation as TRMM in diagonal blocks of 512, so that B is met by products 512 deep, whose A goes in
// panels of 128 rows; TRMM does the blocks. Allocates the buffers of the products; without them, and for B of fewer
// than four columns, which such products would hardly use, TRMM does it all.
#pragma once

#include "blas/level3/trmm.hpp"

namespace vrn::blas::level3 {

template <class E>
void multiply_triangular_panels(const triangle<E>& t)
{
    if (t.order < 1 || t.items < 1) return;
    const vrn_int n = t.left ? t.items : t.order;
    if (n < 4 || t.alpha == E{}) return multiply_triangular(t);
    record<E> r(ptrmm_blocks);
    r.allocate(request_awb, limit_blocks);
    if (r.buffer == nullptr) return multiply_triangular(t);
    const vrn_int step = ptrmm_blocks.k;
    for (vrn_int i = (t.order - 1) / step * step; i >= 0; i -= step) {
        const vrn_int end = least(i + step, t.order);
        update(r, t.coupling(end, t.order, i, end, 0, t.items, t.alpha));
        multiply_triangular(t.part(i, end));
    }
}

} // namespace vrn::blas::level3
