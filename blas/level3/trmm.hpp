// blas/level3/trmm.hpp - B := alpha op(A) B or alpha B op(A), A triangular.
//
// A's diagonal is walked from the end of its order to the beginning, in blocks, level by level (tables.hpp). While a
// block of unknowns still holds what came in, the products behind it take it; then the block is multiplied in place.
// A diagonal block is packed in groups of four rows and met by a panel of items at a time.
// Allocates the buffers of the products, once, beyond 8 rows on the left or 8 columns on the right; without them
// multiplies by plain loops, and does not say so.
// Called by the host; published by Dongarra, Du Croz, Hammarling and Duff (1990).
#pragma once

#include "blas/level3/triangle.hpp"

namespace vrn::blas::level3 {

namespace trmm {

// No buffers. Items innermost on the right, where they are adjacent; one item at a time on the left.
template <class E>
void unblocked(const triangle<E>& t, E alpha)
{
    const vrn_int row = t.row_step(), unknown = t.unknown_step();
    const bool conjugated = t.conjugated();
    const auto element = [=](const E* p) { return alpha * (conjugated ? conjugate(*p) : *p); };
    const vrn_int together = t.left ? 1 : t.items;
    for (vrn_int j = 0; j < t.items; j += together) {
        E* const b = t.unknown(0, j);
        for (vrn_int i = t.order - 1; i >= 0; --i) {
            const E* const diagonal = t.diagonal(i);
            E* const x = b + i * unknown;
            for (vrn_int r = i + 1; r < t.order; ++r) {
                const E f = element(diagonal + (r - i) * row);
                E* const y = b + r * unknown;
                for (vrn_int c = 0; c < together; ++c) y[c] = y[c] + f * x[c];
            }
            const E f = t.unit ? alpha : element(diagonal);
            if (!(f == one<E>))
                for (vrn_int c = 0; c < together; ++c) x[c] = f * x[c];
        }
    }
}

// One panel of items, `groups` groups of four unknowns; the last may be short. Copies what came in, so that the
// rows may be computed in any order.
template <bool Unit, class E, class Access>
[[gnu::flatten]] void multiply(int groups, const packed_triangle<E>& t, const Access& panel)
{
    constexpr int rows = group_rows, vs = vectors<E>;
    wide<E> x[diagonal_rows][vs];
    const wide<E>(*square)[rows][rows] = t.coefficient;
    for (int g = 0; g < groups; ++g) {
        group<E> old, y;
        panel.load(g, old);
        unroll<rows>([&](auto r) { unroll<vs>([&](auto v) { x[g * rows + r][v] = old[r][v]; }); });
        const wide<E>* a = (*square)[0];
        unroll<rows>([&](auto r) { unroll<vs>([&](auto v) { y[r][v] = wide<E>::all(E{}); }); });
        for (int k = 0; k < g * rows; ++k, a += rows)
            unroll<rows>([&](auto r) { unroll<vs>([&](auto v) { add_product(y[r][v], a[r], x[k][v]); }); });
        // Row r ends with unknown r of its own group; nothing beyond it is met, not even with a zero.
        unroll<rows>([&](auto i) {
            unroll<vs>([&](auto v) {
                const wide<E> own = x[g * rows + i][v];
                if constexpr (Unit) unroll<wide<E>::parts>([&](auto p) { y[i][v].v[p] = y[i][v].v[p] + own.v[p]; });
                else add_product(y[i][v], a[i * rows + i], own);
                unroll<rows>([&](auto r) {
                    if constexpr (r > i) add_product(y[r][v], a[i * rows + r], own);
                });
            });
        });
        panel.store(g, y);
        square += g + 1;
    }
}

// The diagonal block of unknowns [from, to), at most 64, times alpha.
template <class E>
void block(const triangle<E>& t, vrn_int from, vrn_int to, vrn_int j, vrn_int count, E alpha)
{
    packed_triangle<E> packed;
    const bool conjugated = t.conjugated(), unit = t.unit;
    packed.pack(t, from, to, alpha,
                [=](const E* d) { return unit ? alpha : alpha * (conjugated ? conjugate(*d) : *d); });
    const int groups = static_cast<int>(to - from + group_rows - 1) / group_rows;
    for_each_panel(t, from, to, j, count, [&](const auto& panel) {
        if (unit && alpha == one<E>) multiply<true>(groups, packed, panel);
        else multiply<false>(groups, packed, panel);
    });
}

template <class E>
void level(const triangle<E>& t, const levels& l, int depth, const record<E>& r, vrn_int from, vrn_int to, vrn_int j,
           vrn_int count, E alpha)
{
    const vrn_int step = l.block[depth];
    for (vrn_int i = from + (to - from - 1) / step * step; i >= from; i -= step) {
        const vrn_int end = least(i + step, to);
        update(r, t.coupling(end, to, i, end, j, count, alpha));
        if (depth + 1 == l.count) block(t, i, end, j, count, alpha);
        else level(t, l, depth + 1, r, i, end, j, count, alpha);
    }
}

} // namespace trmm

template <class E>
void multiply_triangular(const triangle<E>& t)
{
    if (t.order < 1 || t.items < 1) return;
    const vrn_int m = t.left ? t.order : t.items, n = t.left ? t.items : t.order;
    if (t.alpha == E{}) return scale(m, n, t.alpha, t.b, t.ldb);
    // A triangle this small has all its rows in one or two groups: no products, no buffers.
    if (t.order <= trmm_small) return trmm::block(t, 0, t.order, 0, t.items, t.alpha);
    record<E> r(trmm_blocks);
    r.allocate(request_awb, limit_blocks);
    if (r.buffer == nullptr) return trmm::unblocked(t, t.alpha);
    // On the right alpha goes into A, whose blocks are packed for every use anyway.
    E alpha = t.alpha;
    if (t.left) {
        scale(m, n, alpha, t.b, t.ldb);
        alpha = one<E>;
    }
    const levels& l = t.left ? trmm_left_levels : trmm_right_levels;
    const int start = start_level(l, t.left, t.order);
    for (vrn_int j = 0; j < t.items; j += l.slice)
        trmm::level(t, l, start, r, 0, t.order, j, least(l.slice, t.items - j), alpha);
}

} // namespace vrn::blas::level3
