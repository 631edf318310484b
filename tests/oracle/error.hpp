// tests/oracle/error.hpp - wider types, and the unit in which an error of a sum of products is told.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vrn::oracle {

template <class T>
struct wider;
template <>
struct wider<float> {
    using type = double;
};
template <>
struct wider<double> {
    using type = long double;
};
template <class R>
struct wider<std::complex<R>> {
    using type = std::complex<typename wider<R>::type>;
};
// The type an oracle computes in, and its real part.
template <class T>
using wide = typename wider<T>::type;
template <class T>
using wide_real = decltype(std::abs(wide<T>{}));

// How wrong is one element of alpha*A*B + beta*C? In units of gamma(k+2) * (|alpha|(|A||B|)_ij + |beta||C_ij|), with
// gamma(n) = nu/(1-nu) and u half an ulp of 1: at most 1 for a sound real kernel in any order of summation, 2 for
// complex (Higham 2002, ch. 3). The oracle's own rounding has its share in u. A NaN where one is due is no error.
template <class T>
double error_units(T got, wide<T> exact, wide_real<T> gauge, std::int64_t k)
{
    using W = wide_real<T>;
    using R = decltype(std::abs(T{}));
    if (std::isnan(std::abs(exact))) return std::isnan(std::abs(got)) ? 0 : HUGE_VAL;
    const W error = std::abs(wide<T>(got) - exact);
    if (error == 0) return 0;
    const W u = (W(std::numeric_limits<R>::epsilon()) + std::numeric_limits<W>::epsilon()) / 2;
    const W nu = static_cast<W>(k + 2) * u;
    const auto units = static_cast<double>(error / (nu / (1 - nu) * gauge));
    return std::isnan(units) ? HUGE_VAL : units;
}

} // namespace vrn::oracle
