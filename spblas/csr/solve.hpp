// spblas/csr/solve.hpp - where the triangle of a row begins and ends, for sv.hpp and sm.hpp.
// Rows are sorted. What a scan stops at is taken for the diagonal without a further test, so a matrix whose diagonal
// is read must hold one in every row; one with a unit diagonal need not. No scan leaves its row.
#pragma once

#include "spblas/columns.hpp"
#include "spblas/csr/dot.hpp"

namespace vrn::spblas::csr {

// Row blocks. They change no result, rows being visited in one order throughout.
template <int Base>
inline constexpr std::ptrdiff_t transposed_upper_block = Base == 0 ? 2000 : 10000; // of sv, by its base
inline constexpr std::ptrdiff_t upper_block = 2000, lower_block = 10000;           // of sm

// How many entries of a sorted row lie below the diagonal. A row that ends at the diagonal, as in a matrix that
// stores its lower triangle alone, is told without a walk.
template <class T, class I>
[[gnu::always_inline]] inline std::ptrdiff_t below(const row<T, I>& r, I self)
{
    const std::ptrdiff_t last = r.size - 1;
    if (last > 0 && r.indx[last] == self && r.indx[last - 1] < self) return last;
    std::ptrdiff_t k = 0;
    while (k < r.size && r.indx[k] < self) ++k;
    return k;
}

// The diagonal entry's place, and the off-diagonal entries of the triangle, begin..end-1.
struct triangle_part {
    std::ptrdiff_t diagonal, begin, end;
};

template <tag Shape, class T, class I>
[[gnu::always_inline]] inline triangle_part part_of(const row<T, I>& r, I self)
{
    if constexpr (Shape.lower() && Shape.transposes()) {
        // Backward, past everything above the diagonal.
        std::ptrdiff_t k = r.size - 1;
        while (k >= 0 && r.indx[k] > self) --k;
        if constexpr (!Shape.unit()) return {k, 0, k};
        return {k, 0, k >= 0 && r.indx[k] == self ? k : k + 1};
    } else {
        const std::ptrdiff_t k = below(r, self);
        if constexpr (Shape.lower()) return {k, 0, k};
        if constexpr (!Shape.unit()) return {k, k + 1, r.size};
        return {k, k < r.size && r.indx[k] == self ? k + 1 : k, r.size};
    }
}

} // namespace vrn::spblas::csr
