// spblas/bsr/rows.hpp - block rows: block row i holds blocks pntrb[i] - pntrb[0] .. pntre[i] - pntrb[0] - 1.
// Block rows and block columns are zero-based here; block k begins at val[k*lb*lb].
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"
#include "spblas/tag.hpp"

// Where the elements of blocks and of dense operands lie.
namespace vrn::spblas {
enum class layout { columns, rows };
}

namespace vrn::spblas::bsr {

// By value into kernels: fields behind a reference are loaded anew for every row.
template <class T, class I>
struct matrix {
    const T* val;
    const I *indx, *pntrb, *pntre;
    std::ptrdiff_t origin, base, lb;

    matrix(const T* v, const I* j, const I* b, const I* e, std::ptrdiff_t index_base, std::ptrdiff_t side, bool any)
        : val(v), indx(j), pntrb(b), pntre(e), origin(any ? b[0] : 0), base(index_base), lb(side)
    {
    }
    std::ptrdiff_t begin(std::ptrdiff_t i) const { return pntrb[i] - origin; }
    std::ptrdiff_t end(std::ptrdiff_t i) const { return pntre[i] - origin; }
    std::ptrdiff_t col(std::ptrdiff_t k) const { return indx[k] - base; }
    const T* block(std::ptrdiff_t k) const { return val + k * lb * lb; }
};

// The distances from row to row and from column to column of a block.
struct steps {
    std::ptrdiff_t row, col;
    steps transposed() const { return {col, row}; }
};
template <layout L>
steps steps_of(std::ptrdiff_t lb)
{
    return L == layout::rows ? steps{lb, 1} : steps{1, lb};
}

} // namespace vrn::spblas::bsr
