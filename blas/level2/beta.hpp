// blas/level2/beta.hpp - y := beta y, the pass that level 2 makes over a result before it adds to it.
//
// beta one: y is not touched. beta zero: zeros are stored and y is not read, so a NaN in it vanishes. Any other beta:
// every element is multiplied, in blocks of 8. With incy zero the one element is multiplied n times over, in turn,
// as the published loop would; beta zero clears it. Nothing is allocated. Called by the entries of blas/level2 and
// blas/banded, each ahead of its own return for alpha zero.
#pragma once

#include "blas/level1/scal.hpp"

namespace vrn::blas {

struct clear_op : reads_both {
    static constexpr bool reads_x = false, reads_y = false;
    template <class V>
    void operator()(const V&, V& y) const
    {
        y = V{};
    }
};

using beta_blocks = steps<8>;

// Elements are computed alone, so unaligned blocks cost a test less and give the same bits.
template <class Op, class E, class... Scalars>
[[gnu::always_inline]] inline void beta_update(vrn_int n, E* y, vrn_int incy, Scalars... scalars)
{
    if (incy == 1) update_unit<false, false, beta_blocks, Op>(n, y, y, scalars...);
    else update_strided<beta_blocks, Op>(n, y, incy, y, incy, scalars...);
}

// A complex y may take a real beta.
template <class E, class A>
[[gnu::noinline]] void apply_beta(vrn_int n, A beta, E* y, vrn_int incy)
{
    if (beta == simd::unity<A>) return;
    if (beta == A{}) beta_update<clear_op>(n, y, incy);
    else beta_update<scal_op<E, A>>(n, y, incy, beta);
}

} // namespace vrn::blas
