// core/spblas/bsr.hpp - products and solves in BSR, solves in block CSC. Elements of a block lie as dense matrices
// do, by rows or by columns, and the kernels' names go with that.
//
// General products with a vector have a kernel without alpha and beta for rows without gaps, symmetric ones with a
// stored diagonal a kernel in the layout that goes with the base; all other products, with a vector too, are the
// dense products with as many columns. Those take no range: threads take columns. What the kernels do not know is put
// together: an antisymmetric matrix from its upper triangle U is (U + I) - transpose(U + I); the conjugate transpose
// of a triangle is the transpose between conjugations.
#pragma once

#include "core/spblas/table.hpp"
#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

template <class T, class I>
struct bsr_call {
    const bsr_view<T, I>& a;
    const description& d;
    I mb;
    bool by_rows;
    const T* conjugate_of_b; // where needs_conjugate()

    static bool needs_conjugate(char op, const description& d)
    {
        return is_complex<T> && op == 'c' && (d.kind == 't' || (d.kind == 'a' && !d.lower()));
    }

    // C := C + alpha*op(A)*B on n columns by a kernel of either list.
    void whole(arguments::bsr_mm_whole<T, I>* f, char op, I n, T alpha, const T* b, I ldb, T* c, I ldc) const
    {
        const I o = op == 'n' ? choice::none : op == 't' ? choice::transpose : choice::conjugate_transpose;
        const I base = static_cast<I>(d.base);
        f(&o, &mb, &n, a.lb, &alpha, a.val, a.indx, a.pntrb, a.pntre, b, &ldb, c, &ldc, &base);
    }
    void chosen(arguments::bsr_mm_chosen<T, I>* f, bool plain, bool unit, I n, T alpha, const T* b, I ldb, T* c,
                I ldc) const
    {
        const I o = plain ? choice::none : choice::transpose, uplo = d.lower() ? choice::lower : choice::upper;
        const I diag = unit ? choice::unit : choice::stored, base = static_cast<I>(d.base);
        f(&o, &uplo, &diag, &mb, &n, a.lb, &alpha, a.val, a.indx, a.pntrb, a.pntre, b, &ldb, c, &ldc, &base);
    }

#define VRN_BSR_KERNEL(name) (by_rows ? kernels<T, I>::cspblas_##name() : kernels<T, I>::name())
    void add(char op, I n, T alpha, const T* b, I ldb, T* c, I ldc) const
    {
        switch (d.kind) {
        case 'g':
            return whole(VRN_BSR_KERNEL(bsrmmgen), op, n, alpha, b, ldb, c, ldc);
        case 'd':
            return whole(VRN_BSR_KERNEL(bsrmmdiag), op, n, alpha, b, ldb, c, ldc);
        case 's':
            return chosen(VRN_BSR_KERNEL(bsrmmsym), !is_complex<T> || op != 'c', d.unit(), n, alpha, b, ldb, c, ldc);
        case 'h':
            if constexpr (is_complex<T>)
                chosen(VRN_BSR_KERNEL(bsrmmher), op != 't', d.unit(), n, alpha, b, ldb, c, ldc);
            return;
        case 'a':
            if (d.lower()) return whole(VRN_BSR_KERNEL(bsrmmskew), op, n, alpha, b, ldb, c, ldc);
            return add_upper_skew(op, n, alpha, b, ldb, c, ldc);
        default:
            return add_triangle(op, d.unit(), n, alpha, b, ldb, c, ldc);
        }
    }
    void add_triangle(char op, bool unit, I n, T alpha, const T* b, I ldb, T* c, I ldc) const
    {
        auto* f = VRN_BSR_KERNEL(bsrmmtr);
        if (op != 'c' || !is_complex<T>) return chosen(f, op == 'n', unit, n, alpha, b, ldb, c, ldc);
        // conj(C) := conj(C) + conj(alpha)*transpose(A)*conj(B)
        conjugate(by_rows, rows(), n, c, ldc);
        chosen(f, false, unit, n, conjugated(alpha), conjugate_of_b, ldb, c, ldc);
        conjugate(by_rows, rows(), n, c, ldc);
    }
    // transpose(U) - U under op t, and conjugated under c.
    void add_upper_skew(char op, I n, T alpha, const T* b, I ldb, T* c, I ldc) const
    {
        auto* f = VRN_BSR_KERNEL(bsrmmtr);
        const auto both = [&](T scale, const T* from) {
            chosen(f, true, true, n, scale, from, ldb, c, ldc);
            chosen(f, false, true, n, minus<T, I>(scale), from, ldb, c, ldc);
        };
        if (op == 'n') return both(alpha, b);
        if (op == 't' || !is_complex<T>) return both(minus<T, I>(alpha), b);
        conjugate(by_rows, rows(), n, c, ldc);
        both(minus<T, I>(conjugated(alpha)), conjugate_of_b);
        conjugate(by_rows, rows(), n, c, ldc);
    }
    I rows() const { return mb * *a.lb; }
};

// Blocks, elements of which count each.
template <class T, class I>
std::int64_t entries(const bsr_view<T, I>& a, I mb)
{
    return entries(a.pntrb, a.pntre, mb) * *a.lb * *a.lb;
}

template <class T, class I>
void mm(const bsr_view<T, I>& a, char op, I mb, I n, I kb, T alpha, const description& d, const T* b, I ldb, T beta,
        T* c, I ldc)
{
    using call = bsr_call<T, I>;
    const I rows = (transposes(op) ? kb : mb) * *a.lb, rows_of_b = (transposes(op) ? mb : kb) * *a.lb;
    if (alpha == T{} || mb == 0 || kb == 0) return prepare(d.by_rows, rows, n, beta, c, ldc);
    if (d.kind == 'd' && d.unit()) return add_scaled(d.by_rows, rows, n, alpha, b, ldb, beta, c, ldc);
    const bool conjugates = call::needs_conjugate(op, d);
    const conjugate_copy<T, I> other(conjugates, d.by_rows, rows_of_b, n, b, ldb);
    if (!other.good) return;
    threads::run(threads_for(entries(a, mb) * n, n), [&](int part, int parts) {
        const auto [from, to] = columns_of(n, d.by_rows, part, parts);
        if (from >= to) return;
        const I columns = static_cast<I>(to - from);
        T* const target = from_column(d.by_rows, from, c, ldc);
        prepare(d.by_rows, rows, columns, beta, target, ldc);
        const T* const conjugate_of_b = conjugates ? from_column(d.by_rows, from, other.get(), ldb) : nullptr;
        call{a, d, mb, d.by_rows, conjugate_of_b}.add(op, columns, alpha, from_column(d.by_rows, from, b, ldb), ldb,
                                                      target, ldc);
    });
}

// y := A*x over block rows that lie one after the other.
template <class T, class I>
void bsr_times(const bsr_view<T, I>& a, I mb, const description& d, const T* x, T* y)
{
    auto* f = choose<T, I>(format::bsr, product::gemv, 'n', d, d.by_rows ? 0 : 1, d.by_rows)
                  .template as<arguments::bsr_gemv_par<T, I>>();
    threads::run(threads_for(entries(a, mb)), [&](int part, int parts) {
        const auto [from, to] = rows_of_part(a.pntrb, a.pntre, mb, part, parts);
        const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
        if (from < to) f(&first, &last, nullptr, a.lb, nullptr, a.val, a.indx, a.pntrb, nullptr, x, y);
    });
}

template <class T, class I>
void mv(const bsr_view<T, I>& a, char op, I mb, I kb, T alpha, const description& d, const T* x, T beta, T* y)
{
    const I rows = (transposes(op) ? kb : mb) * *a.lb;
    if (alpha == T{} || mb == 0 || kb == 0) return prepare(rows, beta, y);
    // Kernels for one vector have their base and their layout in one letter.
    const bool goes = d.by_rows == (d.base == 0);
    if (goes && d.kind == 'g' && op == 'n' && std::equal(a.pntre, a.pntre + mb - 1, a.pntrb + 1)) {
        if (alpha == simd::unity<T> && beta == T{}) return bsr_times(a, mb, d, x, y);
        if (const workspace<T> product{rows}) {
            bsr_times(a, mb, d, x, product.get());
            prepare(rows, beta, y);
            for (std::int64_t i = 0; i < rows; ++i) y[i] = y[i] + alpha * product.get()[i];
            return;
        }
    }
    if (goes && d.kind == 's' && !d.unit() && (op != 'c' || !is_complex<T>)) {
        auto* f = choose<T, I>(format::bsr, product::mv, 'n', d, d.base, d.by_rows)
                      .template as<arguments::bsr_mv_par<T, I>>();
        const auto begins = [&](int part, int parts) {
            return row_of_part(a.pntrb, a.pntre, mb, part, parts) * *a.lb;
        };
        return in_private_vectors<T, I>(rows, entries(a, mb), beta, y, d.lower() ? reach::lower : reach::upper,
                                        begins, [&](int part, int parts, T* target, T scale) {
                                            const auto [from, to] = rows_of_part(a.pntrb, a.pntre, mb, part, parts);
                                            const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
                                            prepare(rows, scale, target);
                                            if (from < to)
                                                f(&first, &last, nullptr, a.lb, &alpha, a.val, a.indx, a.pntrb,
                                                  a.pntre, x, target);
                                        });
    }
    // One column: by rows its lines are one element long.
    mm<T, I>(a, op, mb, 1, kb, alpha, d, x, d.by_rows ? 1 : (transposes(op) ? mb : kb) * *a.lb, beta, y,
             d.by_rows ? 1 : rows);
}

// ---- solves ----

// Which sweep over block rows (or block columns) is inv(op(triangle)).
template <class I>
struct sweep {
    I direction, orientation;

    sweep(char op, bool lower)
        : direction(lower == (op == 'n') ? choice::forward : choice::backward),
          orientation(op == 'n' ? choice::by_rows : choice::by_columns)
    {
    }
};

// Solves in place with one right-hand side.
template <bool ByColumns, class T, class I>
void solve_blocks(const bsr_view<T, I>& a, char op, I mb, const description& d, T* y)
{
    const I rows = mb * *a.lb, base = static_cast<I>(d.base);
    const bool around = op == 'c' && is_complex<T>;
    if (around) conjugate(rows, y);
    if (d.kind == 'd') {
        // The one kernel whose base turns block columns into one-based ones.
        const I to_one = 1 - base;
        (d.by_rows ? kernels<T, I>::bsr_cspblas_invdiag() : kernels<T, I>::bsr_invdiag())(
            &mb, &mb, a.lb, a.val, a.indx, a.pntrb, a.pntre, y, nullptr, &to_one);
    } else {
        const sweep<I> s(op, d.lower());
        const I diag = d.unit() ? choice::unit : choice::stored;
        auto* f = ByColumns   ? d.by_rows ? kernels<T, I>::bsc_cspblas_gauss() : kernels<T, I>::bsc_gauss()
                    : d.by_rows ? kernels<T, I>::bsr_cspblas_gauss()
                              : kernels<T, I>::bsr_gauss();
        f(&s.direction, &mb, &mb, &s.orientation, a.lb, a.val, a.indx, a.pntrb, a.pntre, y, &diag, &base);
    }
    if (around) conjugate(rows, y);
}

template <bool ByColumns, class T, class I>
void solve_block_columns(const bsr_view<T, I>& a, char op, I mb, I n, T alpha, const description& d, const T* b,
                         I ldb, T* c, I ldc)
{
    const I rows = mb * *a.lb;
    const bool nothing = alpha == T{} || (d.kind == 'd' && d.unit()) || mb == 0;
    // By rows a column has to be gathered first.
    const int threads = threads_for(entries(a, mb) * n, n);
    const workspace<T> columns(d.by_rows && !nothing ? std::int64_t{rows} * threads : 0);
    if (vrn_serv_check_ptr_and_warn(columns.get(), "sparse BSR solve by rows") != 0) return;
    threads::run(threads, [&](int part, int parts) {
        const auto [from, to] = columns_of(n, d.by_rows, part, parts);
        if (from >= to) return;
        copy_scaled(d.by_rows, rows, static_cast<I>(to - from), alpha, from_column(d.by_rows, from, b, ldb), ldb,
                    from_column(d.by_rows, from, c, ldc), ldc);
        for (std::int64_t j = from; j < to && !nothing; ++j) {
            T* const column = from_column(d.by_rows, j, c, ldc);
            if (!d.by_rows) {
                solve_blocks<ByColumns>(a, op, mb, d, column);
                continue;
            }
            T* const own = columns.get() + std::int64_t{rows} * part;
            for (std::int64_t i = 0; i < rows; ++i) own[i] = column[i * ldc];
            solve_blocks<ByColumns>(a, op, mb, d, own);
            for (std::int64_t i = 0; i < rows; ++i) column[i * ldc] = own[i];
        }
    });
}

template <bool ByColumns, class T, class I>
void solve_block_vector(const bsr_view<T, I>& a, char op, I mb, T alpha, const description& d, const T* x, T* y)
{
    copy_scaled<T, I>(mb * *a.lb, alpha, x, y);
    if (!(alpha == T{} || (d.kind == 'd' && d.unit()) || mb == 0)) solve_blocks<ByColumns>(a, op, mb, d, y);
}

template <class T, class I>
void sv(const bsr_view<T, I>& a, char op, I mb, T alpha, const description& d, const T* x, T* y)
{
    solve_block_vector<false>(a, op, mb, alpha, d, x, y);
}
template <class T, class I>
void sm(const bsr_view<T, I>& a, char op, I mb, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    solve_block_columns<false>(a, op, mb, n, alpha, d, b, ldb, c, ldc);
}
template <class T, class I>
void sv(const bsc_view<T, I>& a, char op, I mb, T alpha, const description& d, const T* x, T* y)
{
    solve_block_vector<true>(bsr_view<T, I>{a.val, a.indx, a.pntrb, a.pntre, a.lb}, op, mb, alpha, d, x, y);
}
template <class T, class I>
void sm(const bsc_view<T, I>& a, char op, I mb, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    solve_block_columns<true>(bsr_view<T, I>{a.val, a.indx, a.pntrb, a.pntre, a.lb}, op, mb, n, alpha, d, b, ldb, c,
                              ldc);
}
#undef VRN_BSR_KERNEL

} // namespace vrn::spblas::host
