// spblas/csr/sv.hpp - y := inv(op(A))*y, A triangular in CSR with sorted rows; y := alpha*inv(op(A))*y where A is its
// diagonal alone. Substitution by row sums (ops n, s) or by scattering each solved element (ops t, c).
// alpha is read by the diagonal class alone: a caller has formed alpha*x in y. Nothing is allocated. Called by name
// through the generated exports.
#pragma once

#include "spblas/csr/solve.hpp"

namespace vrn::spblas::csr {

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sv_diagonal(matrix<T, I> a, std::ptrdiff_t m, I base, T alpha, T* y)
{
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        const I self = static_cast<I>(i + base);
        std::ptrdiff_t k = 0;
        while (k < r.size && r.indx[k] < self) ++k;
        y[self] = y[self] * (alpha / conj_if<Shape.conjugates()>(r.val[k]));
    }
}

// The element solved last is kept at hand, for the one entry of a sorted row that can want it: where a row needs its
// neighbour, the way through memory would be a fifth of the row's latency.
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sv_lower(matrix<T, I> a, std::ptrdiff_t m, I base, T* y)
{
    constexpr bool conjugate = Shape.conjugates();
    T previous{};
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a.next(i);
        const I self = static_cast<I>(i + base);
        const std::ptrdiff_t end = below(r, self);
        T sum{};
        std::ptrdiff_t k = 0;
        for (; k + 2 < end; k += 2) {
            const places<I, 2> at(r.indx + k);
            sum = sum + y[at.col[0]] * conj_if<conjugate>(r.val[k]);
            sum = sum + y[at.col[1]] * conj_if<conjugate>(r.val[k + 1]);
        }
        for (; k < end; ++k) {
            const T v = conj_if<conjugate>(r.val[k]);
            if (r.indx[k] == self - 1) sum = sum + previous * v;
            else sum = sum + y[r.indx[k]] * v;
        }
        previous = y[self] - sum;
        if constexpr (!Shape.unit()) previous = previous / conj_if<conjugate>(r.val[end]);
        y[self] = previous;
    }
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sv_upper(matrix<T, I> a, std::ptrdiff_t m, I base, T* y)
{
    constexpr bool conjugate = Shape.conjugates();
    T previous{};
    for (std::ptrdiff_t i = m - 1; i >= 0; --i) {
        const row<T, I> r = a.template next<-1>(i);
        const I self = static_cast<I>(i + base);
        const triangle_part p = part_of<Shape>(r, self);
        const row<T, I> rest{r.val + p.begin, r.indx + p.begin, p.end - p.begin};
        T sum{};
        if (rest.size >= masked_row<T>.from)
            sum = dot<masked_row<T>>(rest, static_cast<const T*>(y), as_stored<conjugate>{});
        else
            for (std::ptrdiff_t k = 0; k < rest.size; ++k) {
                const T v = conj_if<conjugate>(rest.val[k]);
                if (rest.indx[k] == self + 1) sum = sum + v * previous;
                else sum = sum + v * y[rest.indx[k]];
            }
        previous = y[self] - sum;
        if constexpr (!Shape.unit()) previous = previous / conj_if<conjugate>(r.val[p.diagonal]);
        y[self] = previous;
    }
}

// One row of a transposed solve: the element is final, and all that still wait for it get their share.
template <tag Shape, class T, class I>
[[gnu::always_inline]] inline void sv_scatter(const matrix<T, I>& a, std::ptrdiff_t i, I base, T* y)
{
    constexpr bool conjugate = Shape.conjugates();
    const row<T, I> r = a.template next < Shape.lower() ? -1 : 1 > (i);
    const I self = static_cast<I>(i + base);
    const triangle_part p = part_of<Shape>(r, self);
    if constexpr (!Shape.unit()) y[self] = y[self] / conj_if<conjugate>(r.val[p.diagonal]);
    const T t = y[self];
    auto take = [&](std::ptrdiff_t k) { y[r.indx[k]] = y[r.indx[k]] - t * conj_if<conjugate>(r.val[k]); };
    if constexpr (Shape.lower())
        for (std::ptrdiff_t k = p.end - 1; k >= p.begin; --k) take(k);
    else
        for (std::ptrdiff_t k = p.begin; k < p.end; ++k) take(k);
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sv_transposed(matrix<T, I> a, std::ptrdiff_t m, I base, std::ptrdiff_t limit,
                                                   T* y)
{
    if constexpr (Shape.lower()) {
        for (std::ptrdiff_t i = m - 1; i >= 0; --i) sv_scatter<Shape>(a, i, base, y);
    } else {
        const blocks block(m, limit);
        for (std::ptrdiff_t b = 0; b < block.count; ++b)
            for (std::ptrdiff_t i = block.begin(b); i < block.end(b); ++i) sv_scatter<Shape>(a, i, base, y);
    }
}

template <class T, class I, tag Tag>
void sv_seq(const I* m, const T* alpha, const T* val, const I* indx, const I* pntrb, const I* pntre, T* y)
{
    constexpr tag shape = Tag.canonical();
    const I base = Tag.base;
    const matrix<T, I> a(val, indx, pntrb, pntre, *m > 0);
    y = based(y, base);
    if constexpr (shape.is('d')) sv_diagonal<shape>(a, *m, base, *alpha, y);
    else if constexpr (shape.transposes()) sv_transposed<shape>(a, *m, base, transposed_upper_block<Tag.base>, y);
    else if constexpr (shape.lower()) sv_lower<shape>(a, *m, base, y);
    else sv_upper<shape>(a, *m, base, y);
}

} // namespace vrn::spblas::csr
