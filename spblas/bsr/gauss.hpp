// spblas/bsr/gauss.hpp - x := inv(op(A))*x with one triangle of a block matrix, used as a Gauss-Seidel sweep.
//
//     gather    x_i -= sum of M*x_j over the row's blocks, then solve with the diagonal block's triangle
//     scatter   solve with the diagonal block's triangle transposed, then x_j -= transpose(M)*x_i
//
// each forward or backward over the block rows; blocks of a row in ascending order. Block columns (bsc) are the block
// rows of the transposed matrix with transposed blocks: the same sweeps with both exchanged. A block row without a
// diagonal block takes the one at or behind its place, or its last one; with a unit diagonal it needs none. The
// scratch of lb elements lies on the stack. Called by name through the generated exports.
#pragma once

#include "spblas/bsr/rows.hpp"

namespace vrn::spblas::bsr {

// sum[r] += M*x, M(r, s) at r*at.row + s*at.col. Side 5 has a body of its own (three-dimensional compressible flow
// has five unknowns a point).
template <int LB, class T>
[[gnu::always_inline]] inline void add_block_times(const T* m, steps at, std::ptrdiff_t any, const T* x, T* sum)
{
    const std::ptrdiff_t lb = LB > 0 ? LB : any;
    for (std::ptrdiff_t s = 0; s < lb; ++s) {
        const T t = x[s];
        if constexpr (LB > 0) simd::unroll<LB>([&](auto r) { sum[r] = sum[r] + m[r * at.row + s * at.col] * t; });
        else
            for (std::ptrdiff_t r = 0; r < lb; ++r) sum[r] = sum[r] + m[r * at.row + s * at.col] * t;
    }
}
template <class T>
[[gnu::noinline, gnu::flatten]] void block_times(const T* m, steps at, std::ptrdiff_t lb, const T* x, T* sum)
{
    if (lb == 5) add_block_times<5>(m, at, lb, x, sum);
    else add_block_times<0>(m, at, lb, x, sum);
}

// x := inv(triangle of M)*x, lower when Forward. Sides 3 and 5 have own bodies.
template <bool Forward, int LB, class T>
[[gnu::always_inline]] inline void substitute(const T* m, steps at, std::ptrdiff_t any, bool unit, T* x)
{
    const std::ptrdiff_t lb = LB > 0 ? LB : any;
    for (std::ptrdiff_t step = 0; step < lb; ++step) {
        const std::ptrdiff_t r = Forward ? step : lb - 1 - step;
        T t = x[r];
        for (std::ptrdiff_t s = Forward ? 0 : r + 1, end = Forward ? r : lb; s < end; ++s)
            t = t - m[r * at.row + s * at.col] * x[s];
        x[r] = unit ? t : t / m[r * (at.row + at.col)];
    }
}
template <bool Forward, class T>
[[gnu::noinline, gnu::flatten]] void solve_block(const T* m, steps at, std::ptrdiff_t lb, bool unit, T* x)
{
    if (lb == 3) substitute<Forward, 3>(m, at, lb, unit, x);
    else if (lb == 5) substitute<Forward, 5>(m, at, lb, unit, x);
    else substitute<Forward, 0>(m, at, lb, unit, x);
}

template <bool Forward, bool Gather, class T, class I>
[[gnu::noinline]] void sweep(matrix<T, I> a, std::ptrdiff_t mb, steps at, bool unit, T* x)
{
    const std::ptrdiff_t lb = a.lb;
    T* const scratch = static_cast<T*>(__builtin_alloca(static_cast<std::size_t>(lb) * sizeof(T)));
    for (std::ptrdiff_t step = 0; step < mb; ++step) {
        const std::ptrdiff_t i = Forward ? step : mb - 1 - step, begin = a.begin(i), end = a.end(i);
        T* const own = x + i * lb;
        std::ptrdiff_t diagonal = begin;
        while (diagonal < end && a.col(diagonal) < i) ++diagonal;
        // Blocks that take part beside the diagonal one: before it for a lower triangle, behind it for an upper one.
        const bool stands = diagonal < end && (!unit || a.col(diagonal) == i);
        const std::ptrdiff_t from = Forward == Gather ? begin : diagonal + stands;
        const std::ptrdiff_t to = Forward == Gather ? diagonal : end;
        if (!stands && !unit) diagonal = end - 1;
        const bool solves = stands || (!unit && begin < end);
        if constexpr (Gather) {
            for (std::ptrdiff_t r = 0; r < lb; ++r) scratch[r] = T{};
            for (std::ptrdiff_t k = from; k < to; ++k) block_times(a.block(k), at, lb, x + a.col(k) * lb, scratch);
            for (std::ptrdiff_t r = 0; r < lb; ++r) own[r] = own[r] - scratch[r];
        }
        if (solves) solve_block<Forward>(a.block(diagonal), Gather ? at : at.transposed(), lb, unit, own);
        if constexpr (!Gather)
            for (std::ptrdiff_t k = from; k < to; ++k) {
                T* const other = x + a.col(k) * lb;
                for (std::ptrdiff_t r = 0; r < lb; ++r) scratch[r] = T{};
                block_times(a.block(k), at.transposed(), lb, own, scratch);
                for (std::ptrdiff_t r = 0; r < lb; ++r) other[r] = other[r] - scratch[r];
            }
    }
}

template <class T, class I>
void sweep_chosen(const matrix<T, I>& a, std::ptrdiff_t mb, steps at, bool forward, bool gather, bool unit, T* x)
{
    if (forward) gather ? sweep<true, true>(a, mb, at, unit, x) : sweep<true, false>(a, mb, at, unit, x);
    else gather ? sweep<false, true>(a, mb, at, unit, x) : sweep<false, false>(a, mb, at, unit, x);
}

template <class T, class I, layout L>
void bsr_gauss(const I* direction, const I* count, const I* mb, const I* orientation, const I* lb, const T* val,
               const I* indx, const I* pntrb, const I* pntre, T* x, const I* diag, const I* base)
{
    if (*count == 0 || *mb <= 0) return;
    sweep_chosen(matrix<T, I>(val, indx, pntrb, pntre, *base, *lb, true), *mb, steps_of<L>(*lb),
                 *direction == choice::forward, *orientation == choice::by_rows, *diag != choice::stored, x);
}

template <class T, class I, layout L>
void bsc_gauss(const I* direction, const I* count, const I* mb, const I* orientation, const I* lb, const T* val,
               const I* indx, const I* pntrb, const I* pntre, T* x, const I* diag, const I* base)
{
    if (*count == 0 || *mb <= 0) return;
    sweep_chosen(matrix<T, I>(val, indx, pntrb, pntre, *base, *lb, true), *mb, steps_of<L>(*lb).transposed(),
                 *direction == choice::forward, *orientation != choice::by_rows, *diag != choice::stored, x);
}

} // namespace vrn::spblas::bsr
