// tests/oracle/level3.hpp - triangular and symmetric matrices by their definitions: what element (i, j) of the whole
// matrix is where one triangle is stored, and the residual of a solve.
#pragma once

#include "tests/oracle/gemm.hpp"

namespace vrn::oracle {

template <class T>
T conjugate(T x)
{
    if constexpr (std::is_same_v<T, wide_real<T>> || std::is_floating_point_v<T>) return x;
    else return std::conj(x);
}

enum class filling { triangular, unit, symmetric, hermitian };

// Element (i, j) of the matrix whose upper or lower triangle is stored.
template <class T, class A>
T element_of(filling f, bool upper, A&& stored, std::int64_t i, std::int64_t j)
{
    const bool held = i == j || (i < j) == upper;
    if (i == j && f == filling::unit) return T(1);
    if (i == j && f == filling::hermitian) return T(std::real(stored(i, i)));
    if (held) return stored(i, j);
    if (f == filling::symmetric) return stored(j, i);
    return f == filling::hermitian ? conjugate(T(stored(j, i))) : T(0);
}

// Element (i, j) of op(X).
template <class T, class X>
T op(char letter, X&& x, std::int64_t i, std::int64_t j)
{
    const char l = static_cast<char>(letter & ~0x20);
    if (l == 'N') return x(i, j);
    return l == 'C' ? conjugate(T(x(j, i))) : T(x(j, i));
}

// How far x is from solving sum over k of t(k) x(k) = alpha b: backward, in units of the bound for substitution in
// any order (Higham 2002, theorem 8.5), one rounding more for alpha and one for the reciprocal.
template <class T, class M, class X>
double residual_units(std::int64_t n, M&& t, X&& x, T alpha, T b)
{
    wide<T> rest = wide<T>(alpha) * wide<T>(b);
    wide_real<T> size = std::abs(rest);
    for (std::int64_t k = 0; k < n; ++k) {
        const wide<T> product = wide<T>(t(k)) * wide<T>(x(k));
        rest -= product;
        size += std::abs(product);
    }
    return error_units(T(0), rest, size, n + 1);
}

} // namespace vrn::oracle
