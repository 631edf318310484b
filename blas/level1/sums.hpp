// blas/level1/sums.hpp - the one order of summation of the dots and the sums of magnitudes.
//
// Four vector accumulators a0 .. a3 take the vectors of a block in turn, short of a block a0 takes them alone, and
// the sum is (a1 + a0) + (a2 + a3), then across the lanes, then single elements one by one. Four, because an add
// takes three to four cycles and one or two start each cycle. No alignment is tested: loads are unaligned
// throughout, so the same numbers give the same bits at any address.
#pragma once

#include "blas/level1/update.hpp"

namespace vrn::blas {

template <class V>
struct four_sums {
    V a0 = V::zero(), a1 = V::zero(), a2 = V::zero(), a3 = V::zero();

    template <int I>
    [[gnu::always_inline]] void add(V v)
    {
        V& a = I % 4 == 0 ? a0 : I % 4 == 1 ? a1 : I % 4 == 2 ? a2 : a3;
        a = a + v;
    }
    V total() const { return (a1 + a0) + (a2 + a3); }
};

// Terms: type V, V group(i) of the V::lanes/parts elements from i on, scalar single(i) of element i.
// Blocks of `Block` elements, then steps of `Step` elements where one is given, then single elements.
template <int Block, int Step, class Terms>
[[gnu::always_inline]] inline auto sum_in_four(vrn_int n, const Terms& terms,
                                               four_sums<typename Terms::V> sums = {})
{
    constexpr int per = Terms::per_group;
    vrn_int i = 0;
    for (; n - i >= Block; i += Block)
        unroll<Block / per>([&](auto g) __attribute__((always_inline)) {
            sums.template add<g>(terms.group(i + g * per));
        });
    if constexpr (Step != 0)
        for (; n - i >= Step; i += Step)
            unroll<Step / per>([&](auto g) __attribute__((always_inline)) {
                sums.template add<0>(terms.group(i + g * per));
            });
    auto sum = sums.total().sum();
    for (; i < n; ++i) sum = sum + terms.single(i);
    return sum;
}

template <class Terms>
auto sum_singly(vrn_int n, const Terms& terms)
{
    typename Terms::V::scalar sum = 0;
    for (vrn_int i = 0; i < n; ++i) sum = sum + terms.single(i);
    return sum;
}

} // namespace vrn::blas
