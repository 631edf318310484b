// core/spblas/products.hpp - products and sums of two sparse matrices, and the short forms of a product with a
// vector.
//
// Rows of the result are apart, so that threads take ranges of them: a pass that counts the entries of each row, the
// sum of the counts, and a pass that fills. On one thread everything with a capacity goes in one pass. The forms with
// the first operand transposed take no range.
#pragma once

#include "core/spblas/convert.hpp"
#include "core/spblas/csr.hpp"

#include <atomic>
#include <limits>

namespace vrn::spblas::host {

namespace request {
enum { everything, count, fill };
}

// Counts of rows become one-based pointers. The row whose end no integer of this width tells, one-based, or 0.
template <class I>
I pointers_from_counts(I m, I* ic)
{
    constexpr std::int64_t most = std::numeric_limits<I>::max();
    std::int64_t next = 1;
    for (I i = 0; i < m; ++i) {
        const std::int64_t here = ic[i];
        ic[i] = static_cast<I>(next);
        if (here > most - next) return i + 1;
        next += here;
    }
    ic[m] = static_cast<I>(next);
    return 0;
}

// The first row that ends beyond nzmax entries, one-based, or 0.
template <class I>
I first_row_beyond(I m, const I* ic, I nzmax)
{
    const I* const end = std::partition_point(ic + 1, ic + m + 1, [&](I next) { return next - 1 <= nzmax; });
    return end == ic + m + 1 ? 0 : static_cast<I>(end - ic);
}

// A result over ranges of rows: pass(first, last, request, info). Kernels tell of -1 or of a row.
template <class I, class Pass>
void in_row_ranges(const I* ia, I m, std::int64_t work, I asked, I* ic, I nzmax, I* info, Pass&& pass)
{
    const int wanted = threads_for(work);
    const auto over_rows = [&](I upto, I what) {
        std::atomic<I> worst{0};
        threads::run(wanted, [&](int part, int parts) {
            const auto [from, to] = rows_of_part(ia, ia + 1, upto, part, parts);
            const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
            I status = 0;
            if (from < to) pass(first, last, what, &status);
            if (status != 0) worst.store(status, std::memory_order_relaxed);
        });
        return worst.load();
    };
    if (asked == request::everything && wanted == 1) return pass(I{1}, m, asked, info);
    *info = 0;
    if (asked != request::fill) {
        if ((*info = over_rows(m, request::count)) != 0) return;
        if ((*info = pointers_from_counts(m, ic)) != 0) return;
    }
    if (asked == request::count) return;
    I rows = m;
    if (asked == request::everything)
        if (const I row = first_row_beyond(m, ic, nzmax); row != 0) rows = row - 1;
    if (rows > 0) *info = over_rows(rows, request::fill);
    if (*info == 0 && rows < m) *info = rows + 1;
}

template <class I>
bool rows_in_order(I m, const I* ja, const I* ia)
{
    for (I i = 0; i < m; ++i)
        if (!std::is_sorted(ja + ia[i] - ia[0], ja + ia[i + 1] - ia[0])) return false;
    return true;
}

// C := op(A)*B
template <class T, class I>
void csrmultcsr(char op, I asked, I sort, I m, I n, I k, const T* a, const I* ja, const I* ia, const T* b,
                const I* jb, const I* ib, T* c, I* jc, I* ic, I nzmax, I* info)
{
    const I rows = op == 'n' ? m : n;
    *info = 0;
    if (op == 'n') {
        auto* f = kernels<T, I>::mcsr_notr();
        const I start = 0;
        // An entry of A brings a row of B.
        const std::int64_t brings = n > 0 && m > 0 ? 1 + (std::int64_t{ib[n]} - ib[0]) / n : 0;
        in_row_ranges(ia, m, m > 0 ? (std::int64_t{ia[m]} - ia[0]) * brings : 0, asked, ic, nzmax, info,
                      [&](I first, I last, I what, I* status) {
                          f(&first, &last, &k, &what, nullptr, a, ja, ia, b, jb, ib, c, jc, ic, &nzmax, &start,
                            nullptr, status);
                      });
        if (m == 0 && asked != request::fill) ic[0] = 1;
    } else {
        // Over a transposed copy of A; where there is no memory for that, over A itself, rows of which must be in
        // order.
        const I parts = static_cast<I>(threads::available()), no_sort = 0;
        kernels<T, I>::multcsr_trom()(&m, &n, &k, &asked, &parts, a, ja, ia, b, jb, ib, c, jc, ic, &nzmax, info);
        if (*info == -1 && rows_in_order(m, ja, ia))
            kernels<T, I>::multcsr_tr()(&m, &n, &k, &asked, &no_sort, const_cast<T*>(a), const_cast<I*>(ja), ia,
                                        const_cast<T*>(b), const_cast<I*>(jb), ib, c, jc, ic, &nzmax, info);
        if (*info == 0 && asked == request::count) *info = pointers_from_counts(rows, ic);
    }
    if (*info == 0 && sort != 0 && asked != request::count) csrsort(rows, c, jc, ic);
}

// C := op(A) + beta*B
template <class T, class I>
void csradd(char op, I asked, I sort, I m, I n, T* a, I* ja, const I* ia, T beta, T* b, I* jb, const I* ib, T* c,
            I* jc, I* ic, I nzmax, I* info)
{
    *info = 0;
    if (op == 'n') {
        auto* f = kernels<T, I>::mcsradd_notr();
        const std::int64_t work = m > 0 ? std::int64_t{ia[m]} - ia[0] + ib[m] - ib[0] : 0;
        in_row_ranges(ia, m, work, asked, ic, nzmax, info, [&](I first, I last, I what, I* status) {
            f(&first, &last, &what, &sort, a, ja, ia, &beta, b, jb, ib, c, jc, ic, &nzmax, status);
        });
        if (m == 0 && asked != request::fill) ic[0] = 1;
    } else {
        kernels<T, I>::mcsradd_tr()(&m, &n, &asked, &sort, a, ja, ia, &beta, b, jb, ib, c, jc, ic, &nzmax, info);
        if (*info == 0 && asked == request::count) *info = pointers_from_counts(n, ic);
    }
}

// C := op(A)*B, C dense
template <class T, class I>
void csrmultd(char op, I m, I n, I k, const T* a, const I* ja, const I* ia, const T* b, const I* jb, const I* ib,
              T* c, I ldc)
{
    if (op == 'n') {
        auto* f = kernels<T, I>::csrmultd_ker();
        threads::run(m == 0 ? 1 : threads_for(std::int64_t{m} * k), [&](int part, int parts) {
            const auto [from, to] = rows_of_part(ia, ia + 1, m, part, parts);
            const I first = static_cast<I>(from + 1), last = static_cast<I>(to);
            if (from < to) f(nullptr, &first, &last, &k, a, ja, ia, b, jb, ib, c, &ldc);
        });
        return;
    }
    const I first = 1;
    prepare(false, n, k, T{}, c, ldc);
    if (m > 0) kernels<T, I>::csrmultd_ker_t()(nullptr, &first, &m, &k, a, ja, ia, b, jb, ib, c, &ldc);
}

// ---- a product with a vector, no scalars ----

template <class T, class I>
T one()
{
    T unit;
    kernels<T, I>::ones()(&unit);
    return unit;
}

template <class T, class I>
void csrgemv(char op, I m, I k, const T* val, const I* indx, const I* pntr, const T* x, T* y)
{
    if constexpr (std::is_same_v<T, double>)
        if (op == 'n' && m > 0) {
            const description d{'g', '_', '_', 1, false};
            auto* f = choose<T, I>(format::csr, product::gemv, 'n', d, 1, false)
                          .template as<arguments::csr_gemv_par<T, I>>();
            return threads::run(threads_for(entries(pntr, pntr + 1, m)), [&](int part, int parts) {
                const auto [from, to] = rows_of_part(pntr, pntr + 1, m, part, parts);
                const I first = static_cast<I>(from + 1), last = static_cast<I>(to), width = 1;
                if (from < to) f(&first, &last, &m, &k, &width, val, indx, pntr, nullptr, x, y);
            });
        }
    mv(csr_view<T, I>{val, indx, pntr, pntr + 1}, op, m, k, one<T, I>(), {'g', '_', '_', 1, false}, x, T{}, y);
}

template <class T, class I>
void csrsymv(const char* uplo, I m, const T* val, const I* indx, const I* pntr, const T* x, T* y)
{
    const char triangle = lower_case(*uplo);
    if constexpr (std::is_same_v<T, double>)
        // One call for all rows: on several threads the kernels with ranges are faster.
        if (triangle == 'u' && m > 0 && threads_for(entries(pntr, pntr + 1, m)) == 1) {
            prepare(m, T{}, y);
            return kernels<T, I>::dcsrsymmvs()(&m, val, indx, pntr, x, y);
        }
    mv(csr_view<T, I>{val, indx, pntr, pntr + 1}, 'n', m, m, one<T, I>(), {'s', triangle, 'n', 1, false}, x, T{}, y);
}

} // namespace vrn::spblas::host
