// blas/level3/syrk.hpp - one triangle of C := alpha A A' + beta C or alpha A' A + beta C, ' the transpose (SYRK) or
// the conjugate transpose (HERK).
//
// n is cut into a few parts (tables.hpp); the rectangle that a part shares with those behind it goes to the matrix
// product, the square on the diagonal is packed once, as rows and as columns, and met tile by tile on its side of
// the diagonal. Every element is the sum over depth blocks that the matrix product would give, wherever it falls.
// Allocates those panels; without them updates by plain loops. Order 4 and the _pst form stand in their own files.
// Called by the host, and by GEMMT to scale; published by Dongarra, Du Croz, Hammarling and Duff (1990).
#pragma once

#include "blas/level3/syrk_4k.hpp"
#include "blas/level3/triangle_of_c.hpp"

#include <algorithm>

namespace vrn::blas::level3 {

// The operands. op(A) is n by k; normal: A as stored.
template <class E>
struct rank_update {
    triangle_of_c<E> t;
    bool normal;
    vrn_int k;
    E alpha;
    const E* a;
    vrn_int lda;
    E beta;

    // Row i of op(A), and the distances to its next row and depth.
    const E* row(vrn_int i) const { return normal ? a + i : a + i * lda; }
    vrn_int row_step() const { return normal ? 1 : lda; }
    vrn_int depth_step() const { return normal ? lda : 1; }
    rank_update part(vrn_int from, vrn_int order) const
    {
        rank_update p = *this;
        p.t = t.part(from, order);
        p.a = row(from);
        return p;
    }
};

namespace syrk {

// Operation letters of op(A) and of its mirror image.
template <kind K, class E>
const char* letter(const rank_update<E>& u, bool mirrored)
{
    if (u.normal != mirrored) return "N";
    return K == kind::hermitian ? "C" : "T";
}

// C[rows, columns] := alpha op(A)[rows, :] op(A)[columns, :]' + beta C.
template <kind K, class E>
product<E> rectangle(const rank_update<E>& u, vrn_int rows, vrn_int columns, vrn_int m, vrn_int n, E beta, E* c,
                     vrn_int ldc)
{
    return product_of<E>({m, n, u.k}, u.alpha, {letter<K>(u, false), u.row(rows), u.lda},
                         {letter<K>(u, true), u.row(columns), u.lda}, beta, c, ldc);
}

// No buffers: dot products along the depth.
template <kind K, class E>
void unblocked(const rank_update<E>& u)
{
    scale_triangle<K>(u.t, u.beta);
    if (u.k < 1 || u.alpha == E{}) return;
    const bool left = (K == kind::hermitian) && !u.normal; // the first factor is the conjugated one
    for (vrn_int j = 0; j < u.t.n; ++j)
        for (vrn_int i = u.t.begin(j); i < u.t.end(j); ++i) {
            const E *x = u.row(i), *y = u.row(j);
            E sum{};
            for (vrn_int kk = 0; kk < u.k; ++kk) {
                const E p = x[kk * u.depth_step()], q = y[kk * u.depth_step()];
                sum = sum + (left ? mirrored<K>(p) : p) * (left ? q : mirrored<K>(q));
            }
            E& c = u.t.c[i + j * u.t.ldc];
            c = c + u.alpha * sum;
            if constexpr (K == kind::hermitian)
                if (i == j) make_real(c);
        }
}

// Tiles on the diagonal are computed whole; every type's register tile divides this side.
inline constexpr vrn_int tile = 8;

// The square [from, to) on the diagonal from packed panels of depth kb.
template <kind K, class E>
void diagonal(const record<E>& r, const triangle_of_c<E>& t, vrn_int from, vrn_int to, vrn_int kb, E beta)
{
    const vrn_int depth = r.padded(kb);
    for (vrn_int j = from; j < to; j += tile) {
        const vrn_int width = least(tile, to - j);
        const E* b = r.b_panels() + j * depth;
        alignas(16) E square[tile * tile];
        r.kernel(width, width, kb, r.a_panels() + j * depth, b, E{}, square, tile);
        const triangle_of_c<E> own = t.part(j, width);
        if (beta == E{}) take_triangle<K, true>(own, square, tile);
        else take_triangle<K, false>(own, square, tile);
        const vrn_int first = t.upper ? from : j + width, rows = t.upper ? j - from : to - first;
        if (rows > 0)
            r.kernel(rows, width, kb, r.a_panels() + first * depth, b, beta, t.c + first + j * t.ldc, t.ldc);
    }
}

// A square on the diagonal, cut once more. Both forms of op(A) are packed for the whole of it.
template <kind K, class E>
void block(const rank_update<E>& u)
{
    const triangle_of_c<E>& t = u.t;
    if (t.n < 1) return;
    if (u.k < 1 || u.alpha == E{}) return scale_triangle<K>(t, u.beta);
    record<E> r;
    r.desc.get_blks_size(&t.n, &t.n, &u.k, &r.desc);
    // The whole square is one block of rows and of columns.
    r.desc.m_block = r.desc.n_block = t.n;
    r.allocate(request_awb, limit_actual, t.n, t.n, u.k);
    if (!have(r.buffer, K == kind::hermitian ? engine<E>::herk : engine<E>::syrk)) return unblocked<K>(u);

    // A beta of 0 is left to the first depth block, which stores: a sum begins at +0, so 0 + sum has the same bits.
    E beta = u.beta;
    if (!(beta == E{})) {
        if (K == kind::hermitian || !(beta == one<E>)) scale_triangle<K>(t, beta);
        beta = one<E>;
    }
    const int count = part_count(u.normal ? syrk_block_parts_n : syrk_block_parts_t, t.n);
    const vrn_int step = std::max(t.n / count / tile * tile, tile);
    for (vrn_int k0 = 0; k0 < u.k; k0 += r.desc.k_block) {
        const vrn_int kb = least(u.k - k0, r.desc.k_block), depth = r.padded(kb);
        const E* a = u.a + k0 * u.depth_step();
        r.pack_a(letter<K>(u, false), t.n, kb, u.alpha, a, u.lda, r.a_panels());
        r.pack_b(letter<K>(u, true), kb, t.n, a, u.lda, r.b_panels());
        for (vrn_int from = 0, part = 1; from < t.n; ++part) {
            const vrn_int to = part >= count ? t.n : least(from + step, t.n);
            diagonal<K>(r, t, from, to, kb, beta);
            const vrn_int rest = t.n - to;
            const vrn_int i = t.upper ? from : to, j = t.upper ? to : from;
            if (rest > 0)
                r.kernel(t.upper ? to - from : rest, t.upper ? rest : to - from, kb, r.a_panels() + i * depth,
                         r.b_panels() + j * depth, beta, t.beside(from, to), t.ldc);
            from = to;
        }
        beta = one<E>;
    }
}

// Small orders with the rows of A contiguous are not packed: columns in strips, the square of a strip computed whole.
// Complex numbers gain by packing sooner.
template <class E>
inline constexpr vrn_int small_order = is_complex<E> ? 8 : 48;
inline constexpr vrn_int strip = 16, small_depth = 64;
template <kind K, class E>
void small(const rank_update<E>& u)
{
    const triangle_of_c<E>& t = u.t;
    for (vrn_int j = 0; j < t.n; j += strip) {
        const vrn_int width = least(strip, t.n - j);
        alignas(16) E square[strip * strip];
        const triangle_of_c<E> own = t.part(j, width);
        multiply_unpacked(rectangle<K>(u, j, j, width, width, E{}, square, strip));
        if (u.beta == E{}) {
            take_triangle<K, true>(own, square, strip);
        } else {
            if (K == kind::hermitian || !(u.beta == one<E>)) scale_triangle<K>(own, u.beta);
            take_triangle<K, false>(own, square, strip);
        }
        const vrn_int first = t.upper ? 0 : j + width, rows = t.upper ? j : t.n - first;
        if (rows < 1) continue;
        E* const c = t.c + first + j * t.ldc;
        if (K == kind::hermitian) scale_rectangle<K>(rows, width, u.beta, c, t.ldc);
        multiply_unpacked(rectangle<K>(u, first, j, rows, width, K == kind::hermitian ? one<E> : u.beta, c, t.ldc));
    }
}

// Parts of equal size, a multiple of 4; the last takes what is left.
template <kind K, class E>
void split(const rank_update<E>& u)
{
    const vrn_int n = u.t.n;
    if constexpr (!is_complex<E>)
        if (n == 4) return syrk_4k(u.t.upper, u.normal, u.k, u.alpha, u.a, u.lda, u.beta, u.t.c, u.t.ldc);
    if (u.normal && n <= small_order<E> && u.k <= small_depth && !(u.alpha == E{})) return small<K>(u);
    const int count = part_count(u.normal ? syrk_parts_n : syrk_parts_t, n);
    if (n < 4 * count) return block<K>(u);
    const vrn_int step = n / count / 4 * 4;
    vrn_int from = 0;
    for (int part = 1; part < count; ++part, from += step) {
        const vrn_int to = from + step, rest = n - to;
        block<K>(u.part(from, step));
        const vrn_int i = u.t.upper ? from : to, j = u.t.upper ? to : from;
        const vrn_int m = u.t.upper ? step : rest, columns = u.t.upper ? rest : step;
        E* const c = u.t.beside(from, to);
        scale_rectangle<K>(m, columns, u.beta, c, u.t.ldc);
        multiply(rectangle<K>(u, i, j, m, columns, one<E>, c, u.t.ldc));
    }
    block<K>(u.part(from, n - from));
}

} // namespace syrk

// The _pst form, see syrk_pst.hpp.
template <kind K, class E>
void rank_update_pst(const rank_update<E>& u);

template <kind K, class E>
void rank_update_blocked(const rank_update<E>& u)
{
    if (u.k == 0) return rank_update_pst<K>(u);
    if (u.k < 1) return;
    if (K == kind::hermitian && u.alpha == E{} && u.beta == one<E>) return;
    syrk::split<K>(u);
}

} // namespace vrn::blas::level3
