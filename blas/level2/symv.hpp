// blas/level2/symv.hpp - y := alpha A x + beta y, A symmetric or Hermitian, one triangle stored. Instantiated by
// symv.cpp.
//
// One sweep reads each stored column once and uses it twice: added to y, as in axpy, and multiplied with x, for the
// element of y on the diagonal. Columns in two pairs at a time, so that x and y are loaded once for four:
//
//     lower   [ \       ]  the square of a group on the diagonal      upper   [ rows above | \  ]
//             [ rows  \ ]  element by element, its rows by vectors            [              \  ]
//
// Unit strides run on the caller's vectors. Other strides go by blocks of 128 columns and 1000 rows through stack
// buffers, two vectors each way. Nothing is allocated. An imaginary part on the diagonal is not read.
//
// The bits do not depend on addresses, but where the caller allows it (Peel): a group's rows then start at an aligned
// element of y.
#pragma once

#include "blas/level2/beta.hpp"
#include "blas/level2/columns.hpp"
#include "blas/level2/staging.hpp"

namespace vrn::blas {

// Two pairs. Complex factors then no longer fit the registers and are met in memory, which is still 2 per cent faster
// than one pair.
template <class E>
inline constexpr int symv_group = 4;

// The conjugate where the type has one.
template <class E>
E mirrored(E a)
{
    if constexpr (simd::element<E>::parts == 2) return conj(a);
    else return a;
}
template <class E>
E on_diagonal(E a)
{
    if constexpr (simd::element<E>::parts == 2) return {a.re, 0};
    else return a;
}

// The columns of a square on the diagonal, or of a rectangle beside it, and the vectors that they meet at unit
// stride: t is alpha x.
template <bool Peel, class E>
[[gnu::noinline, gnu::flatten]] void symv_square(bool lower, vrn_int first, vrn_int end, vrn_int n, E alpha,
                                                 const E* a, vrn_int lda, const E* x, E* y)
{
    constexpr bool hermitian = simd::element<E>::parts == 2;
    column_groups<symv_group<E>>(
        end - first, [&](vrn_int g, auto columns) __attribute__((always_inline)) {
            const vrn_int j = first + g;
            const vrn_int from = lower ? j + columns : 0, to = lower ? n : j;
            vrn_int peel = 0;
            if constexpr (Peel) peel = peel_count(y + from, to - from);
            E t[columns], sum[columns];
            for (int c = 0; c < columns; ++c) t[c] = alpha * x[j + c];
            cross_columns<columns, hermitian, true>({from, to, peel}, a + j * lda, lda, t, y, x, alpha, sum);
            // The square last, in registers: a vector of y loaded right behind its elements would wait for their
            // stores.
            const E* const square = a + j + j * lda;
            unroll<columns>([&](auto c) __attribute__((always_inline)) {
                sum[c] = sum[c] + t[c] * on_diagonal(square[c + c * lda]);
            });
            unroll<columns>([&](auto c) __attribute__((always_inline)) {
                unroll<c>([&](auto r) __attribute__((always_inline)) {
                    const E e = lower ? square[c + r * lda] : mirrored(square[r + c * lda]); // row c, column r
                    sum[c] = sum[c] + t[r] * e;
                    sum[r] = sum[r] + t[c] * mirrored(e);
                });
            });
            unroll<columns>([&](auto c) __attribute__((always_inline)) { sum[c] = y[j + c] + sum[c]; });
            put(sum, y + j);
        });
}

template <bool Peel, class E>
[[gnu::noinline]] void symv_staged(bool lower, vrn_int first, vrn_int end, vrn_int n, E alpha, const E* a,
                                   vrn_int lda, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    alignas(64) E x_along[staged_columns], y_along[staged_columns], x_rows[staged_rows], y_rows[staged_rows];
    blocks_of(end - first, staged_columns, [&](vrn_int g, vrn_int columns) {
        const vrn_int j = first + g;
        copy_in(columns, x + j * incx, incx, x_along);
        copy_in(columns, y + j * incy, incy, y_along);
        symv_square<Peel>(lower, 0, columns, columns, alpha, a + j + j * lda, lda, x_along, y_along);
        const vrn_int from = lower ? j + columns : 0, to = lower ? n : j;
        blocks_of(to - from, staged_rows, [&](vrn_int b, vrn_int rows) {
            const vrn_int i = from + b;
            copy_in(rows, x + i * incx, incx, x_rows);
            copy_in(rows, y + i * incy, incy, y_rows);
            cross_block<symv_group<E>>(rows, columns, alpha, a + i + j * lda, lda, x_along, y_rows, x_rows, y_along);
            copy_out(rows, y_rows, y + i * incy, incy);
        });
        copy_out(columns, y_along, y + j * incy, incy);
    });
}

// y += alpha A x by the stored columns first .. end-1; x and y begin at their elements of index 0.
template <bool Peel, class E>
[[gnu::always_inline]] inline void symv_columns(bool lower, vrn_int first, vrn_int end, vrn_int n, E alpha,
                                                const E* a, vrn_int lda, const E* x, vrn_int incx, E* y, vrn_int incy)
{
    if (incx == 1 && incy == 1) symv_square<Peel>(lower, first, end, n, alpha, a, lda, x, y);
    else symv_staged<Peel>(lower, first, end, n, alpha, a, lda, x, incx, y, incy);
}

template <class E>
[[gnu::always_inline]] inline bool symv_is_idle(vrn_int n, E alpha, E beta)
{
    return n <= 0 || (alpha == E{} && beta == simd::unity<E>);
}

// Behind symv_is_idle.
template <bool Peel, class E>
void symv(const char* uplo, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, vrn_int incx, E beta, E* y,
          vrn_int incy)
{
    apply_beta(n, beta, y, incy);
    if (alpha == E{}) return;
    symv_columns<Peel>(is_letter(uplo, 'L'), 0, n, n, alpha, a, lda, vector_begin(x, n, incx), incx,
                       vector_begin(y, n, incy), incy);
}

// y := alpha A x by the columns first .. last: what they add is all that stands in the part of y that they reach.
template <class E>
void symv_slice(const char* uplo, vrn_int last, vrn_int first, vrn_int n, E alpha, const E* a, vrn_int lda,
                const E* x, vrn_int incx, E* y)
{
    if (last < first) return;
    const bool lower = is_letter(uplo, 'L');
    apply_beta(lower ? n - first : last + 1, E{}, lower ? y + first : y, 1);
    if (alpha == E{}) return;
    symv_columns<false>(lower, first, last + 1, n, alpha, a, lda, vector_begin(x, n, incx), incx, y, 1);
}

} // namespace vrn::blas
