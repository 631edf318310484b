// core/spblas/csr.hpp - products and solves in CSR and CSC. A matrix in CSC is its transpose in CSR: operation and
// triangle are exchanged, and the conjugate alone takes the place of the conjugate transpose.
//
//     rows of y apart        general and triangular, no transposition: threads take rows with equally many entries
//     scattered              symmetric and the like, transposed: private vectors and their sum
//     whole                  diagonal class, transposed triangles: one call
//     several columns        threads take columns, but rows in the one kernel that ranges over rows
#pragma once

#include "core/spblas/table.hpp"
#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

// Kernels that have no range.
inline bool whole(char op, const description& d) { return d.kind == 'd' || (d.kind == 't' && transposes(op)); }
inline bool scatters(char op, const description& d)
{
    return transposes(op) || d.kind == 's' || d.kind == 'h' || d.kind == 'a';
}
// A of a CSC matrix is the transpose of the rows that its arrays hold.
inline char op_of_transpose(char op) { return op == 'n' ? 't' : op == 't' ? 'n' : 's'; }

// y := beta*y + alpha*op(A)*x, m by k as stored.
template <class T, class I>
void mv(const csr_view<T, I>& a, char op, I m, I k, T alpha, const description& d, const T* x, T beta, T* y)
{
    const I rows = transposes(op) ? k : m, one = 1;
    if (alpha == T{} || m == 0 || k == 0) return prepare(rows, beta, y);
    const kernel_choice kernel = choose<T, I>(format::csr, product::mv, op, d, d.base, d.base == 0);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    op = kernel.op;
    if (whole(op, d))
        return kernel.as<arguments::csr_mv_seq<T, I>>()(&m, &rows, &alpha, a.val, a.indx, a.pntrb, a.pntre, x, y,
                                                        &beta);
    auto* f = kernel.as<arguments::csr_mv_par<T, I>>();
    const auto part_of = [&](int part, int parts, T* target, T scale) {
        const auto [from, to] = rows_of_part(a.pntrb, a.pntre, m, part, parts);
        const I first = static_cast<I>(from + one), last = static_cast<I>(to);
        f(&first, &last, &m, &rows, &alpha, a.val, a.indx, a.pntrb, a.pntre, x, target, &scale);
    };
    const std::int64_t work = entries(a.pntrb, a.pntre, m);
    if (scatters(op, d)) {
        // Two-sided kernels write their own rows and what the triangle mirrors them to.
        const reach where = d.kind == 'g' ? reach::anywhere : d.lower() ? reach::lower : reach::upper;
        in_private_vectors<T, I>(
            rows, work, beta, y, where,
            [&](int part, int parts) { return row_of_part(a.pntrb, a.pntre, m, part, parts); }, part_of);
    } else threads::run(threads_for(work), [&](int part, int parts) { part_of(part, parts, y, beta); });
}

// C := beta*C + alpha*op(A)*B, C with n columns.
template <class T, class I>
void mm(const csr_view<T, I>& a, char op, I m, I n, I k, T alpha, const description& d, const T* b, I ldb, T beta,
        T* c, I ldc)
{
    const I rows = transposes(op) ? k : m;
    if (alpha == T{} || m == 0 || k == 0) return prepare(d.by_rows, rows, n, beta, c, ldc);
    const kernel_choice kernel = choose<T, I>(format::csr, product::mm, op, d, d.base, d.by_rows);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    op = kernel.op;
    if (d.kind == 'd')
        return kernel.as<arguments::csr_mm_seq<T, I>>()(&m, &n, &k, &alpha, a.val, a.indx, a.pntrb, a.pntre, b, &ldb,
                                                        c, &ldc, &beta);
    auto* f = kernel.as<arguments::csr_mm_par<T, I>>();
    const bool over_rows = d.kind == 'g' && !transposes(op) && d.by_rows;
    threads::run(threads_for(entries(a.pntrb, a.pntre, m) * n, over_rows ? m : n), [&](int part, int parts) {
        const auto [from, to] =
            over_rows ? rows_of_part(a.pntrb, a.pntre, m, part, parts) : columns_of(n, d.by_rows, part, parts);
        const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
        if (from < to) f(&first, &last, &m, &n, &k, &alpha, a.val, a.indx, a.pntrb, a.pntre, b, &ldb, c, &ldc, &beta);
    });
}

// y := alpha*inv(op(A))*x.
template <class T, class I>
void sv(const csr_view<T, I>& a, char op, I m, T alpha, const description& d, const T* x, T* y)
{
    if (alpha == T{} || (d.kind == 'd' && d.unit()) || m == 0) return copy_scaled(m, alpha, x, y);
    // The diagonal's kernel is the one that applies alpha itself.
    copy_scaled(m, d.kind == 'd' ? simd::unity<T> : alpha, x, y);
    choose<T, I>(format::csr, product::sv, op, d, d.base, d.base == 0)
        .template as<arguments::csr_sv_seq<T, I>>()(&m, &alpha, a.val, a.indx, a.pntrb, a.pntre, y);
}

// C := alpha*inv(op(A))*B, n columns.
template <class T, class I>
void sm(const csr_view<T, I>& a, char op, I m, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    const std::int64_t work = entries(a.pntrb, a.pntre, m);
    if (alpha == T{} || (d.kind == 'd' && d.unit()) || m == 0)
        return solve_columns(d.by_rows, m, n, m, alpha, b, ldb, c, ldc, [](I, I) {});
    // Solves take the index base as an argument: the base in their names goes with the layout alone.
    auto* f = choose<T, I>(format::csr, product::sm, op, d, d.by_rows ? 0 : 1, d.by_rows)
                  .template as<arguments::csr_sm_par<T, I>>();
    const I base = static_cast<I>(d.base);
    // The diagonal's kernel is the one that applies alpha itself.
    const T before = d.kind == 'd' ? simd::unity<T> : alpha;
    solve_columns(d.by_rows, m, n, work, before, b, ldb, c, ldc, [&](I first, I last) {
        f(&first, &last, &m, &n, &alpha, a.val, a.indx, a.pntrb, a.pntre, c, &ldc, &base);
    });
}

// ---- CSC: the transpose in CSR ----

template <class T, class I>
csr_view<T, I> rows_of(const csc_view<T, I>& a)
{
    return {a.val, a.indx, a.pntrb, a.pntre};
}
template <class T, class I>
void mv(const csc_view<T, I>& a, char op, I m, I k, T alpha, const description& d, const T* x, T beta, T* y)
{
    mv(rows_of(a), op_of_transpose(op), k, m, alpha, of_transpose(d), x, beta, y);
}
template <class T, class I>
void mm(const csc_view<T, I>& a, char op, I m, I n, I k, T alpha, const description& d, const T* b, I ldb, T beta,
        T* c, I ldc)
{
    mm(rows_of(a), op_of_transpose(op), k, n, m, alpha, of_transpose(d), b, ldb, beta, c, ldc);
}
template <class T, class I>
void sv(const csc_view<T, I>& a, char op, I m, T alpha, const description& d, const T* x, T* y)
{
    sv(rows_of(a), op_of_transpose(op), m, alpha, of_transpose(d), x, y);
}
template <class T, class I>
void sm(const csc_view<T, I>& a, char op, I m, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    sm(rows_of(a), op_of_transpose(op), m, n, alpha, of_transpose(d), b, ldb, c, ldc);
}

} // namespace vrn::spblas::host
