// blas/level2/trmv.hpp - x := op(A) x and the solution of op(A) x = b over b, A triangular. Instantiated by trmv.cpp
// and trsv.cpp.
//
// Columns of A in blocks: a small triangle on the diagonal, done by triangle.hpp on a copy of its part of x where x
// is strided, and the rectangle between it and the far side of A, which is a gemv:
//
//     upper  [ \ | rectangle | ]      lower  [ \                 ]     as stored the rectangle adds to x, transposed
//            [   |  triangle | ]             [ triangle   \      ]     it adds to the block
//            [               \ ]             [ rectangle    \    ]
//
// The gemv of a product is the kernel's own; that of a solve is the host's entry, whose threads apply, since a solve
// cannot be cut into slices from outside. Nothing is allocated.
#pragma once

#include "blas/level2/beta.hpp"
#include "blas/level2/functions.hpp"
#include "blas/level2/triangle.hpp"

namespace vrn::blas {

// A triangle of 64 columns is 16 KiB of doubles, half a first-level cache. A solve goes by 32, 256 bytes of a double
// x, since its triangles are a chain of divisions that nothing runs beside.
inline constexpr vrn_int trmv_block = 64, trsv_block = 32;

struct triangular {
    bool upper, transposed, conjugated, unit;
    const char* op; // for gemv
    triangular(const char* uplo, const char* trans, const char* diag)
        : upper(!is_letter(uplo, 'L')), transposed(!is_letter(trans, 'N')), conjugated(is_letter(trans, 'C')),
          unit(is_letter(diag, 'U')), op(transposed ? conjugated ? "C" : "T" : "N")
    {
    }
};

// The rows of the rectangle beside columns begin .. end-1.
struct beside {
    vrn_int from, count;
    beside(const triangular& k, vrn_int begin, vrn_int end, vrn_int n)
        : from(k.upper ? 0 : end), count(k.upper ? begin : n - end)
    {
    }
};

// walk(begin, count) for the blocks of columns first .. end-1, cut from `first`.
template <class Walk>
[[gnu::always_inline]] inline void walk_blocks(bool forward, vrn_int first, vrn_int end, vrn_int block, Walk&& walk)
{
    const vrn_int blocks = (end - first + block - 1) / block;
    for (vrn_int b = 0; b < blocks; ++b) {
        const vrn_int begin = first + (forward ? b : blocks - 1 - b) * block;
        walk(begin, end - begin < block ? end - begin : block);
    }
}

// The triangle on the diagonal, on a copy where x is strided.
template <class E>
[[gnu::always_inline]] inline void on_unit_stride(triangle_function<E>* kernel, vrn_int n, const E* a, vrn_int lda,
                                                  E* x, vrn_int incx)
{
    if (incx == 1) return kernel(n, a, lda, x);
    alignas(64) E copy[trmv_block];
    copy_in(n, x, incx, copy);
    kernel(n, a, lda, copy);
    copy_out(n, copy, x, incx);
}

// Element 0 of part `from` .. `from + count - 1` as a routine takes it whose stride may be negative.
template <class E>
E* part_of(E* x, vrn_int from, vrn_int count, vrn_int inc)
{
    return inc < 0 ? x + (from + count - 1) * inc : x + from * inc;
}

template <class E>
void trmv(const char* uplo, const char* trans, const char* diag, vrn_int n, const E* a, vrn_int lda, E* x,
          vrn_int incx)
{
    if (n <= 0) return;
    const triangular k(uplo, trans, diag);
    const auto kernel = triangle_kernel<false, E>(k.upper, k.transposed, k.conjugated, k.unit);
    const E one = simd::unity<E>;
    x = vector_begin(x, n, incx);
    walk_blocks(k.upper != k.transposed, 0, n, trmv_block, [&](vrn_int j, vrn_int columns) {
        const beside rows(k, j, j + columns, n);
        const E* const rectangle = a + rows.from + j * lda;
        E* const block = part_of(x, j, columns, incx);
        E* const rest = part_of(x, rows.from, rows.count, incx);
        const auto multiply = [&] { on_unit_stride(kernel, columns, a + j + j * lda, lda, x + j * incx, incx); };
        // The block of the walk that has no rectangle is its first as stored and its last transposed.
        if (rows.count < 1) return multiply();
        if (k.transposed) {
            multiply();
            kernel_gemv<E>(k.op, &rows.count, &columns, &one, rectangle, &lda, rest, &incx, &one, block, &incx);
        } else {
            kernel_gemv<E>(k.op, &rows.count, &columns, &one, rectangle, &lda, block, &incx, &one, rest, &incx);
            multiply();
        }
    });
}

// What columns first .. last give to op(A) x, in y, which is cleared where they reach.
template <class E>
void trmv_slice(const char* uplo, const char* trans, const char* diag, vrn_int n, const E* a, vrn_int lda, const E* x,
                vrn_int incx, vrn_int first, vrn_int last, E* y)
{
    if (last < first) return;
    const triangular k(uplo, trans, diag);
    const auto kernel = triangle_kernel<false, E>(k.upper, k.transposed, k.conjugated, k.unit);
    const E one = simd::unity<E>;
    const vrn_int unit_stride = 1;
    const vrn_int from = k.transposed || !k.upper ? first : 0, to = k.transposed || k.upper ? last + 1 : n;
    apply_beta(to - from, E{}, y + from, 1);
    x = vector_begin(x, n, incx);
    walk_blocks(true, first, last + 1, trmv_block, [&](vrn_int j, vrn_int columns) {
        const beside rows(k, j, j + columns, n);
        const E* const rectangle = a + rows.from + j * lda;
        alignas(64) E block[trmv_block];
        copy_in(columns, x + j * incx, incx, block);
        if (rows.count > 0) {
            if (k.transposed)
                kernel_gemv<E>(k.op, &rows.count, &columns, &one, rectangle, &lda,
                               part_of(x, rows.from, rows.count, incx), &incx, &one, y + j, &unit_stride);
            else
                kernel_gemv<E>(k.op, &rows.count, &columns, &one, rectangle, &lda, block, &unit_stride, &one,
                               y + rows.from, &unit_stride);
        }
        kernel(columns, a + j + j * lda, lda, block);
        for (vrn_int i = 0; i < columns; ++i) y[j + i] = y[j + i] + block[i];
    });
}

template <class E>
void trsv(const char* uplo, const char* trans, const char* diag, vrn_int n, const E* a, vrn_int lda, E* x,
          vrn_int incx)
{
    if (n <= 0) return;
    const triangular k(uplo, trans, diag);
    const auto kernel = triangle_kernel<true, E>(k.upper, k.transposed, k.conjugated, k.unit);
    const E one = simd::unity<E>, minus = E{} - one;
    x = vector_begin(x, n, incx);
    walk_blocks(k.upper == k.transposed, 0, n, trsv_block, [&](vrn_int j, vrn_int columns) {
        const beside rows(k, j, j + columns, n);
        const E* const rectangle = a + rows.from + j * lda;
        E* const block = part_of(x, j, columns, incx);
        E* const rest = part_of(x, rows.from, rows.count, incx);
        const auto solve = [&] { on_unit_stride(kernel, columns, a + j + j * lda, lda, x + j * incx, incx); };
        if (rows.count < 1) return solve();
        if (k.transposed) {
            public_gemv<E>(k.op, &rows.count, &columns, &minus, rectangle, &lda, rest, &incx, &one, block, &incx);
            solve();
        } else {
            solve();
            public_gemv<E>(k.op, &rows.count, &columns, &minus, rectangle, &lda, block, &incx, &one, rest, &incx);
        }
    });
}

} // namespace vrn::blas
