// blas/level2/ger.hpp - A := alpha x y^T + A, or x y^H. Instantiated by ger.cpp.
//
// A strided x goes in blocks of 512 rows through a buffer on the stack. With a unit stride there is no slice to copy
// and columns are taken whole: cut in two, columns of 1000 doubles in the last-level cache run at 34 GB/s and not
// at 39. Columns four at a time share the loads of x. Each element is computed alone as a_ij + (alpha y_j) x_i, so
// neither blocks nor alignment show in the result. Nothing is allocated.
#pragma once

#include "blas/level2/staging.hpp"
#include "blas/level2/update.hpp"

namespace vrn::blas {

inline constexpr vrn_int ger_rows = 512;
inline constexpr int ger_columns = 4;

template <bool Conj, bool Aligned, class E>
[[gnu::noinline, gnu::flatten]] void ger_block(vrn_int rows, vrn_int n, E alpha, const E* x, const E* y, vrn_int incy,
                                               E* a, vrn_int lda)
{
    column_groups<ger_columns>(
        n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
            E t[columns];
            for (int c = 0; c < columns; ++c) {
                const E yj = y[(j + c) * incy];
                if constexpr (Conj) t[c] = alpha * conj(yj);
                else t[c] = alpha * yj;
            }
            update_columns<columns, false, Aligned>({0, rows}, stream<true, E>{x, 1}, t, stream<true, E>{x, 1}, t,
                                                    a + j * lda, lda);
        });
}

template <bool Conj, class E>
[[gnu::always_inline]] inline void ger(vrn_int m, vrn_int n, E alpha, const E* x, vrn_int incx, const E* y,
                                       vrn_int incy, E* a, vrn_int lda)
{
    if (m <= 0 || n <= 0 || alpha == E{}) return;
    alignas(64) E staged[ger_rows];
    x = vector_begin(x, m, incx);
    y = vector_begin(y, n, incy);
    blocks_of(m, incx == 1 ? m : ger_rows, [&](vrn_int i, vrn_int rows) {
        const E* slice = x + i * incx;
        if (incx != 1) {
            copy_in(rows, slice, incx, staged);
            slice = staged;
        }
        const auto block = aligned_columns(a + i, lda) ? ger_block<Conj, true, E> : ger_block<Conj, false, E>;
        block(rows, n, alpha, slice, y, incy, a + i, lda);
    });
}

} // namespace vrn::blas
