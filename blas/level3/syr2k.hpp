// blas/level3/syr2k.hpp - one triangle of C := alpha A B' + alpha B A' + beta C or alpha A' B + alpha B' A + beta C
// (SYR2K); with ' the conjugate transpose the second alpha is conjugated and beta real (HER2K).
//
// The diagonal is walked in blocks of 128. W := alpha A_b B_b' goes to a scratch square, and C receives W + W', so
// that the symmetric sum needs one product; the rectangle beside the block takes two. Allocates the square; without
// it updates by plain loops. Called by the host; published by Dongarra, Du Croz, Hammarling and Duff (1990).
#pragma once

#include "blas/level3/triangle_of_c.hpp"
#include "simd/unroll.hpp"

namespace vrn::blas::level3 {

template <class E>
struct rank_2_update {
    triangle_of_c<E> t;
    bool normal;
    vrn_int k;
    E alpha;
    const E* a;
    vrn_int lda;
    const E* b;
    vrn_int ldb;
    E beta;

    const E* row(const E* x, vrn_int ld, vrn_int i) const { return normal ? x + i : x + i * ld; }
};

namespace syr2k {

// alpha op(A)[rows, :] op(B)[columns, :]', or with the two exchanged and alpha mirrored.
template <kind K, class E>
product<E> rectangle(const rank_2_update<E>& u, bool exchanged, vrn_int rows, vrn_int columns, vrn_int m, vrn_int n,
                     E beta, E* c, vrn_int ldc)
{
    const char* const prime = K == kind::hermitian ? "C" : "T";
    const E *x = exchanged ? u.b : u.a, *y = exchanged ? u.a : u.b;
    const vrn_int ldx = exchanged ? u.ldb : u.lda, ldy = exchanged ? u.lda : u.ldb;
    return product_of<E>({m, n, u.k}, exchanged ? mirrored<K>(u.alpha) : u.alpha,
                         {u.normal ? "N" : prime, u.row(x, ldx, rows), ldx},
                         {u.normal ? prime : "N", u.row(y, ldy, columns), ldy}, beta, c, ldc);
}

template <kind K, class E>
void unblocked(const rank_2_update<E>& u)
{
    for (vrn_int j = 0; j < u.t.n; ++j)
        for (vrn_int i = u.t.begin(j); i < u.t.end(j); ++i) {
            const E *ai = u.row(u.a, u.lda, i), *aj = u.row(u.a, u.lda, j);
            const E *bi = u.row(u.b, u.ldb, i), *bj = u.row(u.b, u.ldb, j);
            const vrn_int stepa = u.normal ? u.lda : 1, stepb = u.normal ? u.ldb : 1;
            E ab{}, ba{};
            for (vrn_int kk = 0; kk < u.k; ++kk) {
                const E p = ai[kk * stepa], q = bj[kk * stepb], s = bi[kk * stepb], v = aj[kk * stepa];
                ab = ab + (u.normal ? p * mirrored<K>(q) : mirrored<K>(p) * q);
                ba = ba + (u.normal ? s * mirrored<K>(v) : mirrored<K>(s) * v);
            }
            E& c = u.t.c[i + j * u.t.ldc];
            c = c + (u.alpha * ab + mirrored<K>(u.alpha) * ba);
            if constexpr (K == kind::hermitian)
                if (i == j) make_real(c);
        }
}

// The triangle += W + W', two elements a trip; W[i][j] lies along a column and W[j][i] across.
template <kind K, class E>
void add_both(const triangle_of_c<E>& t, const E* w, vrn_int ldw)
{
    for (vrn_int j = 0; j < t.n; ++j) {
        E* const c = t.c + j * t.ldc;
        const E *along = w + j * ldw, *across = w + j;
        vrn_int i = t.begin(j);
        const vrn_int end = t.end(j);
        for (; i + 2 <= end; i += 2) {
            const E x = along[i] + mirrored<K>(across[i * ldw]);
            const E y = along[i + 1] + mirrored<K>(across[(i + 1) * ldw]);
            c[i] = c[i] + x;
            c[i + 1] = c[i + 1] + y;
        }
        if (i < end) c[i] = c[i] + (along[i] + mirrored<K>(across[i * ldw]));
        if constexpr (K == kind::hermitian) make_real(c[j]);
    }
}

} // namespace syr2k

template <kind K, class E>
void rank_2_update_blocked(const rank_2_update<E>& u)
{
    const triangle_of_c<E>& t = u.t;
    const bool adds = u.k > 0 && !(u.alpha == E{});
    if (t.n < 1 || (!adds && u.beta == one<E>)) return;
    if (K == kind::hermitian || !(u.beta == one<E>)) scale_triangle<K>(t, u.beta);
    if (!adds) return;
    const scratch area(static_cast<std::uint64_t>(syr2k_block * syr2k_block) * sizeof(E), scratch_align);
    if (!have(area.get(), K == kind::hermitian ? engine<E>::her2k : engine<E>::syr2k)) return syr2k::unblocked<K>(u);
    E* const w = static_cast<E*>(area.get());
    for (vrn_int from = 0; from < t.n; from += syr2k_block) {
        const vrn_int width = least(syr2k_block, t.n - from), to = from + width, rest = t.n - to;
        multiply(syr2k::rectangle<K>(u, false, from, from, width, width, E{}, w, syr2k_block));
        syr2k::add_both<K>(t.part(from, width), w, syr2k_block);
        if (rest < 1) break;
        const vrn_int i = t.upper ? from : to, j = t.upper ? to : from;
        const vrn_int m = t.upper ? width : rest, n = t.upper ? rest : width;
        for (const bool exchanged : {false, true})
            multiply(syr2k::rectangle<K>(u, exchanged, i, j, m, n, one<E>, t.beside(from, to), t.ldc));
    }
}

} // namespace vrn::blas::level3
