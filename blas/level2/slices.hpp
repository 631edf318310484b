// blas/level2/slices.hpp - the entries that do a part of a routine's work, for threads. Shared with the host.
//
// All arguments by reference; indices count from zero; x, y and A are given as for the whole problem of order n, with
// any strides unless told. A slice is a range of the stored columns.
//
//     syr_in_thread   (uplo, count, alpha, x, incx, a, lda, offset, n)
//     syr2_in_thread  (uplo, count, alpha, x, incx, y, incy, a, lda, offset, n)
//         columns offset .. offset+count-1 of the triangle are updated, and nothing else is written. The host
//         provides slices that cover 0 .. n-1 once. Each element has the same bits as from one call.
//
//     symv_kernel     (uplo, last, first, alpha, a, lda, x, incx, y, n)
//         y := alpha A x by the columns first .. last and their mirror images, y of unit stride and length n. Only
//         the part that these columns reach is written, and it is cleared first: y[first..n-1] for a lower triangle,
//         y[0..last] for an upper one. The host provides a y for each slice, applies beta, and adds those parts. With
//         last < first nothing is done.
//
//     trmv_in_thread  (uplo, trans, diag, n, a, lda, x, incx, first, last, y)
//         y := what the columns first .. last of A give to op(A) x, y of unit stride and length n, x not written.
//         Only the part that they reach is written: transposed, y[first..last], elements of the result; else
//         y[0..last] for an upper triangle and y[first..n-1] for a lower one, to be added. The host provides a y for
//         each slice, adds them, and stores the sum over x once no slice reads it any more.
#pragma once

#include "frame/export.hpp"

namespace vrn::blas {

template <class T>
using syr_slice_function = void(const char* uplo, const vrn_int* count, const T* alpha, const T* x,
                                const vrn_int* incx, T* a, const vrn_int* lda, const vrn_int* offset,
                                const vrn_int* n);
template <class T>
using syr2_slice_function = void(const char* uplo, const vrn_int* count, const T* alpha, const T* x,
                                 const vrn_int* incx, const T* y, const vrn_int* incy, T* a, const vrn_int* lda,
                                 const vrn_int* offset, const vrn_int* n);
template <class T>
using symv_slice_function = void(const char* uplo, const vrn_int* last, const vrn_int* first, const T* alpha,
                                 const T* a, const vrn_int* lda, const T* x, const vrn_int* incx, T* y,
                                 const vrn_int* n);
template <class T>
using trmv_slice_function = void(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const T* a,
                                 const vrn_int* lda, const T* x, const vrn_int* incx, const vrn_int* first,
                                 const vrn_int* last, T* y);

} // namespace vrn::blas
