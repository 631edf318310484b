/* vrn/trans.h - scaled copies, transpositions and sums of dense matrices. Plain C11.
 *
 * `ordering` is R (row-major) or C (column-major); `trans` is N (plain), T (transposed), C (conjugate transposed) or
 * R (conjugated; for real types the same as N). Letters in either case. rows and cols describe A before the
 * operation; leading dimensions and strides count elements. Arguments are passed by value.
 *
 * A bad argument is reported once, with its place in the list, by the handler of vrn_set_xerbla (vrn/service.h), and
 * nothing is written. A leading dimension is bad when it is shorter than a row (R) or column (C) of its matrix. */
#ifndef VRN_TRANS_H
#define VRN_TRANS_H

#include "vrn/blas.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* B := alpha op(A), where A and B do not overlap. */
void vrn_trans_somatcopy(char ordering, char trans, size_t rows, size_t cols, float alpha, const float* a, size_t lda,
                         float* b, size_t ldb);
void vrn_trans_domatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha, const double* a,
                         size_t lda, double* b, size_t ldb);
void vrn_trans_comatcopy(char ordering, char trans, size_t rows, size_t cols, vrn_complex8 alpha,
                         const vrn_complex8* a, size_t lda, vrn_complex8* b, size_t ldb);
void vrn_trans_zomatcopy(char ordering, char trans, size_t rows, size_t cols, vrn_complex16 alpha,
                         const vrn_complex16* a, size_t lda, vrn_complex16* b, size_t ldb);

/* The same with strides between neighbouring elements of a row (R) or column (C). Leading dimensions and strides are
 * bad when 0. */
void vrn_trans_somatcopy2(char ordering, char trans, size_t rows, size_t cols, float alpha, const float* a,
                          size_t lda, size_t stridea, float* b, size_t ldb, size_t strideb);
void vrn_trans_domatcopy2(char ordering, char trans, size_t rows, size_t cols, double alpha, const double* a,
                          size_t lda, size_t stridea, double* b, size_t ldb, size_t strideb);
void vrn_trans_comatcopy2(char ordering, char trans, size_t rows, size_t cols, vrn_complex8 alpha,
                          const vrn_complex8* a, size_t lda, size_t stridea, vrn_complex8* b, size_t ldb,
                          size_t strideb);
void vrn_trans_zomatcopy2(char ordering, char trans, size_t rows, size_t cols, vrn_complex16 alpha,
                          const vrn_complex16* a, size_t lda, size_t stridea, vrn_complex16* b, size_t ldb,
                          size_t strideb);

/* A := alpha op(A) in its own buffer, from leading dimension lda to ldb; the buffer holds the larger of the two
 * shapes. Squares with lda = ldb are exchanged by tiles; other transpositions follow cycles, need no memory and
 * take much longer. */
void vrn_trans_simatcopy(char ordering, char trans, size_t rows, size_t cols, float alpha, float* a, size_t lda,
                         size_t ldb);
void vrn_trans_dimatcopy(char ordering, char trans, size_t rows, size_t cols, double alpha, double* a, size_t lda,
                         size_t ldb);
void vrn_trans_cimatcopy(char ordering, char trans, size_t rows, size_t cols, vrn_complex8 alpha, vrn_complex8* a,
                         size_t lda, size_t ldb);
void vrn_trans_zimatcopy(char ordering, char trans, size_t rows, size_t cols, vrn_complex16 alpha, vrn_complex16* a,
                         size_t lda, size_t ldb);

/* C := alpha op(A) + beta op(B), C of rows by cols, apart from A and B. */
void vrn_trans_somatadd(char ordering, char transa, char transb, size_t rows, size_t cols, float alpha,
                        const float* a, size_t lda, float beta, const float* b, size_t ldb, float* c, size_t ldc);
void vrn_trans_domatadd(char ordering, char transa, char transb, size_t rows, size_t cols, double alpha,
                        const double* a, size_t lda, double beta, const double* b, size_t ldb, double* c, size_t ldc);
void vrn_trans_comatadd(char ordering, char transa, char transb, size_t rows, size_t cols, vrn_complex8 alpha,
                        const vrn_complex8* a, size_t lda, vrn_complex8 beta, const vrn_complex8* b, size_t ldb,
                        vrn_complex8* c, size_t ldc);
void vrn_trans_zomatadd(char ordering, char transa, char transb, size_t rows, size_t cols, vrn_complex16 alpha,
                        const vrn_complex16* a, size_t lda, vrn_complex16 beta, const vrn_complex16* b, size_t ldb,
                        vrn_complex16* c, size_t ldc);

#ifdef __cplusplus
}
#endif

#endif
