// blas/level3/gemmt.hpp - one triangle of C := alpha op(A) op(B) + beta C, op(A) n by k, op(B) k by n.
//
// The triangle is scaled, then halved again and again: the square beside two halves goes to the matrix product, and a
// triangle of at most 32 is cut from a product computed whole in a scratch area. Allocates that; without it adds
// dot products.
// Called by the host.
#pragma once

#include "blas/level3/syrk_pst.hpp"

namespace vrn::blas::level3 {

namespace gemmt {

template <class E>
E element(const char* trans, const E* a, vrn_int lda, vrn_int i, vrn_int j)
{
    if (is_letter(trans, 'N')) return a[i + j * lda];
    return is_letter(trans, 'C') ? conjugate(a[j + i * lda]) : a[j + i * lda];
}

template <class E>
void unblocked(const triangle_of_c<E>& t, const product<E>& p)
{
    for (vrn_int j = 0; j < t.n; ++j)
        for (vrn_int i = t.begin(j); i < t.end(j); ++i) {
            E sum{};
            for (vrn_int kk = 0; kk < p.k; ++kk)
                sum = sum + element(p.transa, p.a, p.lda, i, kk) * element(p.transb, p.b, p.ldb, kk, j);
            E& c = t.c[i + j * t.ldc];
            c = c + p.alpha * sum;
        }
}

// Rows i.. and columns j.. of C.
template <class E>
product<E> part(product<E> p, vrn_int i, vrn_int j, vrn_int m, vrn_int n)
{
    p.a = p.a_at(i, 0), p.b = p.b_at(0, j), p.c = p.c_at(i, j);
    p.m = m, p.n = n;
    return p;
}

template <class E>
void recursive(const triangle_of_c<E>& t, product<E> p, E* square)
{
    if (t.n > gemmt_leaf) {
        const vrn_int half = (t.n + 1) / 2, rest = t.n - half;
        recursive(t.part(0, half), part(p, 0, 0, half, half), square);
        if (t.upper) multiply(part(p, 0, half, half, rest));
        else multiply(part(p, half, 0, rest, half));
        return recursive(t.part(half, rest), part(p, half, half, rest, rest), square);
    }
    p.beta = E{}, p.c = square, p.ldc = gemmt_leaf;
    multiply(p);
    const vrn_int unit = 1;
    for (vrn_int j = 0; j < t.n; ++j) {
        const vrn_int from = t.begin(j), rows = t.end(j) - from;
        engine<E>::axpy(&rows, &one<E>, square + from + j * gemmt_leaf, &unit, t.c + from + j * t.ldc, &unit);
    }
}

} // namespace gemmt

template <class E>
void multiply_triangle(bool upper, product<E> p)
{
    const triangle_of_c<E> t{upper, p.m, p.c, p.ldc};
    if (t.n < 1) return;
    // Scaling is a rank update with nothing to add: A is not read.
    if (!(p.beta == one<E>)) rank_update_blocked<kind::symmetric, E>({t, true, p.k, E{}, p.a, p.lda, p.beta});
    p.beta = one<E>;
    if (p.k < 1 || p.alpha == E{}) return;
    const scratch area(static_cast<std::uint64_t>(gemmt_leaf * gemmt_leaf) * sizeof(E), scratch_align);
    if (!have(area.get(), engine<E>::gemmt)) return gemmt::unblocked(t, p);
    gemmt::recursive(t, p, static_cast<E*>(area.get()));
}

} // namespace vrn::blas::level3
