// core/spblas/coo.hpp - products and solves in COO. Its kernels know no transposition: the index arrays and the
// triangle are exchanged instead, and the conjugate alone does the rest.
//
// Products with a vector scatter, so that threads take entries and private vectors. A kernel with a unit diagonal
// adds it over all m rows in every call: parts behind the first are told of no rows. Products with many columns, by
// columns and one-based, go through a kernel that takes several columns at a time in scratch of ours; without memory,
// by the plain one.
#pragma once

#include "core/spblas/table.hpp"
#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

// Kernels without transposition see this matrix.
template <class T, class I>
struct turned_coo {
    const I *rowind, *colind;
    description d;
    char op;
    bool turned;

    turned_coo(const coo_view<T, I>& a, char o, const description& stored)
        : rowind(a.rowind), colind(a.colind), d(stored), op(o), turned(false)
    {
        if (op == 'c' && d.kind == 'h') op = 'n'; // what it is called already
        if (!transposes(op)) return;
        std::swap(rowind, colind);
        d = of_transpose(d);
        op = op == 't' ? 'n' : 's';
        turned = true;
    }
};

// The index arrays in the base that the layout's kernels want, copied where they have the other. Without memory for
// that one warning, and the call gives up before it writes.
template <class I>
class in_base {
  public:
    in_base(const I*& rowind, const I*& colind, I nnz, int base, int wanted)
        : copy_(base == wanted ? 0 : 2 * std::int64_t{nnz})
    {
        if (base == wanted) return;
        good = vrn_serv_check_ptr_and_warn(copy_.get(), "sparse COO with a layout against its base") == 0;
        if (!good) return;
        const I shift = static_cast<I>(wanted - base);
        for (std::int64_t e = 0; e < nnz; ++e) {
            copy_.get()[e] = rowind[e] + shift;
            copy_.get()[nnz + e] = colind[e] + shift;
        }
        rowind = copy_.get(), colind = copy_.get() + nnz;
    }
    bool good = true;

  private:
    workspace<I> copy_;
};

template <class T, class I>
void mv(const coo_view<T, I>& stored, char op, I m, I k, T alpha, const description& given, const T* x, T beta, T* y)
{
    const turned_coo<T, I> a(stored, op, given);
    if (a.turned) std::swap(m, k);
    if (alpha == T{} || m == 0 || k == 0) return prepare(m, beta, y);
    const T* val = stored.val;
    const I one = 1, nnz = *stored.nnz;
    const kernel_choice kernel = choose<T, I>(format::coo, product::mv, a.op, a.d, a.d.base, a.d.base == 0);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    if (a.d.kind == 'd') {
        prepare(m, beta, y);
        return kernel.as<arguments::coo_mv_seq<T, I>>()(&m, &k, &alpha, val, a.rowind, a.colind, &nnz, x, y);
    }
    auto* f = kernel.as<arguments::coo_mv_par<T, I>>();
    in_private_vectors<T, I>(m, nnz, beta, y, [&](int part, int parts, T* target, T scale) {
        const auto [from, to] = share(nnz, 2, part, parts);
        const I count = static_cast<I>(to - from), rows = part == 0 ? m : 0;
        prepare(m, scale, target);
        f(&one, &count, &rows, &k, &alpha, val + from, a.rowind + from, a.colind + from, &count, x, target);
    });
}

// C := beta*C + alpha*A*B by columns, one-based, some columns at a time, through two dense scratch matrices.
// The kernel reads as many rows of B as A has rows or columns, so A must have as many columns as rows.
template <class T, class I, class F>
bool mm_in_scratch(F* f, const turned_coo<T, I>& a, const T* val, I nnz, I m, range columns, I k, T alpha, const T* b,
                   I ldb, T beta, T* c, I ldc)
{
    constexpr std::int64_t width = 8; // of the widths whose rows the kernel holds in registers
    const workspace<T> scratch(2 * width * k);
    if (!scratch) return false;
    T* const sums = scratch.get();             // what the kernel hands back
    T* const rows = scratch.get() + width * k; // what it adds to
    const I one = 1;
    for (std::int64_t j = columns.from; j < columns.to; j += width) {
        const I count = static_cast<I>(std::min(width, columns.to - j));
        std::fill_n(rows, width * k, T{});
        f(&one, &count, &m, &k, &alpha, val, a.rowind, a.colind, &nnz, b + j * ldb, &ldb, nullptr, nullptr, sums,
          rows);
        for (std::int64_t s = 0; s < count; ++s) {
            T* const to = c + (j + s) * ldc;
            const T* const sum = sums + s * k;
            for (std::int64_t i = 0; i < m; ++i) to[i] = beta == T{} ? sum[i] : beta * to[i] + sum[i];
        }
    }
    return true;
}

// Whether scratch pays for its two transpositions. The plain kernel by columns keeps a row's sums at hand while
// entries stay in one row: measured in double with 8 columns, it is up to 5 times as fast with 5 entries a row,
// scratch up to 2.4 times with 75, and 1.2 to 2 times with entries in no order at all.
template <class I>
bool scratch_pays(const I* rowind, std::int64_t nnz, std::int64_t rows)
{
    constexpr std::int64_t many = 12, probes = 64;
    if (nnz >= many * rows) return true;
    if (nnz < rows || nnz < 2 * probes) return false;
    int back = 0;
    for (std::int64_t p = 0; p < probes; ++p) {
        const std::int64_t e = (nnz - 1) / probes * p;
        back += rowind[e + 1] < rowind[e];
    }
    return back >= probes / 4;
}

template <class T, class I>
void mm(const coo_view<T, I>& stored, char op, I m, I n, I k, T alpha, const description& given, const T* b, I ldb,
        T beta, T* c, I ldc)
{
    turned_coo<T, I> a(stored, op, given);
    if (a.turned) std::swap(m, k);
    if (alpha == T{} || m == 0 || k == 0) return prepare(a.d.by_rows, m, n, beta, c, ldc);
    const I nnz = *stored.nnz;
    const bool by_rows = a.d.by_rows;
    const in_base<I> indices(a.rowind, a.colind, nnz, a.d.base, by_rows ? 0 : 1);
    if (!indices.good) return;
    const kernel_choice kernel = choose<T, I>(format::coo, product::mm, a.op, a.d, by_rows ? 0 : 1, by_rows);
    if (kernel.negated) alpha = minus<T, I>(alpha);
    auto* f = kernel.as<arguments::coo_mm_par<T, I>>();
    const bool several =
        !by_rows && a.d.kind == 'g' && kernel.op == 'n' && n > 1 && k >= m && scratch_pays(a.rowind, nnz, k);
    auto* wide =
        several
            ? choose<T, I>(format::coo, product::mm, 'n', a.d, 1, true).template as<arguments::coo_mm_scratch<T, I>>()
            : nullptr;
    threads::run(threads_for(std::int64_t{nnz} * n, n), [&](int part, int parts) {
        const range columns = columns_of(n, by_rows, part, parts);
        const I first = static_cast<I>(columns.from + 1), last = static_cast<I>(columns.to);
        if (columns.from >= columns.to) return;
        if (several && mm_in_scratch(wide, a, stored.val, nnz, m, columns, k, alpha, b, ldb, beta, c, ldc)) return;
        f(&first, &last, &m, &n, &alpha, stored.val, a.rowind, a.colind, &nnz, b, &ldb, c, &ldc, &beta);
    });
}

template <class T, class I>
void sv(const coo_view<T, I>& stored, char op, I m, T alpha, const description& given, const T* x, T* y)
{
    copy_scaled(m, alpha, x, y);
    if (alpha == T{} || (given.kind == 'd' && given.unit()) || m == 0) return;
    const turned_coo<T, I> a(stored, op, given);
    choose<T, I>(format::coo, product::sv, a.op, a.d, a.d.base, a.d.base == 0)
        .template as<arguments::coo_sv_seq<T, I>>()(&m, &m, &alpha, stored.val, a.rowind, a.colind, stored.nnz, x, y);
}

template <class T, class I>
void sm(const coo_view<T, I>& stored, char op, I m, I n, T alpha, const description& given, const T* b, I ldb, T* c,
        I ldc)
{
    const bool by_rows = given.by_rows, nothing = alpha == T{} || (given.kind == 'd' && given.unit()) || m == 0;
    turned_coo<T, I> a(stored, op, given);
    const in_base<I> indices(a.rowind, a.colind, *stored.nnz, nothing ? by_rows ? 0 : 1 : a.d.base, by_rows ? 0 : 1);
    if (!indices.good) return;
    if (nothing) return solve_columns(by_rows, m, n, m, alpha, b, ldb, c, ldc, [](I, I) {});
    auto* f = choose<T, I>(format::coo, product::sm, a.op, a.d, by_rows ? 0 : 1, by_rows)
                  .template as<arguments::coo_sm_par<T, I>>();
    solve_columns(by_rows, m, n, *stored.nnz, alpha, b, ldb, c, ldc, [&](I first, I last) {
        f(&first, &last, &m, &n, &alpha, stored.val, a.rowind, a.colind, stored.nnz, c, &ldc);
    });
}

} // namespace vrn::spblas::host
