// blas/level2/triangle.hpp - x := op(T) x and x := inv(op(T)) x for a small triangle T, x of unit stride. The inner
// kernel of trmv (up to 64 columns) and of trsv (32).
//
// Columns in groups. A group's own square is done element by element; what it shares with the rest of x is a
// rectangle, done by add_columns (T as stored) or dot_columns (transposed):
//
//                  as stored                          transposed
//     multiply     rectangle, then square             square, then rectangle
//     solve        square, then rectangle             rectangle, then square
//
// A product walks toward the rows that it has yet to read, a solve away from those that it has solved. Solving
// divides by the diagonal; nothing is multiplied by a reciprocal. Nothing is allocated.
#pragma once

#include "blas/level2/columns.hpp"
#include "blas/level2/staging.hpp"

namespace vrn::blas {

// What the letters of a triangular routine come to.
struct triangle {
    bool solve, upper, transposed, conjugated, unit;
    // Whether blocks of columns are taken from the first to the last.
    constexpr bool forward() const { return upper != transposed ? !solve : solve; }
};

// The square of a group fits the registers, and half of it is small beside the rectangle.
template <class E>
inline constexpr int triangle_group = 4;

template <bool Conj, class E>
E maybe_conj(E a)
{
    if constexpr (Conj) return conj(a);
    else return a;
}

// Complex quotients are formed without overflow of their squares: Smith (1962).
template <class R>
R quotient(R a, R b)
{
    return a / b;
}
template <class R>
cplx<R> quotient(cplx<R> a, cplx<R> b)
{
    if (std::fabs(b.im) <= std::fabs(b.re)) {
        const R r = b.im / b.re, d = b.re + b.im * r;
        return {(a.re + a.im * r) / d, (a.im - a.re * r) / d};
    }
    const R r = b.re / b.im, d = b.re * r + b.im;
    return {(a.re * r + a.im) / d, (a.im * r - a.re) / d};
}

// x := op(T) x or inv(op(T)) x for the square of `Columns` columns.
template <triangle K, int Columns, class E>
[[gnu::always_inline]] inline void triangle_square(const E* a, vrn_int lda, E* block)
{
    E x[Columns]; // in registers: a chain through memory would be twice as long
    unroll<Columns>([&](auto c) __attribute__((always_inline)) { x[c] = block[c]; });
    const auto at = [&](int r, int c) __attribute__((always_inline))
    {
        return maybe_conj<K.conjugated>(a[r + c * lda]);
    };
    const auto on_diagonal = [&](int c) __attribute__((always_inline))
    {
        if constexpr (!K.unit) x[c] = K.solve ? quotient(x[c], at(c, c)) : at(c, c) * x[c];
    };
    unroll<Columns>([&](auto step) __attribute__((always_inline)) {
        constexpr int c = K.forward() ? int{step} : Columns - 1 - step;
        // The rows of column c beside the diagonal.
        constexpr int from = K.upper ? 0 : c + 1, to = K.upper ? c : Columns;
        if constexpr (K.transposed) {
            if constexpr (!K.solve) on_diagonal(c);
            unroll<to - from>([&](auto r) __attribute__((always_inline)) {
                const E product = at(from + r, c) * x[from + r];
                x[c] = K.solve ? x[c] - product : x[c] + product;
            });
            if constexpr (K.solve) on_diagonal(c);
        } else {
            if constexpr (K.solve) on_diagonal(c);
            unroll<to - from>([&](auto r) __attribute__((always_inline)) {
                const E product = at(from + r, c) * x[c];
                x[from + r] = K.solve ? x[from + r] - product : x[from + r] + product;
            });
            if constexpr (!K.solve) on_diagonal(c);
        }
    });
    put(x, block);
}

// Groups as column_groups makes them, in either direction.
template <bool Forward, int Widest, class Body>
[[gnu::always_inline]] inline void groups_toward(vrn_int n, Body&& body)
{
    if constexpr (Forward) {
        column_groups<Widest>(n, body);
    } else {
        static_assert(Widest == 4);
        if (n & 1) body(n - 1, count_of<1>{});
        if (n & 2) body((n & ~vrn_int{3}), count_of<2>{});
        for (vrn_int j = (n & ~vrn_int{3}) - 4; j >= 0; j -= 4) body(j, count_of<4>{});
    }
}

template <triangle K, class E>
[[gnu::noinline, gnu::flatten]] void triangle_block(vrn_int n, const E* a, vrn_int lda, E* x)
{
    groups_toward<K.forward(), triangle_group<E>>(
        n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
            const E* const column = a + j * lda;
            const rows_of rest = K.upper ? rows_of{0, j} : rows_of{j + columns, n};
            const auto rectangle = [&]() __attribute__((always_inline))
            {
                const E factor = K.solve ? E{} - simd::unity<E> : simd::unity<E>;
                if constexpr (K.transposed) {
                    dot_columns<columns, K.conjugated, false>(rest, column, lda, x, factor, x + j);
                } else {
                    E t[columns];
                    for (int c = 0; c < columns; ++c) t[c] = factor * x[j + c];
                    add_columns<columns, false>(rest, column, lda, t, x);
                }
            };
            constexpr bool square_first = K.solve != K.transposed;
            if constexpr (!square_first) rectangle();
            triangle_square<K, columns>(column + j, lda, x + j);
            if constexpr (square_first) rectangle();
        });
}

template <class E>
using triangle_function = void(vrn_int n, const E* a, vrn_int lda, E* x);

// The kernel of a combination of letters.
template <bool Solve, class E>
triangle_function<E>* triangle_kernel(bool upper, bool transposed, bool conjugated, bool unit)
{
    const auto by_unit = [&]<bool Upper, bool Transposed, bool Conjugated>() -> triangle_function<E>* {
        return unit ? triangle_block<triangle{Solve, Upper, Transposed, Conjugated, true}, E>
                    : triangle_block<triangle{Solve, Upper, Transposed, Conjugated, false}, E>;
    };
    const auto by_op = [&]<bool Upper>() -> triangle_function<E>* {
        if constexpr (simd::element<E>::parts == 2)
            if (conjugated) return by_unit.template operator()<Upper, true, true>();
        return transposed ? by_unit.template operator()<Upper, true, false>()
                          : by_unit.template operator()<Upper, false, false>();
    };
    return upper ? by_op.template operator()<true>() : by_op.template operator()<false>();
}

} // namespace vrn::blas
