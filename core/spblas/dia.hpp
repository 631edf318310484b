// core/spblas/dia.hpp - products and solves in DIA, by columns and without a base: offsets have none.
//
// A product kernel goes over all rows and diagonals it is told of. Threads take
//     general              strips of y: an offset becomes that of the strip, so that all strips are matrices in DIA
//     other classes        some diagonals each, into private vectors; the unit diagonal, which a call adds by itself,
//                          goes with the diagonals where the stored one lies
//     several columns      columns
// Solves want ascending offsets: diagonals in another order are copied.
#pragma once

#include "core/spblas/table.hpp"
#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

template <class T, class I>
void mv_in_strips(arguments::dia_mv_par<T, I>* f, const dia_view<T, I>& a, bool turned, I m, I k, T alpha, const T* x,
                  T beta, T* y)
{
    const I count = *a.ndiag, length = turned ? k : m;
    const int wanted = threads_for(std::int64_t{length} * count);
    const workspace<I> offsets(wanted == 1 ? 0 : std::int64_t{count} * wanted);
    threads::run(offsets ? wanted : 1, [&](int part, int parts) {
        const range rows = share(length, 64, part, parts);
        const I one = 1, here = static_cast<I>(rows.to - rows.from), from = static_cast<I>(rows.from);
        if (here == 0) return;
        const I* idiag = a.idiag;
        if (parts > 1) {
            // A strip of rows of A begins at row `from`, a strip of columns at that column.
            I* const moved = offsets.get() + std::int64_t{count} * part;
            for (I j = 0; j < count; ++j) moved[j] = a.idiag[j] + (turned ? -from : from);
            idiag = moved;
        }
        prepare(here, beta, y + from);
        f(&one, &here, turned ? &m : &here, turned ? &here : &k, &alpha, turned ? a.val : a.val + from, a.lval, idiag,
          a.ndiag, x, y + from);
    });
}

template <class T, class I>
void mv(const dia_view<T, I>& a, char op, I m, I k, T alpha, const description& d, const T* x, T beta, T* y)
{
    const I length = transposes(op) ? k : m, count = *a.ndiag, one = 1;
    if (alpha == T{} || m == 0 || k == 0) return prepare(length, beta, y);
    if (d.kind == 'd' && d.unit()) return add_scaled<T, I>(false, m, 1, alpha, x, m, beta, y, m);
    const kernel_choice kernel = choose<T, I>(format::dia, product::mv, op, d, 1, false);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    auto* f = kernel.as<arguments::dia_mv_par<T, I>>();
    if (d.kind == 'g') return mv_in_strips(f, a, transposes(kernel.op), m, k, alpha, x, beta, y);

    // The one part whose kernel knows of the unit diagonal; the others' must not meet a stored main diagonal.
    description without = d;
    std::int64_t mains = 0, main = 0;
    for (I j = 0; j < count; ++j)
        if (a.idiag[j] == 0) ++mains, main = j;
    if (d.unit()) without.diagonal = 'n';
    auto* g =
        d.unit()
            ? choose<T, I>(format::dia, product::mv, op, without, 1, false).template as<arguments::dia_mv_par<T, I>>()
            : f;
    const std::int64_t work = d.kind == 'd' || (d.unit() && mains > 1) ? 0 : std::int64_t{m} * count;
    in_private_vectors<T, I>(length, work, beta, y, [&](int part, int parts, T* target, T scale) {
        const auto [from, to] = share(count, 1, part, parts);
        const I diagonals = static_cast<I>(to - from);
        const bool with = parts == 1 || (mains == 0 ? part == 0 : from <= main && main < to);
        prepare(length, scale, target);
        (with ? f : g)(&one, &m, &m, &k, &alpha, a.val + from * *a.lval, a.lval, a.idiag + from, &diagonals, x,
                       target);
    });
}

template <class T, class I>
void mm(const dia_view<T, I>& a, char op, I m, I n, I k, T alpha, const description& d, const T* b, I ldb, T beta,
        T* c, I ldc)
{
    const I length = transposes(op) ? k : m;
    if (alpha == T{} || m == 0 || k == 0) return prepare(false, length, n, beta, c, ldc);
    if (d.kind == 'd' && d.unit()) return add_scaled(false, m, n, alpha, b, ldb, beta, c, ldc);
    const kernel_choice kernel = choose<T, I>(format::dia, product::mm, op, d, 1, false);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    auto* f = kernel.as<arguments::dia_mm_par<T, I>>();
    threads::run(threads_for(std::int64_t{m} * *a.ndiag * n, n), [&](int part, int parts) {
        const auto [from, to] = columns_of(n, false, part, parts);
        const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
        if (from >= to) return;
        prepare(false, length, static_cast<I>(to - from), beta, c + from * ldc, ldc);
        f(&first, &last, &m, &k, &alpha, a.val, a.lval, a.idiag, a.ndiag, b, &ldb, &beta, c, &ldc);
    });
}

// The diagonals in ascending order, and the places of the triangle among them.
template <class T, class I>
struct sorted_diagonals {
    const T* val;
    I lval, first, last, main; // one-based; last 0 or first 0 where the triangle has no off-diagonal
    bool good;

    sorted_diagonals(const dia_view<T, I>& a, I m, const description& d)
        : val(a.val), lval(*a.lval), first(1), last(0), main(0), good(false), count_(*a.ndiag),
          offsets_(count_ + std::int64_t{1}),
          values_(std::is_sorted(a.idiag, a.idiag + count_) ? 0 : std::int64_t{count_} * m)
    {
        if (vrn_serv_check_ptr_and_warn(offsets_.get(), "sparse DIA solve") != 0) return;
        I* const idiag = offsets_.get();
        std::copy_n(a.idiag, count_, idiag);
        std::sort(idiag, idiag + count_);
        idiag[count_] = m; // beyond every offset, for who looks one place too far
        if (!std::is_sorted(a.idiag, a.idiag + count_)) {
            if (vrn_serv_check_ptr_and_warn(values_.get(), "sparse DIA solve") != 0) return;
            for (std::int64_t j = 0; j < count_; ++j) {
                const std::int64_t from = std::find(a.idiag, a.idiag + count_, idiag[j]) - a.idiag;
                std::copy_n(a.val + from * lval, m, values_.get() + j * m);
            }
            val = values_.get(), lval = m;
        }
        I full_first = 1, full_last = 0, flag = 0;
        const auto find = d.lower() ? d.unit() ? kernels<T, I>::find_diag_par_lu() : kernels<T, I>::find_diag_par_ln()
                          : d.unit() ? kernels<T, I>::find_diag_par_uu()
                                     : kernels<T, I>::find_diag_par_un();
        find(idiag, &count_, &first, &last, &full_first, &full_last, &flag);
        // A matrix without a main diagonal or without anything beside it: the ranges found take in a neighbour.
        if (d.lower()) {
            while (last > 0 && idiag[last - 1] >= 0) --last;
            main = last + 1;
        } else {
            while (first > 1 && idiag[first - 2] > 0) --first;
            main = full_first;
            if (first > count_ || idiag[first - 1] <= 0) first = last = 0;
        }
        good = true;
    }
    const I* idiag() const { return offsets_.get(); }

  private:
    I count_;
    workspace<I> offsets_;
    workspace<T> values_;
};

template <class T, class I>
void sv(const dia_view<T, I>& a, char op, I m, T alpha, const description& d, const T* x, T* y)
{
    if (alpha == T{} || (d.kind == 'd' && d.unit()) || m == 0) return copy_scaled(m, alpha, x, y);
    const kernel_choice kernel = choose<T, I>(format::dia, product::sv, op, d, 1, false);
    if (d.kind == 'd') {
        copy_scaled(m, alpha, x, y);
        return kernel.as<arguments::dia_sv_diagonal<T, I>>()(&m, a.val, a.lval, a.idiag, a.ndiag, y);
    }
    const sorted_diagonals<T, I> s(a, m, d);
    if (!s.good) return;
    copy_scaled(m, alpha, x, y);
    kernel.as<arguments::dia_sv_seq<T, I>>()(&m, s.val, &s.lval, s.idiag(), y, &s.first, &s.last, nullptr, &s.main);
}

template <class T, class I>
void sm(const dia_view<T, I>& a, char op, I m, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    if (alpha == T{} || (d.kind == 'd' && d.unit()) || m == 0) return copy_scaled(false, m, n, alpha, b, ldb, c, ldc);
    const kernel_choice kernel = choose<T, I>(format::dia, product::sm, op, d, 1, false);
    if (d.kind == 'd') {
        copy_scaled(false, m, n, alpha, b, ldb, c, ldc);
        return kernel.as<arguments::dia_sm_diagonal<T, I>>()(&m, &n, a.val, a.lval, a.idiag, a.ndiag, c, &ldc);
    }
    const sorted_diagonals<T, I> s(a, m, d);
    if (!s.good) return;
    auto* f = kernel.as<arguments::dia_sm_par<T, I>>();
    solve_columns(false, m, n, std::int64_t{m} * *a.ndiag, alpha, b, ldb, c, ldc, [&](I first, I last) {
        f(&first, &last, &m, s.val, &s.lval, s.idiag(), nullptr, c, &ldc, &s.first, &s.last, nullptr, &s.main);
    });
}

} // namespace vrn::spblas::host
