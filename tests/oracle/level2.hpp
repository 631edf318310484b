// tests/oracle/level2.hpp - the matrices of level 2 by their logical elements. `stored` gives an element as it lies
// in the caller's array.
#pragma once

#include "tests/oracle/gemm.hpp"

namespace vrn::oracle {

template <class T>
T conjugate(T x)
{
    if constexpr (std::is_same_v<T, decltype(std::abs(T{}))>) return x;
    else return std::conj(x);
}

inline bool within(char uplo, std::int64_t i, std::int64_t j) { return uplo == 'L' ? i >= j : i <= j; }

// Symmetric, or Hermitian in complex types: one triangle is stored and the diagonal is real.
template <class T, class A>
T mirrored(char uplo, std::int64_t i, std::int64_t j, A&& stored)
{
    if (i == j) return std::real(stored(i, i));
    return within(uplo, i, j) ? stored(i, j) : conjugate<T>(stored(j, i));
}

template <class T, class A>
T triangular(char uplo, char diag, std::int64_t i, std::int64_t j, A&& stored)
{
    if (i == j && diag == 'U') return T(1);
    return within(uplo, i, j) ? stored(i, j) : T{};
}

// Element (i, j) of op(A).
template <class T, class A>
T op(char trans, std::int64_t i, std::int64_t j, A&& a)
{
    return trans == 'N' ? a(i, j) : trans == 'C' ? conjugate<T>(a(j, i)) : a(j, i);
}

} // namespace vrn::oracle
