// spblas/csr/mv.hpp - y := beta*y + alpha*op(A)*x, A in CSR, on a range of rows (mv_par) or on all (mv_seq).
//
//     g        a sum a row                                    dot.hpp, beta applied with it
//     t        the same over the whole row, then what lies outside the triangle is taken back: an entry there must
//              be a finite number
//     s h a    own row and mirrored row                       two_sided.hpp, all of y scaled by beta first
//     op t, c  scatter                                        scatter.hpp, all of y scaled by beta first
//     d        the stored diagonal, every entry of it; or one
//
// Kernels that scatter scale y over n elements, whatever the range: a caller that splits one gives each part a y of
// its own and beta zero. Nothing is allocated. Called by name through the generated exports.
#pragma once

#include "frame/services.hpp"
#include "spblas/csr/scatter.hpp"
#include "spblas/csr/two_sided.hpp"
#include "spblas/imports.hpp"

namespace vrn::spblas::csr {

template <class T>
[[gnu::always_inline]] inline void update(T& y, T beta, T change)
{
    if (beta == T{}) y = change;
    else y = y * beta + change;
}

// Out of line: the registers of its accumulators would weigh on the short rows.
template <bool Conjugate, class T, class I>
[[gnu::noinline, gnu::flatten]] T mv_long_row(const matrix<T, I>& a, std::ptrdiff_t i, const T* x)
{
    return dot<whole_row<T>>(a.next(i), x, as_stored<Conjugate>{});
}

// Knows neither base nor layout, so that both bases share it: x and y come shifted by the base.
// Aligned, since the loops of short rows are a tenth slower where chance puts them across lines of code.
template <bool Conjugate, bool Clears, class T, class I>
[[gnu::noinline, gnu::flatten, gnu::aligned(64)]] void
mv_general(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, T alpha, const T* x, T* y, T beta)
{
    const as_stored<Conjugate> map{};
    auto finish = [&](std::ptrdiff_t i, T sum) __attribute__((always_inline))
    {
        if constexpr (Clears) y[i] = alpha * sum;
        else y[i] = y[i] * beta + alpha * sum;
    };
    auto one = [&](std::ptrdiff_t i, const row<T, I>& r) __attribute__((always_inline))
    {
        if (r.size >= long_row) finish(i, mv_long_row<Conjugate>(a, i, x));
        else finish(i, dot<whole_row<T>>(r, x, map));
    };
    std::ptrdiff_t i = from;
    if constexpr (std::is_same_v<T, double>) {
        // Two short rows of one size go together: the sum of one fills the time that the other's takes.
        for (; i + 1 < to; i += 2) {
            a.ask_ahead(a.pntrb[i]);
            a.ask_ahead(a.pntrb[i + 1]);
            const row<T, I> r = a[i], s = a[i + 1];
            if (r.size == s.size && r.size < long_row) [[likely]] {
                const auto sums = summed<2>(several<T, 2>{}, {r, s}, x, map);
                finish(i, sums.e[0]);
                finish(i + 1, sums.e[1]);
            } else {
                one(i, r);
                one(i + 1, s);
            }
        }
    }
    for (; i < to; ++i) one(i, a.next(i));
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void mv_masked(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, I base,
                                               T alpha, const T* x, T* y, T beta)
{
    constexpr bool conjugate = Shape.conjugates();
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const row<T, I> r = a.next(i);
        const I self = static_cast<I>(i + base);
        T sum = dot<masked_row<T>>(r, x, as_stored<conjugate>{});
        for (std::ptrdiff_t k = 0; k < r.size; ++k) {
            const I col = r.indx[k];
            if (inside<!Shape.lower()>(col, self) || (Shape.unit() && col == self))
                sum = sum - conj_if<conjugate>(r.val[k]) * x[col];
        }
        T change = alpha * sum;
        if constexpr (Shape.unit()) change = change + alpha * x[self];
        update(y[self], beta, change);
    }
}

// Single complex, zero-based, its diagonal stored: whole ranges go in chunks of rows.
template <class T, tag Tag>
inline constexpr std::ptrdiff_t row_chunk =
    std::is_same_v<T, cplx<float>>&& Tag.base == 0 && !Tag.unit() && (Tag.is('h') || (Tag.is('s') && Tag.op == 'c'))
        ? 20000
        : PTRDIFF_MAX / 2;

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten, gnu::aligned(64)]] void
mv_scattered(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t n,
             [[maybe_unused]] std::ptrdiff_t chunk, I base, T alpha, const T* x, T* y, T beta)
{
    if constexpr (Shape.two_sided()) {
        scale_before<Shape>(from, to, n, base, y, beta);
        // Rows keep their order, so that chunks change no result.
        for (std::ptrdiff_t i = from; i < to; i += chunk)
            two_sided<Shape>(a, i, i + chunk < to ? i + chunk : to, base, alpha, x, y, beta);
    } else {
        scale(vector<T>{y}, base, base + n, beta);
        scatter<Shape>(a, from, to, base, alpha, vector<const T>{x}, vector<T>{y});
    }
}

template <bool Conjugate, class T, class I>
[[gnu::noinline, gnu::flatten]] void mv_diagonal(matrix<T, I> a, std::ptrdiff_t m, I base, T alpha, const T* x, T* y,
                                                 T beta)
{
    scale(vector<T>{y}, base, base + m, beta);
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        for (std::ptrdiff_t k = 0; k < r.size; ++k)
            if (r.indx[k] == i + base) y[i + base] = y[i + base] + alpha * conj_if<Conjugate>(r.val[k]) * x[i + base];
    }
}

template <class T, class I, tag Tag>
void mv_par(const I* first, const I* last, const I* /*m*/, const I* n, const T* alpha, const T* val, const I* indx,
            const I* pntrb, const I* pntre, const T* x, T* y, const T* beta)
{
    constexpr tag shape = Tag.canonical();
    const I base = Tag.base;
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last;
    const matrix<T, I> a(val, indx, pntrb, pntre, from < to);
    x = based(x, base), y = based(y, base);
    if constexpr (shape.two_sided() || shape.transposes())
        mv_scattered<shape>(a, from, to, *n, row_chunk<T, Tag>, base, *alpha, x, y, *beta);
    else if constexpr (shape.is('t')) mv_masked<shape>(a, from, to, base, *alpha, x, y, *beta);
    else if (*beta == T{}) mv_general<shape.conjugates(), true>(a, from, to, *alpha, x, y + base, *beta);
    else mv_general<shape.conjugates(), false>(a, from, to, *alpha, x, y + base, *beta);
}

template <class T, class I, tag Tag>
void mv_seq(const I* m, const I* n, const T* alpha, const T* val, const I* indx, const I* pntrb, const I* pntre,
            const T* x, T* y, const T* beta)
{
    constexpr tag shape = Tag.canonical();
    const I base = Tag.base;
    if constexpr (shape.is('d') && shape.unit()) {
        const I one = 1;
        scale(vector<T>{y}, 0, *m, *beta);
        axpy(m, alpha, x, &one, y, &one);
    } else {
        const matrix<T, I> a(val, indx, pntrb, pntre, *m > 0);
        x = based(x, base), y = based(y, base);
        if constexpr (shape.is('d')) mv_diagonal<shape.conjugates()>(a, *m, base, *alpha, x, y, *beta);
        else mv_scattered<shape>(a, 0, *m, *n, row_chunk<T, Tag>, base, *alpha, x, y, *beta);
    }
}

} // namespace vrn::spblas::csr
