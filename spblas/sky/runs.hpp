// spblas/sky/runs.hpp - skyline storage: line i of a triangular matrix as one dense run up to the diagonal.
// A line is a row of a lower triangle or a column of an upper one. Its run is val[pntr[i] - pntr[0] ..], the last
// element is the diagonal's place, those before it belong to the neighbours in front.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/imports.hpp"
#include "spblas/number.hpp"

namespace vrn::spblas::sky {

template <class T, class I>
struct run {
    const T* val;
    I size;
    I first; // the neighbour that val[0] belongs to
    T diagonal() const { return val[size - 1]; }
};

template <class T, class I>
run<T, I> line(const T* val, const I* pntr, I i)
{
    const I size = pntr[i + 1] - pntr[i];
    return {val + (pntr[i] - pntr[0]), size, static_cast<I>(i - size + 1)};
}

// Is op(A)*x a dot along each run? For a lower triangle as it stands and an upper one transposed; else runs scatter.
template <class I>
bool by_dots(I op, I uplo)
{
    return (op == 0) == (uplo == 0);
}

} // namespace vrn::spblas::sky
