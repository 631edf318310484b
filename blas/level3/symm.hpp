// blas/level3/symm.hpp - C := alpha A B + beta C or alpha B A + beta C, A symmetric (SYMM) or Hermitian (HEMM), one
// triangle stored.
//
// C goes in slices of 5000 along the other dimension and in blocks of 256 of A's. What lies before and behind the
// diagonal block is met as stored, straight or turned; the block itself is mirrored into a scratch square, so that it
// goes through the matrix product in one piece. Allocates the square; without it multiplies by plain loops. The far
// side of A is not read, nor are the imaginary parts of a Hermitian diagonal.
// Called by the host; published by Dongarra, Du Croz, Hammarling and Duff (1990).
#pragma once

#include "blas/level3/triangle_of_c.hpp"
#include "blas/level3/wide.hpp"

namespace vrn::blas::level3 {

template <class E>
struct symmetric_product {
    bool left, upper;
    vrn_int m, n;
    E alpha;
    const E* a;
    vrn_int lda;
    const E* b;
    vrn_int ldb;
    E beta;
    E* c;
    vrn_int ldc;

    vrn_int order() const { return left ? m : n; }
    vrn_int others() const { return left ? n : m; }
};

namespace symm {

// Element (i, j) of the whole A.
template <kind K, class E>
E element(const symmetric_product<E>& o, vrn_int i, vrn_int j)
{
    if (i == j) {
        E d = o.a[i + i * o.lda];
        if constexpr (K == kind::hermitian) make_real(d);
        return d;
    }
    return (i < j) == o.upper ? o.a[i + j * o.lda] : mirrored<K>(o.a[j + i * o.lda]);
}

template <kind K, class E>
void unblocked(const symmetric_product<E>& o)
{
    for (vrn_int j = 0; j < o.n; ++j)
        for (vrn_int l = 0; l < o.order(); ++l)
            if (o.left) {
                const E f = o.alpha * o.b[l + j * o.ldb];
                for (vrn_int i = 0; i < o.m; ++i) o.c[i + j * o.ldc] = o.c[i + j * o.ldc] + f * element<K>(o, i, l);
            } else {
                const E f = o.alpha * element<K>(o, l, j);
                for (vrn_int i = 0; i < o.m; ++i) o.c[i + j * o.ldc] = o.c[i + j * o.ldc] + f * o.b[i + l * o.ldb];
            }
}

// The diagonal block of order n at a, whole, its columns as close as they come: those of a small block, 256 elements
// apart, would all meet in the same cache sets. Squares of a vector's length are turned in registers.
template <kind K, class E>
void expand(bool upper, vrn_int n, const E* a, vrn_int lda, E* square)
{
    using V = simd::vec<real_of<E>>;
    constexpr vrn_int side = is_complex<E> ? 2 : V::lanes;
    const auto mirror = [&](vrn_int i, vrn_int j) {
        const E x = a[i + j * lda];
        square[i + j * n] = x;
        square[j + i * n] = mirrored<K>(x);
    };
    for (vrn_int j0 = 0; j0 < n; j0 += side) {
        const vrn_int j1 = least(j0 + side, n);
        for (vrn_int j = j0; j < j1; ++j)
            for (vrn_int i = upper ? j0 : j; i < (upper ? j + 1 : j1); ++i) mirror(i, j);
        vrn_int i = upper ? 0 : j1;
        const vrn_int end = upper ? j0 : n;
        if (j1 - j0 == side)
            for (; i + side <= end; i += side) {
                if constexpr (is_complex<E>) {
                    mirror(i, j0), mirror(i + 1, j0), mirror(i, j0 + 1), mirror(i + 1, j0 + 1);
                } else {
                    V x[side];
                    for (int c = 0; c < side; ++c) {
                        x[c] = V::loadu(a + i + (j0 + c) * lda);
                        x[c].storeu(square + i + (j0 + c) * n);
                    }
                    turn(x);
                    for (int c = 0; c < side; ++c) x[c].storeu(square + j0 + (i + c) * n);
                }
            }
        for (; i < end; ++i)
            for (vrn_int j = j0; j < j1; ++j) mirror(i, j);
    }
    if constexpr (K == kind::hermitian)
        for (vrn_int i = 0; i < n; ++i) make_real(square[i + i * n]);
}

// C's block [from, to) += alpha A[from.., c..] B[c..], or the same from the right, for `count` others from j on.
template <class E>
product<E> part(const symmetric_product<E>& o, vrn_int from, vrn_int to, vrn_int c, vrn_int c_end, vrn_int j,
                vrn_int count, const char* trans, const E* a, vrn_int lda)
{
    const operand<E> block{trans, a, lda};
    const vrn_int order = to - from, depth = c_end - c;
    if (o.left)
        return product_of<E>({order, count, depth}, o.alpha, block, {"N", o.b + c + j * o.ldb, o.ldb}, one<E>,
                             o.c + from + j * o.ldc, o.ldc);
    return product_of<E>({count, order, depth}, o.alpha, {"N", o.b + j + c * o.ldb, o.ldb}, block, one<E>,
                         o.c + j + from * o.ldc, o.ldc);
}

} // namespace symm

template <kind K, class E>
void multiply_symmetric(const symmetric_product<E>& o)
{
    const scratch area(static_cast<std::uint64_t>(symm_block * symm_block) * sizeof(E), symm_scratch_align);
    const bool usable = have(area.get(), K == kind::hermitian ? engine<E>::hemm : engine<E>::symm);
    if (o.m < 1 || o.n < 1) return;
    scale(o.m, o.n, o.beta, o.c, o.ldc);
    if (o.alpha == E{}) return;
    if (!usable) return symm::unblocked<K>(o);
    E* const square = static_cast<E*>(area.get());
    const char* const turned = K == kind::hermitian ? "C" : "T";
    const vrn_int order = o.order();
    for (vrn_int j = 0; j < o.others(); j += symm_slice) {
        const vrn_int count = least(symm_slice, o.others() - j);
        for (vrn_int from = 0; from < order; from += symm_block) {
            const vrn_int to = least(from + symm_block, order);
            // The block of A that meets [from, to) with the range from c on, straight or turned.
            const auto beside = [&](vrn_int c, vrn_int c_end, bool straight) {
                const bool rows = o.left == straight; // whether [from, to) lies along the rows in memory
                const E* a = rows ? o.a + from + c * o.lda : o.a + c + from * o.lda;
                multiply(symm::part(o, from, to, c, c_end, j, count, straight ? "N" : turned, a, o.lda));
            };
            if (from > 0) beside(0, from, o.left != o.upper);
            symm::expand<K>(o.upper, to - from, o.a + from * (o.lda + 1), o.lda, square);
            multiply(symm::part<E>(o, from, to, from, to, j, count, "N", square, to - from));
            if (to < order) beside(to, order, o.left == o.upper);
        }
    }
}

} // namespace vrn::blas::level3
