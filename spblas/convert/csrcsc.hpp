// spblas/convert/csrcsc.hpp - CSR to CSC and back, of a square matrix: the same transposition either way.
//
//     job[0]  0 from (acsr, ja, ia) to (acsc, ja1, ia1), else back
//     job[1], job[2]  base of the source and of the target
//     job[5]  0 the pattern alone
//
// Counts columns, sums, scatters row by row (Gustavson 1978), so that target lines come out sorted whether the
// source's are or not. Dimensions, bases and counters are 32 bits wide in both sets: more is not supported here.
// Called by name through the generated exports, and by products over a transposed copy, which count in their own
// width.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"

#include <cstdint>

namespace vrn::spblas::convert {

// Entries land all over the target: where one of the next will is asked for this many entries ahead, which takes a
// third of the time of waiting where lines lie anywhere, and three quarters on a mesh.
inline constexpr int places_ahead = 32;

// (b, jb, ib) := transpose of (a, ja, ia), which has m rows and n columns. C is the integer that counts.
template <bool Values, class C, class T, class I>
void transpose(C m, C n, C from, C to, const T* a, const I* ja, const I* ia, T* b, I* jb, I* ib)
{
    const auto origin = static_cast<C>(ia[0]), count = static_cast<C>(static_cast<C>(ia[m]) - origin);
    // Counted one place on; there the starts stand too, so that placing leaves each line's end where it belongs.
    auto counter = [&](C k) -> I& { return ib[static_cast<C>(ja[k]) - from + 1]; };
    for (C j = 0; j <= n; ++j) ib[j] = 0;
    for (C k = 0; k < count; ++k) ++counter(k);
    ib[0] = to;
    C start = to;
    for (C j = 1; j <= n; ++j) {
        const auto size = static_cast<C>(ib[j]);
        ib[j] = start, start += size;
    }
    jb = based(jb, to), b = based(b, to);
    for (C i = 0; i < m; ++i)
        for (C k = static_cast<C>(ia[i]) - origin, end = static_cast<C>(ia[i + 1]) - origin; k < end; ++k) {
            if (k < count - places_ahead) {
                const auto soon = static_cast<C>(counter(k + places_ahead));
                simd::prefetch(jb + soon);
                if constexpr (Values) simd::prefetch(b + soon);
            }
            const auto at = static_cast<C>(counter(k)++);
            jb[at] = i + to;
            if constexpr (Values) b[at] = a[k];
        }
}

template <class T, class I>
void csrcsc(const I* job, const I* m, T* acsr, I* ja, I* ia, T* acsc, I* ja1, I* ia1, I* info)
{
    const auto n = static_cast<std::int32_t>(*m);
    const auto from = static_cast<std::int32_t>(job[1]), to = static_cast<std::int32_t>(job[2]);
    const bool values = static_cast<std::int32_t>(job[5]) != 0;
    *info = 0;
    auto convert = [&](const T* a, const I* j, const I* i, T* b, I* jb, I* ib) {
        if (values) transpose<true>(n, n, from, to, a, j, i, b, jb, ib);
        else transpose<false>(n, n, from, to, a, j, i, b, jb, ib);
    };
    if (job[0] == 0) convert(acsr, ja, ia, acsc, ja1, ia1);
    else convert(acsc, ja1, ia1, acsr, ja, ia);
}

} // namespace vrn::spblas::convert
