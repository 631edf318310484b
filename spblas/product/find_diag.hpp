// spblas/product/find_diag.hpp - which diagonals of a sorted idiag make the strict triangle, and which the triangle
// with its main diagonal: the ranges that solves in DIA want. One-based and inclusive, so that an empty one ends
// before it begins. A non-unit matrix without a main diagonal is what flag -1 tells. Called by name through the
// generated exports.
#pragma once

#include "spblas/arguments.hpp"

namespace vrn::spblas::product {

template <class I, char Triangle, char Diagonal>
void find_diag_par(const I* idiag, const I* ndiag, I* strict_first, I* strict_last, I* full_first, I* full_last,
                   I* flag)
{
    const I count = *ndiag;
    I pos = 1; // the first diagonal that is not below the main one
    while (pos <= count && idiag[pos - 1] < 0) ++pos;
    const bool missing = pos > count || idiag[pos - 1] != 0;
    *flag = Diagonal == 'n' && missing ? -1 : 0;
    if constexpr (Triangle == 'l') {
        *strict_first = *full_first = 1;
        // A unit triangle without a main diagonal ends at pos: the solve tests what it meets there.
        *strict_last = Diagonal == 'u' && missing ? pos : pos - 1;
        *full_last = pos;
    } else {
        *strict_first = Diagonal == 'n' && pos + 1 > count ? count : pos + 1;
        *full_first = pos;
        *strict_last = *full_last = count;
    }
}

} // namespace vrn::spblas::product
