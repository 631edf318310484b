// blas/level1/asum.hpp - sum of magnitudes, |re| + |im| for complex elements. Instantiated by asum.cpp.
// The order of summation is that of sums.hpp; the sign bit is masked off.
#pragma once

#include "blas/level1/sums.hpp"

#include <cmath>

namespace vrn::blas {

// Elements in a block; other strides take blocks from that length on, and are summed singly below it.
template <class E>
struct asum_blocks;
template <>
struct asum_blocks<double> {
    static constexpr int unit = 16, strided = 16, step = 2;
};
template <>
struct asum_blocks<float> {
    static constexpr int unit = 32, strided = 32, step = 4;
};
template <class R>
struct asum_blocks<cplx<R>> {
    static constexpr int strided = 8, step = 2;
};

template <class R, bool Unit>
struct magnitudes {
    using V = vec<R>;
    static constexpr int per_group = V::lanes;
    const R* x;
    vrn_int incx;
    [[gnu::always_inline]] V group(vrn_int i) const
    {
        if constexpr (Unit) return abs(V::loadu(x + i));
        return abs(V::gather(x + i * incx, incx));
    }
    [[gnu::always_inline]] R single(vrn_int i) const { return std::fabs(x[i * incx]); }
};

template <class R>
struct complex_magnitudes {
    using V = vec<R>;
    static constexpr int per_group = per_vec<cplx<R>>;
    const cplx<R>* x;
    vrn_int incx;
    [[gnu::always_inline]] V group(vrn_int i) const
    {
        const R* first = &x[i * incx].re;
        if constexpr (per_group == 1) return abs(V::loadu(first));
        else return abs(V::halves(first, first + 2 * incx));
    }
    [[gnu::always_inline]] R single(vrn_int i) const { return abs1(x[i * incx]); }
};

template <class R>
[[gnu::noinline]] R strided_asum(vrn_int n, const R* x, vrn_int incx)
{
    using blocks = asum_blocks<R>;
    const magnitudes<R, false> terms{vector_begin(x, n, incx), incx};
    if (n < blocks::strided) return sum_singly(n, terms);
    return sum_in_four<blocks::strided, blocks::step>(n, terms);
}

template <class R>
[[gnu::noinline]] R strided_asum(vrn_int n, const cplx<R>* x, vrn_int incx)
{
    using blocks = asum_blocks<cplx<R>>;
    return sum_in_four<blocks::strided, blocks::step>(n, complex_magnitudes<R>{vector_begin(x, n, incx), incx});
}

template <class R>
[[gnu::always_inline]] inline R asum(vrn_int n, const R* x, vrn_int incx)
{
    using blocks = asum_blocks<R>;
    if (n < 1) return 0;
    if (incx != 1) return strided_asum(n, x, incx);
    return sum_in_four<blocks::unit, blocks::step>(n, magnitudes<R, true>{x, 1});
}

// At unit stride twice as many reals.
template <class R>
[[gnu::always_inline]] inline R asum(vrn_int n, const cplx<R>* x, vrn_int incx)
{
    if (incx == 1) return asum(2 * n, &x->re, 1);
    return n < 1 ? 0 : strided_asum(n, x, incx);
}

} // namespace vrn::blas
