// spblas/csr/two_sided.hpp - symmetric, Hermitian and antisymmetric products from one triangle: an entry serves its
// own row by a sum and the row of its column by a scatter.
//
// y = beta*y goes before: scale_before() and, in lower triangles, the walk itself.
//
//     single pass       symmetric and Hermitian with a stored diagonal: entries of the other triangle are passed over
//     dot and correct   unit diagonal and antisymmetric: the sum runs over the whole row, and what does not belong
//                       there is added up apart and taken back. An entry of the other triangle, or on the diagonal,
//                       must therefore be a finite number.
//
// Inlined into mv.hpp and mm.hpp.
#pragma once

#include "spblas/csr/dot.hpp"

namespace vrn::spblas::csr {

// Of a value: in its row's own sum, and in the mirrored position. Transposing a symmetric matrix changes nothing, so
// that op c conjugates it; transposing a Hermitian one conjugates it and leaves the diagonal as it stands.
template <tag Shape>
inline constexpr bool conjugates_own = Shape.is('h') ? Shape.op == 't' : Shape.conjugates();
template <tag Shape, class T>
[[gnu::always_inline]] inline T own(T v)
{
    return conj_if<conjugates_own<Shape>>(v);
}
template <tag Shape, class T>
[[gnu::always_inline]] inline T on_diagonal(T v)
{
    return conj_if < !Shape.is('h') && Shape.conjugates() > (v);
}
template <tag Shape, class T>
[[gnu::always_inline]] inline T mirrored(T v)
{
    const T w = conj_if < Shape.is('h') ? Shape.op == 'n' : Shape.conjugates() > (v);
    if constexpr (Shape.is('a')) return -w;
    else return w;
}
// The transpose of an antisymmetric matrix is its negative; that sign goes to alpha.
template <tag Shape, class T>
T signed_alpha(T alpha)
{
    if constexpr (Shape.is('a') && Shape.transposes()) return -alpha;
    else return alpha;
}

// What of y = beta*y over `rows` elements has to be done before the walk over rows from..to-1. In a lower triangle an
// element is met by its own row first, which scales it then: that saves a pass over y.
template <tag Shape, class T>
[[gnu::always_inline]] inline void scale_before(std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t rows,
                                                std::ptrdiff_t base, T* y, T beta)
{
    if constexpr (Shape.lower()) {
        scale(vector<T>{y}, base, base + from, beta);
        scale(vector<T>{y}, base + to, base + rows, beta);
    } else scale(vector<T>{y}, base, base + rows, beta);
}

template <tag Shape, class T, class I>
[[gnu::always_inline]] inline void two_sided(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to, I base,
                                             T alpha, const T* x, T* y, T beta)
{
    alpha = signed_alpha<Shape>(alpha);
    constexpr bool corrects = Shape.unit() || Shape.is('a');
    const bool clears = beta == T{};
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const std::ptrdiff_t self = i + base;
        const T t = alpha * x[self];
        // No entry of the row scatters to the row itself, so that its element is written once, at the end.
        auto element = [&] { return !Shape.lower() ? y[self] : clears ? T{} : beta * y[self]; };
        if constexpr (corrects) {
            const row<T, I> r = a.next(i);
            const T whole = alpha * dot<masked_row<T>>(r, x, as_stored<conjugates_own<Shape>>{});
            T outside{};
            for (std::ptrdiff_t k = 0; k < r.size; ++k) {
                const std::ptrdiff_t col = r.indx[k];
                if (inside<Shape.lower()>(col, self)) y[col] = y[col] + t * mirrored<Shape>(r.val[k]);
                else outside = outside + alpha * own<Shape>(r.val[k]) * x[col];
            }
            T mine = element() + whole;
            mine = mine - outside;
            if constexpr (Shape.unit()) mine = mine + t;
            y[self] = mine;
        } else {
            // By places in the whole arrays: in rows of three entries every instruction shows.
            std::ptrdiff_t k = a.pntrb[i];
            const std::ptrdiff_t end = a.pntre[i];
            a.ask_ahead(k, end);
            T sum{};
            auto both = [&](std::ptrdiff_t at, std::ptrdiff_t col) __attribute__((always_inline))
            {
                const T v = a.val[at];
                sum = sum + own<Shape>(v) * x[col];
                y[col] = y[col] + t * mirrored<Shape>(v);
            };
            // Four entries that are inside go without further questions. Not in upper rows, which begin with their
            // diagonal: what a look behind it costs the short ones, the long ones do not bring in.
            if constexpr (Shape.lower())
                for (; end - k > 4; k += 4) {
                    const places<I, 4> at(a.indx + k);
                    bool all = true;
                    simd::unroll<4>([&](auto j) { all = all && inside<true>(at.col[j], self); });
                    if (!all) break;
                    simd::unroll<4>([&](auto j) __attribute__((always_inline)) { both(k + j, at.col[j]); });
                }
            for (; k < end; ++k) {
                std::ptrdiff_t col = a.indx[k];
                while (inside<Shape.lower()>(col, self)) { // a sorted row is one such run, and a diagonal
                    both(k, col);
                    if (++k == end) break;
                    col = a.indx[k];
                }
                if (col == self) sum = sum + on_diagonal<Shape>(a.val[k]) * x[self];
            }
            y[self] = element() + alpha * sum;
        }
    }
}

} // namespace vrn::spblas::csr
