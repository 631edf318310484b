// blas/level3/trsm.hpp - B := alpha inv(op(A)) B or alpha B inv(op(A)), A triangular.
//
// B is scaled by alpha, then A's diagonal is walked in blocks, level by level (tables.hpp); behind each block the
// rest of B is updated by the matrix product. A diagonal block is packed with the reciprocals of its diagonal, in
// groups of four rows, and solved for a panel of items at a time, each solved group used at once by those behind.
// Allocates the buffers of the products, once; without them, and where a reciprocal would overflow, solves by plain
// loops that divide.
// Called by the host; published by Dongarra, Du Croz, Hammarling and Duff (1990).
#pragma once

#include "blas/level3/triangle.hpp"

namespace vrn::blas::level3 {

namespace trsm {

// Unknowns [from, to) for `count` items from j on, with what couples them to earlier ones already subtracted. No
// buffers. Items innermost on the right, where they are adjacent; one item at a time on the left.
template <class E>
void unblocked(const triangle<E>& t, vrn_int from, vrn_int to, vrn_int j, vrn_int count)
{
    const vrn_int row = t.row_step(), unknown = t.unknown_step();
    const bool conjugated = t.conjugated();
    const auto element = [=](const E* p) { return conjugated ? conjugate(*p) : *p; };
    const vrn_int together = t.left ? 1 : count;
    for (vrn_int done = 0; done < count; done += together) {
        E* const b = t.unknown(from, j + done);
        for (vrn_int i = 0; i < to - from; ++i) {
            const E* const diagonal = t.diagonal(from + i);
            E* const x = b + i * unknown;
            if (!t.unit) {
                const E d = element(diagonal);
                for (vrn_int c = 0; c < together; ++c) x[c] = divided(x[c], d);
            }
            for (vrn_int r = i + 1; r < to - from; ++r) {
                const E f = element(diagonal + (r - i) * row);
                E* const y = b + r * unknown;
                for (vrn_int c = 0; c < together; ++c) y[c] = y[c] - f * x[c];
            }
        }
    }
}

// One panel of items, `groups` groups of four unknowns.
template <bool Unit, class E, class Access>
[[gnu::flatten]] void solve(int groups, const packed_triangle<E>& t, const Access& panel)
{
    constexpr int rows = group_rows, vs = vectors<E>;
    wide<E> x[diagonal_rows][vs]; // the solved unknowns
    const wide<E>(*square)[rows][rows] = t.coefficient;
    for (int g = 0; g < groups; ++g) {
        group<E> y;
        panel.load(g, y);
        const wide<E>* a = (*square)[0];
        for (int k = 0; k < g * rows; ++k, a += rows)
            unroll<rows>([&](auto r) { unroll<vs>([&](auto v) { sub_product(y[r][v], a[r], x[k][v]); }); });
        unroll<rows>([&](auto i) {
            if constexpr (!Unit) unroll<vs>([&](auto v) { y[i][v] = times(a[i * rows + i], y[i][v]); });
            unroll<rows>([&](auto r) {
                if constexpr (r > i) unroll<vs>([&](auto v) { sub_product(y[r][v], a[i * rows + r], y[i][v]); });
            });
        });
        unroll<rows>([&](auto r) { unroll<vs>([&](auto v) { x[g * rows + r][v] = y[r][v]; }); });
        panel.store(g, y);
        square += g + 1;
    }
}

// The diagonal block of unknowns [from, to), at most 64.
template <class E>
void block(const triangle<E>& t, vrn_int from, vrn_int to, vrn_int j, vrn_int count)
{
    if (!t.unit)
        for (vrn_int i = from; i < to; ++i)
            if (is_subnormal(*t.diagonal(i))) return unblocked(t, from, to, j, count);
    const vrn_int whole = from + (to - from) / group_rows * group_rows;
    if (whole > from) {
        packed_triangle<E> packed;
        const bool conjugated = t.conjugated(), unit = t.unit;
        packed.pack(t, from, whole, one<E>,
                    [=](const E* d) { return unit ? one<E> : divided(one<E>, conjugated ? conjugate(*d) : *d); });
        const int groups = static_cast<int>(whole - from) / group_rows;
        for_each_panel(t, from, whole, j, count, [&](const auto& panel) {
            if (unit) solve<true>(groups, packed, panel);
            else solve<false>(groups, packed, panel);
        });
    }
    // The one to three unknowns that fill no group.
    if (whole < to) {
        if (whole > from) multiply_unpacked(t.coupling(whole, to, from, whole, j, count, minus_one<E>));
        unblocked(t, whole, to, j, count);
    }
}

template <class E>
void level(const triangle<E>& t, const levels& l, int depth, const record<E>& r, vrn_int from, vrn_int to, vrn_int j,
           vrn_int count)
{
    for (vrn_int i = from; i < to; i += l.block[depth]) {
        const vrn_int end = least(i + l.block[depth], to);
        if (depth + 1 == l.count) block(t, i, end, j, count);
        else level(t, l, depth + 1, r, i, end, j, count);
        update(r, t.coupling(end, to, i, end, j, count, minus_one<E>));
    }
}

} // namespace trsm

template <class E>
void solve_triangular(const triangle<E>& t)
{
    if (t.order < 1 || t.items < 1) return;
    const vrn_int m = t.left ? t.order : t.items, n = t.left ? t.items : t.order;
    if (t.alpha == E{}) return scale(m, n, t.alpha, t.b, t.ldb);
    record<E> r(trsm_blocks);
    r.allocate(request_awb, limit_blocks);
    scale(m, n, t.alpha, t.b, t.ldb);
    if (!have(r.buffer, engine<E>::trsm)) return trsm::unblocked(t, 0, t.order, 0, t.items);
    const levels l = t.left ? trsm_left_levels : trsm_right_levels(n);
    const int start = start_level(l, t.left, t.order);
    for (vrn_int j = 0; j < t.items; j += l.slice)
        trsm::level(t, l, start, r, 0, t.order, j, least(l.slice, t.items - j));
}

} // namespace vrn::blas::level3
