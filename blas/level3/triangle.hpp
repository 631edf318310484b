// blas/level3/triangle.hpp - the triangle of TRSM and TRMM, turned so that it is always a lower one.
//
// T is op(A) on the left and its transpose on the right. Unknowns are counted in the order of elimination: forward
// where T is lower, from the far end where it is upper. Counted so, element (i, j) exists for j <= i, and one walk
// and one kernel serve side, uplo and transa.
#pragma once

#include "blas/level3/engine.hpp"
#include "blas/level3/wide.hpp"

#include <bit>
#include <cmath>
#include <cstring>

namespace vrn::blas::level3 {

template <class E>
struct triangle {
    bool left, upper, unit;
    const char* trans;
    vrn_int order, items; // of A; columns of B on the left, rows on the right
    E alpha;
    const E* a;
    vrn_int lda;
    E* b;
    vrn_int ldb;

    triangle(const char* side, const char* uplo, const char* transa, const char* diag, vrn_int m, vrn_int n, E alpha_,
             const E* a_, vrn_int lda_, E* b_, vrn_int ldb_)
        : left(is_letter(side, 'L')), upper(is_letter(uplo, 'U')), unit(is_letter(diag, 'U')), trans(transa),
          order(left ? m : n), items(left ? n : m), alpha(alpha_), a(a_), lda(lda_), b(b_), ldb(ldb_)
    {
    }

    bool normal() const { return is_letter(trans, 'N'); }
    bool conjugated() const { return is_complex<E> && is_letter(trans, 'C'); }
    bool reversed() const { return ((upper != normal()) == left) == false; }

    // The range [from, to) of unknowns begins here in memory.
    vrn_int first(vrn_int from, vrn_int to) const { return reversed() ? order - to : from; }
    // The block of A that joins unknowns [r, r_end) to [c, c_end), as stored; both ranges lie in one order.
    const E* block(vrn_int r, vrn_int r_end, vrn_int c, vrn_int c_end) const
    {
        const vrn_int i = first(r, r_end), j = first(c, c_end);
        // Its op has unknown r along the rows on the left and along the columns on the right.
        return left == normal() ? a + i + j * lda : a + j + i * lda;
    }
    // Unknowns [from, to) with their own triangle, by itself.
    triangle part(vrn_int from, vrn_int to) const
    {
        triangle p = *this;
        const vrn_int at = first(from, to);
        p.order = to - from;
        p.a += at * (lda + 1);
        p.b += left ? at : at * ldb;
        return p;
    }
    // Element (i, i) of T, and the distances to the next row and column.
    const E* diagonal(vrn_int i) const { return a + first(i, i + 1) * (lda + 1); }
    vrn_int row_step() const { return (reversed() ? -1 : 1) * (left == normal() ? 1 : lda); }
    vrn_int column_step() const { return (reversed() ? -1 : 1) * (left == normal() ? lda : 1); }
    // Unknown i of item j, and the distances to the next ones.
    E* unknown(vrn_int i, vrn_int j) const
    {
        return left ? b + first(i, i + 1) + j * ldb : b + j + first(i, i + 1) * ldb;
    }
    vrn_int unknown_step() const { return (reversed() ? -1 : 1) * (left ? 1 : ldb); }
    vrn_int item_step() const { return left ? ldb : 1; }

    // Unknowns [r, r_end) += factor T[r.., c..] times unknowns [c, c_end), for `count` items from j on.
    product<E> coupling(vrn_int r, vrn_int r_end, vrn_int c, vrn_int c_end, vrn_int j, vrn_int count, E factor) const
    {
        const operand<E> t{trans, block(r, r_end, c, c_end), lda};
        const vrn_int rows = r_end - r, depth = c_end - c, from = first(c, c_end), to = first(r, r_end);
        if (left)
            return product_of<E>({rows, count, depth}, factor, t, {"N", b + from + j * ldb, ldb}, one<E>,
                                 b + to + j * ldb, ldb);
        return product_of<E>({count, rows, depth}, factor, {"N", b + j + from * ldb, ldb}, t, one<E>,
                             b + j + to * ldb, ldb);
    }
};

// ---- reciprocals ----

// The quotient and the reciprocal of complex numbers without overflow on the way: Smith (1962).
template <class R>
R divided(R x, R y)
{
    return x / y;
}
template <class R>
cplx<R> divided(cplx<R> x, cplx<R> y)
{
    if (std::fabs(y.re) >= std::fabs(y.im)) {
        const R ratio = y.im / y.re, d = y.re + y.im * ratio;
        return {(x.re + x.im * ratio) / d, (x.im - x.re * ratio) / d};
    }
    const R ratio = y.re / y.im, d = y.re * ratio + y.im;
    return {(x.re * ratio + x.im) / d, (x.im * ratio - x.re) / d};
}

// By the bit pattern: exponent field 0 and a mantissa. Its reciprocal would overflow.
inline bool is_subnormal(double x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x);
    return (bits >> 52 & 0x7ff) == 0 && bits << 12 != 0;
}
inline bool is_subnormal(float x)
{
    const auto bits = std::bit_cast<std::uint32_t>(x);
    return (bits >> 23 & 0xff) == 0 && bits << 9 != 0;
}
// Of a complex number the larger part decides.
template <class R>
bool is_subnormal(cplx<R> x)
{
    return is_subnormal(std::fabs(x.re) >= std::fabs(x.im) ? x.re : x.im);
}

// ---- packed triangles ----

// Groups of four rows: for each column the group's four coefficients, every one filling its vectors, so that the
// kernels broadcast nothing. Above the diagonal of the last square of a group nothing stands, and nothing is read.
template <class E>
struct packed_triangle {
    static constexpr int groups = diagonal_rows / group_rows;
    wide<E> coefficient[groups * (groups + 1) / 2][group_rows][group_rows]; // [square][column][row]

    static constexpr int begin(int g) { return g * (g + 1) / 2; } // first square of group g

    // Rows [from, to) of T times alpha; the diagonal as given by diagonal(element).
    template <class Diagonal>
    void pack(const triangle<E>& t, vrn_int from, vrn_int to, E alpha, Diagonal&& diagonal)
    {
        const bool conjugated = t.conjugated(), scaled = !(alpha == one<E>);
        if (!conjugated && !scaled)
            return pack_rows(
                t, from, to, [](E x) { return x; }, diagonal);
        pack_rows(
            t, from, to, [=](E x) { return conjugated ? alpha * conjugate(x) : alpha * x; }, diagonal);
    }

  private:
    template <class Value, class Diagonal>
    void pack_rows(const triangle<E>& t, vrn_int from, vrn_int to, Value&& value, Diagonal&& diagonal)
    {
        const vrn_int row = t.row_step(), column = t.column_step();
        const E* const first = t.diagonal(from);
        const int n = static_cast<int>(to - from);
        for (int g = 0; g * group_rows < n; ++g) {
            wide<E>(*square)[group_rows][group_rows] = coefficient + begin(g);
            const E* p = first + g * group_rows * row;
            const int rows = n - g * group_rows < group_rows ? n - g * group_rows : group_rows;
            for (int s = 0; s < g; ++s, ++square)
                for (int j = 0; j < group_rows; ++j, p += column) {
                    if (rows == group_rows)
                        unroll<group_rows>([&](auto r) { (*square)[j][r] = wide<E>::all(value(p[r * row])); });
                    else
                        for (int r = 0; r < group_rows; ++r)
                            (*square)[j][r] = wide<E>::all(r < rows ? value(p[r * row]) : E{});
                }
            unroll<group_rows>([&](auto j) {
                unroll<group_rows>([&](auto r) {
                    if constexpr (r >= j) {
                        E x{};
                        if (r < rows) x = r == j ? diagonal(p + r * row) : value(p[r * row]);
                        (*square)[j][r] = wide<E>::all(x);
                    }
                });
                p += column;
            });
        }
    }
};

// Whole groups by one road, a short last one piecewise.
template <class E, class Access>
struct ending {
    Access whole;
    piecewise<E> rest;
    int groups; // whole ones
    [[gnu::always_inline]] void load(int g, group<E>& t) const { g < groups ? whole.load(g, t) : rest.load(g, t); }
    [[gnu::always_inline]] void store(int g, group<E>& t) const { g < groups ? whole.store(g, t) : rest.store(g, t); }
};

// Runs visit(access) for the panels of `items` items from j on, unknowns [from, to).
template <class E, class Visit>
[[gnu::always_inline]] inline void for_each_panel(const triangle<E>& t, vrn_int from, vrn_int to, vrn_int j,
                                                  vrn_int items, Visit&& visit)
{
    const int groups = static_cast<int>(to - from) / group_rows;
    for (const vrn_int end = j + items; j < end; j += panel_items<E>) {
        E* const b = t.unknown(from, j);
        const piecewise<E> rest{b, t.unknown_step(), t.item_step(), to - from, least(end - j, panel_items<E>)};
        if (j + panel_items < E >> end) visit(rest);
        else if (!t.left) visit(ending<E, along<E>>{{b, t.unknown_step()}, rest, groups});
        else if (t.reversed()) visit(ending<E, across<E, true>>{{b, t.ldb}, rest, groups});
        else visit(ending<E, across<E, false>>{{b, t.ldb}, rest, groups});
    }
}

} // namespace vrn::blas::level3
