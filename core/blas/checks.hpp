// core/blas/checks.hpp - the words that the checks and early outs in the table of routines are written in. Read by
// the generated entries of the host and of the standard interfaces, which name their arguments alike.
#pragma once

#include "vrn/blas.h"

#include <cstddef>
#include <cstdint>

namespace vrn::blas {

constexpr char upper(char letter) { return static_cast<char>(letter & ~0x20); }
constexpr bool is_normal(const char* trans) { return upper(*trans) == 'N'; }
constexpr bool is_left(const char* side) { return upper(*side) == 'L'; }

// Whether an option is one of some letters, in either case. Only its first byte counts, as published.
template <std::size_t N>
constexpr bool is_one_of(const char* option, const char (&letters)[N])
{
    bool found = false;
    for (std::size_t i = 0; i + 1 < N; ++i) found |= upper(*option) == letters[i];
    return found;
}

constexpr std::int64_t at_least_one(std::int64_t rows) { return rows < 1 ? 1 : rows; }

template <class T>
constexpr bool is_zero(T a)
{
    return a == T{};
}
template <class T>
constexpr bool is_one(T a)
{
    return a == T{1};
}
inline bool is_zero(vrn_complex8 a) { return a.real == 0 && a.imag == 0; }
inline bool is_zero(vrn_complex16 a) { return a.real == 0 && a.imag == 0; }
inline bool is_one(vrn_complex8 a) { return a.real == 1 && a.imag == 0; }
inline bool is_one(vrn_complex16 a) { return a.real == 1 && a.imag == 0; }

} // namespace vrn::blas

using vrn::blas::at_least_one;
using vrn::blas::is_left;
using vrn::blas::is_normal;
using vrn::blas::is_one;
using vrn::blas::is_one_of;
using vrn::blas::is_zero;
