// blas/sparsevec/sparsevec.hpp - level 1 with a compressed vector: nz values x and their one-based places indx in a
// dense y. Instantiated by exports.cpp. Elements go in pairs, one after the other within a pair, so that a place
// given twice is met twice. Nothing is allocated.
#pragma once

#include "blas/level1/sums.hpp"

namespace vrn::blas::sparsevec {

// body(i, turn) for every element: turn 0 and 1 within a pair, and 0 for a last one.
template <class Body>
[[gnu::always_inline]] inline void in_pairs(vrn_int nz, Body body)
{
    constexpr std::integral_constant<int, 0> even;
    constexpr std::integral_constant<int, 1> odd;
    vrn_int i = 0;
    for (; i + 1 < nz; i += 2) {
        body(i, even);
        body(i + 1, odd);
    }
    if (i < nz) body(i, even);
}

// y[indx] += alpha x
template <class E>
void axpyi(vrn_int nz, E alpha, const E* x, const vrn_int* indx, E* y)
{
    if (alpha == E{}) return;
    in_pairs(nz, [&](vrn_int i, auto) {
        E& to = y[indx[i] - 1];
        to = to + alpha * x[i];
    });
}

// Two sums, of even and of odd elements: one would wait for itself. Without elements 0.
template <bool Conjugate, class E>
E doti(vrn_int nz, const E* x, const vrn_int* indx, const E* y)
{
    E sum[2] = {};
    in_pairs(nz, [&](vrn_int i, auto turn) {
        E xi = x[i];
        if constexpr (Conjugate) xi = conj(xi);
        sum[turn] = sum[turn] + xi * y[indx[i] - 1];
    });
    return sum[0] + sum[1];
}

struct gathered_products {
    using V = vec<double>;
    static constexpr int per_group = 2;
    const double* x;
    const vrn_int* indx;
    const double* y;
    [[gnu::always_inline]] V group(vrn_int i) const
    {
        const double* first = y + indx[i] - 1;
        return V::loadu(x + i) * V::gather(first, indx[i + 1] - indx[i]);
    }
    [[gnu::always_inline]] double single(vrn_int i) const { return x[i] * y[indx[i] - 1]; }
};

// Eight elements a turn in the four accumulators of the dense dot.
inline double ddoti(vrn_int nz, const double* x, const vrn_int* indx, const double* y)
{
    return nz < 1 ? 0 : sum_in_four<8, 0>(nz, gathered_products{x, indx, y});
}

// x := y[indx]; with Clear each place becomes 0 as soon as it is read.
template <bool Clear, class E>
void gather(vrn_int nz, std::conditional_t<Clear, E, const E>* y, E* x, const vrn_int* indx)
{
    in_pairs(nz, [&](vrn_int i, auto) {
        auto& from = y[indx[i] - 1];
        x[i] = from;
        if constexpr (Clear) from = E{};
    });
}

// y[indx] := x
template <class E>
void scatter(vrn_int nz, const E* x, const vrn_int* indx, E* y)
{
    in_pairs(nz, [&](vrn_int i, auto) { y[indx[i] - 1] = x[i]; });
}

// (x, y[indx]) := (c x + s y[indx], c y[indx] - s x)
template <class R>
void roti(vrn_int nz, R* x, const vrn_int* indx, R* y, R c, R s)
{
    if (c == 1 && s == 0) return;
    in_pairs(nz, [&](vrn_int i, auto) {
        const R xi = x[i], yi = y[indx[i] - 1];
        x[i] = c * xi + s * yi;
        y[indx[i] - 1] = c * yi - s * xi;
    });
}

} // namespace vrn::blas::sparsevec
