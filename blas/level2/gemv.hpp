// blas/level2/gemv.hpp - y := alpha op(A) x + beta y. Instantiated by gemv.cpp.
//
// beta first, as a pass of its own; then A once, in groups of columns. Unit strides run on the caller's vectors, with
// a body for columns that are all 16-byte aligned (an even leading dimension) and one for those that are not. Other
// strides go block by block through two stack buffers. Nothing is allocated.
//
// The bits do not depend on addresses, but for single precision where its caller allows it (Peel): the sums of op(A)
// = A^T then start at an aligned element of each group's first column.
#pragma once

#include "blas/level2/beta.hpp"
#include "blas/level2/columns.hpp"
#include "blas/level2/staging.hpp"

namespace vrn::blas {

// y += alpha A x at unit strides.
template <bool Peel, bool Aligned, class E>
[[gnu::noinline, gnu::flatten]] void gemv_n(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, E* y)
{
    vrn_int peel = 0;
    if constexpr (Peel) peel = peel_count(y, m);
    column_groups<widest_group<E>>(
        n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
            E t[columns];
            for (int c = 0; c < columns; ++c) t[c] = alpha * x[j + c];
            add_columns<columns, Aligned>({0, m, peel}, a + j * lda, lda, t, y);
        });
}

// y += alpha op(A) x at unit strides, op(A) being A^T or A^H.
template <bool Conj, bool Peel, bool Aligned, class E>
[[gnu::noinline, gnu::flatten]] void gemv_t(vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x, E* y)
{
    column_groups<widest_group<E>>(
        n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
            vrn_int peel = 0;
            if constexpr (Peel) peel = peel_count(a + j * lda, m);
            dot_columns<columns, Conj, Aligned>({0, m, peel}, a + j * lda, lda, x, alpha, y + j);
        });
}

template <bool Peel, class E>
[[gnu::always_inline]] inline void gemv_unit(char op, vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda,
                                             const E* x, E* y)
{
    // Behind a peel the columns are aligned with y (A as stored) or for themselves.
    const bool even = Peel ? lda * static_cast<vrn_int>(sizeof(E)) % 16 == 0 && (op != 'N' || place(a) == place(y))
                           : aligned_columns(a, lda);
    const auto run = [&](auto* aligned, auto* unaligned) __attribute__((always_inline))
    {
        (even ? aligned : unaligned)(m, n, alpha, a, lda, x, y);
    };
    if (op == 'N') return run(gemv_n<Peel, true, E>, gemv_n<Peel, false, E>);
    if constexpr (simd::element<E>::parts == 2)
        if (op == 'C') return run(gemv_t<true, false, true, E>, gemv_t<true, false, false, E>);
    run(gemv_t<false, Peel, true, E>, gemv_t<false, Peel, false, E>);
}

template <bool Peel, class E>
[[gnu::noinline]] void gemv_staged(char op, vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x,
                                   vrn_int incx, E* y, vrn_int incy)
{
    alignas(64) E along_columns[staged_columns], along_rows[staged_rows];
    blocks_of(n, staged_columns, [&](vrn_int j, vrn_int columns) {
        if (op == 'N') copy_in(columns, x + j * incx, incx, along_columns);
        else copy_in(columns, y + j * incy, incy, along_columns);
        blocks_of(m, staged_rows, [&](vrn_int i, vrn_int rows) {
            const E* block = a + i + j * lda;
            if (op == 'N') {
                copy_in(rows, y + i * incy, incy, along_rows);
                gemv_unit<Peel>(op, rows, columns, alpha, block, lda, along_columns, along_rows);
                copy_out(rows, along_rows, y + i * incy, incy);
            } else {
                copy_in(rows, x + i * incx, incx, along_rows);
                gemv_unit<Peel>(op, rows, columns, alpha, block, lda, along_rows, along_columns);
            }
        });
        if (op != 'N') copy_out(columns, along_columns, y + j * incy, incy);
    });
}

template <class E>
[[gnu::always_inline]] inline bool gemv_is_idle(vrn_int m, vrn_int n, E alpha, E beta)
{
    return m <= 0 || n <= 0 || (alpha == E{} && beta == simd::unity<E>);
}

// Behind gemv_is_idle.
template <bool Peel, class E>
[[gnu::noinline]] void gemv(const char* trans, vrn_int m, vrn_int n, E alpha, const E* a, vrn_int lda, const E* x,
                            vrn_int incx, E beta, E* y, vrn_int incy)
{
    const char op = is_letter(trans, 'N') ? 'N' : is_letter(trans, 'C') ? 'C' : 'T';
    const vrn_int lenx = op == 'N' ? n : m, leny = op == 'N' ? m : n;
    apply_beta(leny, beta, y, incy);
    if (alpha == E{}) return;
    if (incx == 1 && incy == 1) return gemv_unit<Peel>(op, m, n, alpha, a, lda, x, y);
    gemv_staged<Peel>(op, m, n, alpha, a, lda, vector_begin(x, lenx, incx), incx, vector_begin(y, leny, incy), incy);
}

} // namespace vrn::blas
