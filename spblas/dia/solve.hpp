// spblas/dia/solve.hpp - Y := inv(op(A))*Y on some columns, A triangular in DIA with offsets in ascending order.
//
// A row depends on rows that are at least the nearest off-diagonal's distance away, so that as many rows are final at
// once: a block is divided by the main diagonal, and every off-diagonal carries it on to the rows that wait for it.
// Forward for a lower matrix and a transposed upper one, backward for the others. With a neighbouring diagonal a
// block is one row; then row after row sums up, the far diagonals first, which is the order of the blocks, and the
// element solved last stays in a register.
// Nothing is allocated. Called by sv.hpp and sm.hpp.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/dia/streams.hpp"
#include "spblas/tag.hpp"

namespace vrn::spblas::dia {

// Below so many rows a block's diagonals meet hardly any row together, and go one by one.
inline constexpr std::ptrdiff_t worth_joining = 64;

// Off-diagonals first..last-1.
template <class T, class I>
struct triangle {
    std::ptrdiff_t m;
    const T* val;
    std::ptrdiff_t lval;
    const I* idiag;
    std::ptrdiff_t first, last;
    const T* main;
};

template <tag Shape, class T>
[[gnu::noinline]] void divide(std::ptrdiff_t count, const T* main, T* y)
{
    for (std::ptrdiff_t i = 0; i < count; ++i) y[i] = y[i] / conj_if<Shape.conjugates()>(main[i]);
}

// In which row r + reach of the solution stands with value val[r] in the equation of row r.
template <tag Shape, class T, class I>
struct coupling {
    std::ptrdiff_t reach;
    const T* val;
    coupling(const triangle<T, I>& a, std::ptrdiff_t j) : reach(a.idiag[j]), val(a.val + j * a.lval)
    {
        if constexpr (Shape.transposes()) val = based(val, reach), reach = -reach;
    }
};

template <tag Shape>
inline constexpr bool forward = Shape.lower() != Shape.transposes();

template <tag Shape, class T, class I, class Y>
[[gnu::always_inline]] inline void solve_rows(const triangle<T, I>& a, const Y& y)
{
    constexpr bool conjugate = Shape.conjugates(), lower = Shape.lower();
    const coupling<Shape, T, I> near(a, lower ? a.last - 1 : a.first);
    auto previous = Y::zero();
    for (std::ptrdiff_t step = 0; step < a.m; ++step) {
        const std::ptrdiff_t i = forward<Shape> ? step : a.m - 1 - step;
        auto left = y.get(i);
        for (std::ptrdiff_t far = 0; far + 1 < a.last - a.first; ++far) {
            const coupling<Shape, T, I> at(a, lower ? a.first + far : a.last - 1 - far);
            const std::ptrdiff_t from = i + at.reach;
            if (from >= 0 && from < a.m) left = left - conj_if<conjugate>(at.val[i]) * y.get(from);
        }
        if (step > 0) left = left - conj_if<conjugate>(near.val[i]) * previous;
        if constexpr (!Shape.unit()) left = left / conj_if<conjugate>(a.main[i]);
        previous = left;
        y.put(i, left);
    }
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void solve_neighbours(triangle<T, I> a, T* c, std::ptrdiff_t ldc,
                                                      std::ptrdiff_t columns)
{
    over_columns<false, 1>(0, columns, c, ldc, [&](auto y, std::ptrdiff_t) { solve_rows<Shape>(a, y); });
}

template <tag Shape, class T, class I>
[[gnu::noinline]] void solve_blocks(triangle<T, I> a, std::ptrdiff_t size, T* c, std::ptrdiff_t ldc,
                                    std::ptrdiff_t columns)
{
    collector<values::flipped, T> out({T{}, c, ldc, c, ldc, columns});
    const std::ptrdiff_t count = a.m / size + (a.m % size != 0);
    for (std::ptrdiff_t block = 0; block < count; ++block) {
        const std::ptrdiff_t begin = forward<Shape> ? block * size : a.m - (block + 1) * size;
        const std::ptrdiff_t b0 = begin > 0 ? begin : 0, b1 = begin + size < a.m ? begin + size : a.m;
        if constexpr (!Shape.unit())
            for (std::ptrdiff_t j = 0; j < columns; ++j) divide<Shape>(b1 - b0, a.main + b0, c + j * ldc + b0);
        if (block + 1 == count) break;
        for (std::ptrdiff_t j = a.first; j < a.last; ++j) {
            const coupling<Shape, T, I> at(a, j);
            const std::ptrdiff_t t0 = b0 - at.reach, t1 = b1 - at.reach;
            out.add(t0 > 0 ? t0 : 0, t1 < a.m ? t1 : a.m, at.val, at.reach, Shape.conjugates(), true);
            if (size < worth_joining) out.flush();
        }
        out.flush();
    }
}

// dfirst, dlast and dmain are one-based positions in idiag; without off-diagonals dfirst or dlast is zero.
template <tag Shape, class T, class I>
void solve(I m, const T* val, I lval, const I* idiag, I dfirst, I dlast, [[maybe_unused]] const I* dmain, T* c,
           std::ptrdiff_t ldc, std::ptrdiff_t columns)
{
    const bool any = dfirst > 0 && dlast > 0;
    triangle<T, I> a{m, val, lval, idiag, any ? dfirst - std::ptrdiff_t{1} : 0, any ? dlast : 0, nullptr};
    if constexpr (!Shape.unit()) a.main = val + (*dmain - std::ptrdiff_t{1}) * a.lval;
    std::ptrdiff_t size = !any ? 0 : Shape.lower() ? -std::ptrdiff_t{idiag[dlast - 1]} : idiag[dfirst - 1];
    if (size <= 0) size = m;
    if (m < 1) return;
    if (any && size == 1) solve_neighbours<Shape>(a, c, ldc, columns);
    else solve_blocks<Shape>(a, size, c, ldc, columns);
}

// By every stored main diagonal.
template <tag Shape, class T, class I>
[[gnu::noinline]] void solve_diagonal(I m, const T* val, std::ptrdiff_t lval, const I* idiag, I ndiag, T* c,
                                      std::ptrdiff_t ldc, std::ptrdiff_t columns)
{
    for (std::ptrdiff_t j = 0; j < ndiag; ++j)
        if (idiag[j] == 0)
            for (std::ptrdiff_t k = 0; k < columns; ++k) divide<Shape>(m, val + j * lval, c + k * ldc);
}

} // namespace vrn::spblas::dia
