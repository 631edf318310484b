/* vrn/spblas.h - products, solves, conversions and sums of sparse matrices. Plain C11. Generated from the table of
 * routines.
 *
 * Every argument is passed by reference. Names under vrn_spblas_ take 64-bit integers, their twins under
 * vrn_spblas_lp64_ 32-bit integers, sizes and index arrays alike. op(A) is A (N), its transpose (T) or its conjugate
 * transpose (C). Vectors are contiguous. Where alpha or beta is zero, what it multiplies is not read.
 *
 * The descriptor `descr` is six letters, in either case:
 *
 *     1  class      G general, S symmetric, H Hermitian (real: as S), T triangular, A antisymmetric, D diagonal
 *     2  triangle   L or U: the triangle of the arrays that counts, of S, H, T and A; what lies in the other is passed
 *                   over, but has to be finite
 *     3  diagonal   N as stored, or U all ones, whatever is stored; of S, H, T and D. A has none
 *     4  base       C zero-based, F one-based: rows and columns in the arrays
 *     5  layout     R or C: dense matrices by rows or by columns. With any other character zero-based goes with rows,
 *                   one-based with columns, and DIA and skyline, which know no rows, always by columns (a zero-based
 *                   descriptor without a fifth letter is bad for their matrix products)
 *     6  spare, not read
 *
 * Letters that a class has no use for are not read. Every class but G is of square matrices.
 *
 *     CSR   row i: entries pntrb[i] - pntrb[0] to pntre[i] - pntrb[0] - 1 of val and indx (columns). The pointers have
 *           any base; with one array of m + 1 pass it and itself from its second element on. Rows may have gaps between
 *           them and stand in any order. Entries of a row stand in any order, but in ascending order for solves. Two
 *           entries at one position add up, except in solves
 *     CSC   the same by columns, indx holding rows
 *     COO   nnz entries val, rowind, colind in any order
 *     DIA   ndiag diagonals: the element of diagonal j at row i (from 0) is val[i + j*lval], in column i + idiag[j]
 *     BSR   CSR over blocks of lb by lb, lb*lb elements each; sizes mb and kb count blocks. Elements of a block lie as
 *           dense matrices do: by rows or by columns. D is the blocks on the diagonal; solves with D divide by the main
 *           diagonal alone
 *     sky   one run of elements for each row of a lower triangle (L), from its first element to the diagonal, or for each
 *           column of an upper one (U): run i is pntr[i] - pntr[0] to pntr[i+1] - pntr[0] - 1 of val. The diagonal's
 *           place is there even for a descriptor that says U
 *
 * Solves need the diagonal stored in every row unless the descriptor says U, and entries in ascending order (CSR, CSC,
 * BSR). A zero there divides as numbers do.
 *
 * Errors. A bad letter or number is reported once, with its place in the list, by the handler of vrn_set_xerbla
 * (vrn/service.h), and nothing is written. The contents of index arrays are believed, unless checking is on: then every
 * call looks at them first and reports the array that has an index outside, a row that ends before it begins, and, for
 * solves, rows out of order or without a diagonal. A call that cannot have memory it cannot do without says so on standard
 * error and writes nothing; `info`, where there is one, is then -1.
 *
 * Threads share the work: rows with equally many entries, or columns; symmetric and transposed products of one vector add
 * up one vector for each thread, but on one thread in the strict mode of vrn_set_cbwr, so that their bits do not depend on
 * the number of threads there. */
#ifndef VRN_SPBLAS_H
#define VRN_SPBLAS_H

#include "vrn/blas.h"

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Whether index arrays are looked at before they are used: 1 yes, 0 no, for the whole process. Until it is called the
 * environment variable VRN_SPBLAS_CHECK decides: any text but an empty one and 0 switches it on. A look costs about as
 * much as a product with a vector. */
void vrn_spblas_set_checking(int on);
int vrn_spblas_get_checking(void);

/* Memory aligned for any vector, to be given back with the free of either width; null for a size of 0 or when there is
 * none. */
void* vrn_spblas_malloc(int64_t bytes);
void* vrn_spblas_lp64_malloc(int32_t bytes);
void vrn_spblas_free(void* block);
void vrn_spblas_lp64_free(void* block);
