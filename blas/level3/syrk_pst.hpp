// blas/level3/syrk_pst.hpp - the rank update in stripes of 32 columns.
//
// The square of a stripe on the diagonal is computed whole into a scratch area, of which the triangle is added to C;
// the rectangle beside it goes to the matrix product. Allocates the scratch, of one size for every type; without it
// updates by plain loops.
// Called by SYRK and HERK without depth, where it only scales, and by the host.
#pragma once

#include "blas/level3/syrk.hpp"

namespace vrn::blas::level3 {

template <kind K, class E>
void rank_update_pst(const rank_update<E>& u)
{
    const triangle_of_c<E>& t = u.t;
    const bool adds = u.k > 0 && !(u.alpha == E{});
    if (t.n < 1 || (!adds && u.beta == one<E>)) return;
    const scratch area(pst_bytes, scratch_align);
    // ZSYRK alone does not tell: its callers have asked for the memory on someone else's behalf and tell it there.
    constexpr bool tells = K == kind::hermitian || !std::is_same_v<E, cplx<double>>;
    const char* const name = K == kind::hermitian ? engine<E>::herk : engine<E>::syrk;
    const bool usable = tells ? have(area.get(), name) : vrn_serv_check_ptr(area.get(), name, std::int64_t{5}) == 0;
    if (!usable) return syrk::unblocked<K>(u);

    scale_triangle<K>(t, u.beta);
    if (!adds) return;
    E* const square = static_cast<E*>(area.get());
    for (vrn_int j = 0; j < t.n; j += pst_stripe) {
        const vrn_int width = least(pst_stripe, t.n - j);
        multiply(syrk::rectangle<K>(u, j, j, width, width, E{}, square, pst_ld));
        take_triangle<K, false>(t.part(j, width), square, pst_ld);
        const vrn_int first = t.upper ? 0 : j + width, rows = t.upper ? j : t.n - first;
        multiply(syrk::rectangle<K>(u, first, j, rows, width, one<E>, t.c + first + j * t.ldc, t.ldc));
    }
}

} // namespace vrn::blas::level3
