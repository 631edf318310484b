// spblas/arguments.hpp - the argument lists of all classic sparse kernels, each stated once.
//
// T is the element, I the integer: 64 bits in vrn_spblas_s42_, 32 in vrn_spblas_lp64_s42_. Everything goes by
// address. The generator writes the exported functions from these types, so an argument's name here is its name
// there; slots called `unread` are for callers of many kernels and are passed over. Ranges first..last are one-based
// and inclusive. spblas/README.md tells what they range over.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::spblas {

using simd::cplx;

// The values that selectors of the BSR kernels have. Each is compared with 1 alone, but for the op of bsr_mm_whole,
// which has three values.
namespace choice {
inline constexpr int none = 1, transpose = 0, conjugate_transpose = 2; // op
inline constexpr int lower = 1, upper = 0;                             // uplo
inline constexpr int stored = 1, unit = 0;                             // diag
inline constexpr int forward = 1, backward = 0;                        // direction of a sweep
inline constexpr int by_rows = 1, by_columns = 0;                      // orientation of a sweep
} // namespace choice

namespace arguments {

// ---- CSR: row i holds entries pntrb[i] - pntrb[0] .. pntre[i] - pntrb[0] - 1, whatever the base ----

template <class T, class I>
using csr_mv_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* indx, const I* pntrb, const I* pntre, const T* x, T* y, const T* beta);
template <class T, class I>
using csr_mv_seq = void(const I* m, const I* n, const T* alpha, const T* val, const I* indx, const I* pntrb,
                        const I* pntre, const T* x, T* y, const T* beta);
// A is m by k, C has n columns.
template <class T, class I>
using csr_mm_par = void(const I* first, const I* last, const I* m, const I* n, const I* k, const T* alpha,
                        const T* val, const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c,
                        const I* ldc, const T* beta);
template <class T, class I>
using csr_mm_seq = void(const I* m, const I* n, const I* k, const T* alpha, const T* val, const I* indx,
                        const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc, const T* beta);
template <class T, class I>
using csr_sv_seq = void(const I* m, const T* alpha, const T* val, const I* indx, const I* pntrb, const I* pntre,
                        T* y);
template <class T, class I>
using csr_sm_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* indx, const I* pntrb, const I* pntre, T* c, const I* ldc, const I* base);
// One array of row pointers: row i ends where row i + 1 starts.
template <class T, class I>
using csr_gemv_par = void(const I* first, const I* last, const I* m, const I* n, const I* k, const T* val,
                          const I* indx, const I* ia, const void* unread, const T* x, T* y);

// ---- COO ----

template <class T, class I>
using coo_mv_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* rowind, const I* colind, const I* nnz, const T* x, T* y);
template <class T, class I>
using coo_mv_seq = void(const I* m, const I* n, const T* alpha, const T* val, const I* rowind, const I* colind,
                        const I* nnz, const T* x, T* y);
template <class T, class I>
using coo_mm_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* rowind, const I* colind, const I* nnz, const T* b, const I* ldb, T* c, const I* ldc,
                        const T* beta);
template <class T, class I>
using coo_mm_scratch = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                            const I* rowind, const I* colind, const I* nnz, const T* b, const I* ldb,
                            const void* unread, const void* unread2, T* work1, T* work2);
template <class T, class I>
using coo_sv_seq = void(const I* m, const I* n, const T* alpha, const T* val, const I* rowind, const I* colind,
                        const I* nnz, const T* x, T* y);
template <class T, class I>
using coo_sm_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* rowind, const I* colind, const I* nnz, T* c, const I* ldc);

// ---- DIA: the element of diagonal j at row i is val[i + j*lval]; positions dfirst, dlast, dmain are one-based ----

template <class T, class I>
using dia_mv_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* lval, const I* idiag, const I* ndiag, const T* x, T* y);
template <class T, class I>
using dia_mm_par = void(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val,
                        const I* lval, const I* idiag, const I* ndiag, const T* b, const I* ldb, const T* beta, T* c,
                        const I* ldc);
template <class T, class I>
using dia_sv_seq = void(const I* m, const T* val, const I* lval, const I* idiag, T* y, const I* dfirst,
                        const I* dlast, const void* unread, const I* dmain);
template <class T, class I>
using dia_sm_par = void(const I* first, const I* last, const I* m, const T* val, const I* lval, const I* idiag,
                        const void* unread, T* c, const I* ldc, const I* dfirst, const I* dlast, const void* unread2,
                        const I* dmain);
template <class T, class I>
using dia_sv_diagonal = void(const I* m, const T* val, const I* lval, const I* idiag, const I* ndiag, T* y);
template <class T, class I>
using dia_sm_diagonal = void(const I* m, const I* n, const T* val, const I* lval, const I* idiag, const I* ndiag,
                             T* c, const I* ldc);

// ---- BSR: blocks of lb by lb; first..last are block rows; elements of a block by rows where the name says base 0 or
// cspblas_, else by columns ----

template <class T, class I>
using bsr_gemv_par = void(const I* first, const I* last, const void* unread, const I* lb, const void* unread2,
                          const T* val, const I* indx, const I* ia, const void* unread3, const T* x, T* y);
template <class T, class I>
using bsr_mv_par = void(const I* first, const I* last, const void* unread, const I* lb, const T* alpha, const T* val,
                        const I* indx, const I* pntrb, const I* pntre, const T* x, T* y);
// C := C + alpha*op(A)*B with n columns; C comes prepared. `base` is that of indx.
template <class T, class I>
using bsr_mm_whole = void(const I* op, const I* mb, const I* n, const I* lb, const T* alpha, const T* val,
                          const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc,
                          const I* base);
// Triangular, symmetric and Hermitian: the same with op choice::none or not. What is not none differs: a triangular A
// is transposed, a symmetric one conjugated, a Hermitian one transposed, which conjugates it. The conjugate transpose
// of a complex triangular A is the caller's: conjugate alpha, B and C around the transpose. `uplo` and `diag` say
// which triangle is read, of diagonal blocks too, and whether their diagonals count or are one.
template <class T, class I>
using bsr_mm_chosen = void(const I* op, const I* uplo, const I* diag, const I* mb, const I* n, const I* lb,
                           const T* alpha, const T* val, const I* indx, const I* pntrb, const I* pntre, const T* b,
                           const I* ldb, T* c, const I* ldc, const I* base);
// y := y / main diagonal of A. Nothing is done for a count of 0. Here alone `base` is what turns block columns into
// one-based ones: 0 for one-based indx, 1 for zero-based.
template <class T, class I>
using bsr_invdiag = void(const I* mb, const I* count, const I* lb, const T* val, const I* indx, const I* pntrb,
                         const I* pntre, T* y, const void* unread, const I* base);
// x := inv(op(triangle of A))*x, blocks of a row (for bsc, of a column) in ascending order. `direction` and
// `orientation` choose the triangle and op; `diag` is choice::stored or choice::unit, `base` that of indx. Nothing is
// done for a count of 0.
//
//                    by_rows              by_columns
//     forward        lower                upper, transposed
//     backward       upper                lower, transposed
template <class T, class I>
using bsr_gauss = void(const I* direction, const I* count, const I* mb, const I* orientation, const I* lb,
                       const T* val, const I* indx, const I* pntrb, const I* pntre, T* x, const I* diag,
                       const I* base);

// ---- skyline: one dense run a row, up to the diagonal; B and C by columns ----
// op: 0 none, else transposed. uplo: 0 lower triangle by rows, else upper by columns. diag: not 0 when the diagonal
// counts; a diagonal that does not is zero in products (a caller adds alpha*B for a unit diagonal) and one in solves.

template <class T, class I>
using sky_mm = void(const I* op, const void* unread, const I* m, const I* n, const I* uplo, const I* diag,
                    const T* alpha, const T* val, const I* pntr, const T* b, const I* ldb, T* c, const I* ldc);
template <class T, class I>
using sky_sv = void(const I* op, const void* unread, const I* uplo, const I* diag, const I* m, const T* val,
                    const I* pntr, T* y);

// ---- conversions: job[0] is 0 from CSR (dnscsr: to CSR) and not 0 back, job[1..5] as each header tells ----

template <class T, class I>
using csrcoo = void(const I* job, const I* m, T* acsr, I* ja, I* ia, I* nnz, T* acoo, I* rowind, I* colind, I* info);
template <class T, class I>
using csrcsc = void(const I* job, const I* m, T* acsr, I* ja, I* ia, T* acsc, I* ja1, I* ia1, I* info);
template <class T, class I>
using csrdia = void(const I* job, const I* m, T* acsr, I* ja, I* ia, T* adia, const I* lval, I* idiag, I* ndiag,
                    T* acsr_rem, I* ja_rem, I* ia_rem, I* info);
template <class T, class I>
using csrsky = void(const I* job, const I* m, T* acsr, I* ja, I* ia, T* asky, I* pntr, I* info);
template <class T, class I>
using csrbsr = void(const I* job, const I* m, const I* lb, const I* lval, T* acsr, I* ja, I* ia, T* absr, I* jab,
                    I* iab, I* info);
template <class T, class I>
using dnscsr = void(const I* job, const I* m, const I* n, T* adns, const I* lda, T* acsr, I* ja, I* ia, I* info);

template <class T, class I>
using sortrow = void(const I* first, const I* last, const I* ia, I* ja, T* a);
template <class T, class I>
using zerocheck = void(const T* x, I* flag);
template <class T, class I>
using ones = void(T* x);
template <class T, class I>
using neones = void(T* x);
// x[0..n) := 0
template <class T, class I>
using zeros = void(T* x, const I* n);
// Bytes at alignment 128; null for a size of 0. To be given back as spfree(&pointer). By value, so that one body
// serves both integer widths.
using spmalloc = void*(std::int64_t size);
using spfree = void(void* const* p);
// to := scale*from, m by n by columns; a scale of zero clears and does not read.
template <class T, class I>
using matcopy = void(const I* m, const I* n, const T* scale, const T* from, const I* ldfrom, T* to, const I* ldto);

// ---- sparse-sparse: one-based CSR (a, ja, ia) and (b, jb, ib) give (c, jc, ic) ----

// Ranges are rows of C. request 1: ic[i] := entries of row i (zero-based); 0: all of it, up to nzmax entries; other
// (in sums 2 alone): c and jc, the rows starting where ic says. info is -1 where memory was refused, the row that
// does not fit, or 0.
//
// C := A*B, B and C with n columns. For request 0, ic[0] := start + 1 and nzmax may be null; a range that does not
// start at row 1 gets the pointers of its rows. Rows of C stand in the order of first touch.
template <class T, class I>
using mcsr_notr = void(const I* first, const I* last, const I* n, const I* request, const void* unread, const T* a,
                       const I* ja, const I* ia, const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic,
                       const I* nzmax, const I* start, const void* unread2, I* info);
// C := A + beta*B, rows in order. `sort` says whose rows are sorted first, in place: 1 A's, 2 B's, 3 both, else none.
// In info, rows are counted from `first`.
template <class T, class I>
using mcsradd_notr = void(const I* first, const I* last, const I* request, const I* sort, T* a, I* ja, const I* ia,
                          const T* beta, T* b, I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info);
// With the first operand transposed, all rows of C: A has m rows and n columns, B k columns where it is a factor, and
// info counts rows from 1. `sort` as above; sums do not need A sorted.
//
// C := transpose(A) + beta*B
template <class T, class I>
using mcsradd_tr = void(const I* m, const I* n, const I* request, const I* sort, T* a, I* ja, const I* ia,
                        const T* beta, T* b, I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info);
// C := transpose(A)*B in workspace of the order of the matrices; A's rows must be in order, and B's need not.
template <class T, class I>
using multcsr_tr = void(const I* m, const I* n, const I* k, const I* request, const I* sort, T* a, I* ja, const I* ia,
                        const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info);
// The same over a transposed copy of A, rows of C in order. request 0 goes in `parts` pieces where n is above 8000
// and there are four or more.
template <class T, class I>
using multcsr_trom = void(const I* m, const I* n, const I* k, const I* request, const I* parts, const T* a,
                          const I* ja, const I* ia, const T* b, const I* jb, const I* ib, T* c, I* jc, I* ic,
                          const I* nzmax, I* info);
// C := A*B on rows of C, C dense by columns, n of them. The flag is for callers of many kernels.
template <class T, class I>
using csrmultd_ker = void(const void* unread, const I* first, const I* last, const I* n, const T* a, const I* ja,
                          const I* ia, const T* b, const I* jb, const I* ib, T* c, const I* ldc);
// C := C + transpose(A)*B, the range being rows of A and B; C comes prepared.
template <class T, class I>
using csrmultd_ker_t = void(const void* unread, const I* first, const I* last, const I* n, const T* a, const I* ja,
                            const I* ia, const T* b, const I* jb, const I* ib, T* c, const I* ldc);
// y[j] += the sum of what private vectors hold for it, j from 0 to n - 1; part_list has one vector a thread.
//
//     split_par        vectors 0 to parts-1, element start + j
//     split_syml_par   vectors first_part to parts-1, element n*(first_part - 1) + j: y is a chunk of n elements,
//                      the one numbered first_part from one on, and later vectors reach down into it
//     split_symu_par   vectors 0 to parts-1, of vector p element (parts - 1 - p)*stride + j: chunks are `stride`
//                      long, y is the last of them, and vector p starts behind its own
template <class T, class I>
using split_par = void(const I* parts, const I* n, const I* start, const void* unread, const T* const* part_list,
                       T* y);
template <class T, class I>
using split_syml_par = void(const I* parts, const I* n, const I* first_part, const void* unread,
                            const T* const* part_list, T* y);
template <class T, class I>
using split_symu_par = void(const I* n, const I* stride, const I* parts, const void* unread,
                            const T* const* part_list, T* y);
// Where the strict and the full triangle lie in a sorted idiag, one-based; flag is -1 where a main diagonal is
// missing.
template <class T, class I>
using find_diag_par = void(const I* idiag, const I* ndiag, I* strict_first, I* strict_last, I* full_first,
                           I* full_last, I* flag);
// y := y + A*x, A symmetric and its upper triangle stored with rows in order.
template <class T, class I>
using dcsrsymmvs = void(const I* m, const T* a, const I* ja, const I* ia, const T* x, T* y);

} // namespace arguments

} // namespace vrn::spblas
