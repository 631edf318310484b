// blas/level2/gem2v.hpp - z := alpha A x + beta z and w := alpha op(A) y + beta w in one pass over A, op the
// transpose, for complex types the conjugate transpose. Instantiated by gem2v.cpp.
//
// beta multiplies both results as scal does, so beta zero does not remove a NaN. A few columns go one by one, as axpy
// and dot. Otherwise groups of columns are added to z and multiplied with y while they are in registers; how many,
// goes by the length of the columns. Strided vectors go by blocks through stack buffers. Nothing is allocated.
#pragma once

#include "blas/level1/axpy.hpp"
#include "blas/level1/dot.hpp"
#include "blas/level1/scal.hpp"
#include "blas/level2/columns.hpp"
#include "blas/level2/staging.hpp"

namespace vrn::blas {

inline constexpr vrn_int gem2v_few = 4; // columns: less than these do not fill a group

// Four at every length: groups of two or eight real columns, of one or two complex ones, were slower from m = 10 to
// 1000, so the length of the columns chooses nothing.
inline constexpr int gem2v_group = 4;

template <class E>
[[gnu::noinline]] void gem2v_columns(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, vrn_int incx,
                                     const E* y, vrn_int incy, E* z, vrn_int incz, E* w, vrn_int incw)
{
    x = vector_begin(x, n, incx);
    w = vector_begin(w, n, incw);
    for (vrn_int j = 0; j < n; ++j, a += lda, x += incx, w += incw) {
        axpy<E>(m, alpha * *x, a, 1, z, incz);
        if constexpr (simd::element<E>::parts == 2) *w = *w + alpha * complex_dot<true>(m, a, 1, y, incy);
        else *w = *w + alpha * dot(m, a, 1, y, incy);
    }
}

template <class E>
[[gnu::noinline]] void gem2v_staged(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, vrn_int incx,
                                    const E* y, vrn_int incy, E* z, vrn_int incz, E* w, vrn_int incw)
{
    alignas(64) E x_part[staged_columns], w_part[staged_columns], y_part[staged_rows], z_part[staged_rows];
    x = vector_begin(x, n, incx);
    y = vector_begin(y, m, incy);
    z = vector_begin(z, m, incz);
    w = vector_begin(w, n, incw);
    blocks_of(n, staged_columns, [&](vrn_int j, vrn_int columns) {
        copy_in(columns, x + j * incx, incx, x_part);
        copy_in(columns, w + j * incw, incw, w_part);
        blocks_of(m, staged_rows, [&](vrn_int i, vrn_int rows) {
            copy_in(rows, y + i * incy, incy, y_part);
            copy_in(rows, z + i * incz, incz, z_part);
            cross_block<gem2v_group>(rows, columns, alpha, a + i + j * lda, lda, x_part, z_part, y_part, w_part);
            copy_out(rows, z_part, z + i * incz, incz);
        });
        copy_out(columns, w_part, w + j * incw, incw);
    });
}

template <class E>
void gem2v(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, vrn_int incx, const E* y, vrn_int incy,
           E beta, E* z, vrn_int incz, E* w, vrn_int incw)
{
    if (m <= 0 || n <= 0) return;
    scal(m, beta, z, incz);
    scal(n, beta, w, incw);
    if (alpha == E{}) return;
    if (n < gem2v_few) return gem2v_columns(m, n, alpha, a, lda, x, incx, y, incy, z, incz, w, incw);
    if (incx == 1 && incy == 1 && incz == 1 && incw == 1)
        return cross_block<gem2v_group>(m, n, alpha, a, lda, x, z, y, w);
    gem2v_staged(m, n, alpha, a, lda, x, incx, y, incy, z, incz, w, incw);
}

} // namespace vrn::blas
