// tests/oracle/level1.hpp - level 1 from its definitions: plain loops over logical elements 0 .. n-1.
//
// What is computed element by element is computed in the element's own precision, product by product, since its bits
// are defined. Sums whose order is defined are walked in that order, one scalar at a time.
#pragma once

#include "tests/oracle/error.hpp"

#include <complex>
#include <cstdint>
#include <vector>

namespace vrn::oracle {

template <class E>
struct part {
    using type = E;
};
template <class R>
struct part<std::complex<R>> {
    using type = R;
};
template <class E>
using part_t = typename part<E>::type;
template <class E>
inline constexpr bool is_complex = !std::is_same_v<E, part_t<E>>;

// The four real products; std::complex's own operator treats infinities in its own way.
template <class R>
R times(R a, R b)
{
    return a * b;
}
template <class R>
std::complex<R> times(std::complex<R> a, std::complex<R> b)
{
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}
template <class R>
std::complex<R> times(R a, std::complex<R> b)
{
    return {a * b.real(), a * b.imag()};
}

template <class R>
R cabs1(R a)
{
    return std::fabs(a);
}
template <class R>
R cabs1(std::complex<R> a)
{
    return std::fabs(a.real()) + std::fabs(a.imag());
}

// How a defined sum is split: `lanes` numbers to a vector, blocks of `block` elements over four accumulators, then
// vectors into the first accumulator where `vectors` says so, then single elements.
struct summation {
    int lanes, block;
    bool vectors;
};

// Lanes are added upper half to lower half until one is left.
template <class T>
T across(std::vector<T> v)
{
    for (std::size_t half = v.size() / 2; half > 0; half /= 2)
        for (std::size_t l = 0; l < half; ++l) v[l] = v[l] + v[l + half];
    return v[0];
}

template <class T>
T walk_sum(const std::vector<T>& terms, summation how, T start = 0)
{
    const std::size_t lanes = static_cast<std::size_t>(how.lanes), block = static_cast<std::size_t>(how.block);
    std::vector<T> a[4];
    for (auto& v : a) v.assign(lanes, T{0});
    a[0][0] = start;
    std::size_t i = 0;
    while (terms.size() - i >= block)
        for (std::size_t vector = 0; vector < block / lanes; ++vector)
            for (std::size_t l = 0; l < lanes; ++l, ++i) a[vector % 4][l] = a[vector % 4][l] + terms[i];
    while (how.vectors && terms.size() - i >= lanes)
        for (std::size_t l = 0; l < lanes; ++l, ++i) a[0][l] = a[0][l] + terms[i];
    std::vector<T> total(lanes);
    for (std::size_t l = 0; l < lanes; ++l) total[l] = (a[1][l] + a[0][l]) + (a[2][l] + a[3][l]);
    T sum = across(total);
    for (; i < terms.size(); ++i) sum = sum + terms[i];
    return sum;
}

// The scaled form: scale^2 * ssq is the sum of squares.
inline double scaled_norm(const std::vector<double>& x)
{
    double scale = 0, ssq = 1;
    for (const double v : x) {
        const double a = std::fabs(v);
        if (a == 0) continue;
        if (a > scale) {
            ssq = 1 + ssq * (scale / a) * (scale / a);
            scale = a;
        } else {
            ssq = ssq + (a / scale) * (a / scale);
        }
    }
    return scale * std::sqrt(ssq);
}

} // namespace vrn::oracle
