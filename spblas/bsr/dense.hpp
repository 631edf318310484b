// spblas/bsr/dense.hpp - C := C + alpha*op(A)*B on whole matrices, A in BSR; C comes prepared by the caller.
//
//     general        op none: a block row of C is held in registers while its blocks pass
//                    else: every block transposed onto the rows that its column names
//     skew           blocks below the diagonal and their negative mirror image, the diagonal left out
//     diag           the diagonal blocks
//     tr             one triangle, or its transpose; its diagonal as stored or one
//     sym, her       one triangle and its mirror image, which her conjugates
//
// The vectors lie across the columns of C: neighbours by rows, and gathered from pairs of columns by columns, so that
// an element of A serves several columns in both layouts. Sides 2 and 3 have own bodies. Called by name through the
// generated exports.
#pragma once

#include "spblas/bsr/rows.hpp"

namespace vrn::spblas::bsr {

// A vector of elements of one row, from columns ld apart; like `strip`.
template <class E>
struct gathered {
    using element = std::remove_const_t<E>;
    using value = wide<element, 1>;
    using real = real_of<element>;
    using V = vec<real>;
    static constexpr int width = per_vec<element>;
    E* p;
    std::ptrdiff_t ld;
    [[gnu::always_inline]] static real* at(element* e) { return reinterpret_cast<real*>(e); }
    [[gnu::always_inline]] static const real* at(const element* e) { return reinterpret_cast<const real*>(e); }
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const
    {
        if constexpr (!is_complex<element>) return {V::gather(p + i, ld)};
        else if constexpr (width == 1) return {V::loadu(at(p + i))};
        else return {V::halves(at(p + i), at(p + i + ld))};
    }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, const value& x) const
    {
        if constexpr (std::is_same_v<element, float>)
            simd::unroll<4>([&](auto k) { p[i + k * ld] = x.v[0].lane(k); });
        else if constexpr (!is_complex<element>) x.v[0].scatter(p + i, ld);
        else if constexpr (width == 1) x.v[0].storeu(at(p + i));
        else {
            x.v[0].store2(at(p + i));
            upper_half(x.v[0]).store2(at(p + i + ld));
        }
    }
    [[gnu::always_inline]] static value zero() { return {V::zero()}; }
};

// f(x, y) over n columns of B and C in vectors and what is left of one.
template <layout L, class T, class F>
[[gnu::always_inline]] inline void over_columns(std::ptrdiff_t n, const T* b, std::ptrdiff_t ldb, T* c,
                                                std::ptrdiff_t ldc, F&& f)
{
    constexpr int step = per_vec<T>;
    std::ptrdiff_t j = 0;
    if constexpr (L == layout::rows) {
        for (; j + 2 * step <= n; j += 2 * step) f(strip<const T, 2>{b + j, ldb}, strip<T, 2>{c + j, ldc});
        for (; j + step <= n; j += step) f(strip<const T, 1>{b + j, ldb}, strip<T, 1>{c + j, ldc});
        // One column alone comes here at once.
        for (; j < n; ++j) f(column<const T>{b + j, ldb}, column<T>{c + j, ldc});
    } else {
        for (; j + step <= n; j += step) f(gathered<const T>{b + j * ldb, ldb}, gathered<T>{c + j * ldc, ldc});
        for (; j < n; ++j) f(vector<const T>{b + j * ldb}, vector<T>{c + j * ldc});
    }
}

// f(r, rows) over the lb rows of a block in tiles whose sums fit the registers; `rows` is a constant.
template <int LB, class F>
[[gnu::always_inline]] inline void over_tiles(std::ptrdiff_t lb, F&& f)
{
    using std::integral_constant;
    if constexpr (LB > 0) f(std::ptrdiff_t{0}, integral_constant<int, LB>{});
    else {
        std::ptrdiff_t r = 0;
        for (; r + 4 <= lb; r += 4) f(r, integral_constant<int, 4>{});
        for (; r < lb; ++r) f(r, integral_constant<int, 1>{});
    }
}
// f(side) with the side as a constant where it has a body of its own, else 0.
template <class F>
[[gnu::always_inline]] inline void by_dense_side(std::ptrdiff_t lb, F&& f)
{
    if (lb == 3) f(std::integral_constant<int, 3>{});
    else if (lb == 2) f(std::integral_constant<int, 2>{});
    else f(std::integral_constant<int, 0>{});
}

// sum[r] += m(r, s)*(scale*x(s)) for s = 0 .. lb-1, one after the other.
template <bool Conj, bool Scales, int R, int LB, class T, class X>
[[gnu::always_inline]] inline void add_products(typename X::value (&sum)[R], const T* m, steps at, std::ptrdiff_t lb,
                                                [[maybe_unused]] T scale, const X& x, std::ptrdiff_t from)
{
    auto step = [&](std::ptrdiff_t s) __attribute__((always_inline))
    {
        typename X::value t = x.get(from + s);
        if constexpr (Scales) t = scale * t;
        simd::unroll<R>([&](auto r) { sum[r] = sum[r] + conj_if<Conj>(m[r * at.row + s * at.col]) * t; });
    };
    if constexpr (LB > 0) simd::unroll<LB>(step);
    else
        for (std::ptrdiff_t s = 0; s < lb; ++s) step(s);
}

// Dense operands: B and C with n columns.
template <class T>
struct operands {
    const T* b;
    std::ptrdiff_t ldb;
    T* c;
    std::ptrdiff_t ldc, n;
};

// Block row i of a general product.
template <layout L, class T, class I>
[[gnu::noinline, gnu::flatten]] void add_row(const matrix<T, I>& a, std::ptrdiff_t i, T alpha, const operands<T>& d)
{
    const std::ptrdiff_t begin = a.begin(i), end = a.end(i);
    // By columns alpha meets B first; by rows the whole sum, which is one product less a step.
    constexpr bool sums = L == layout::rows;
    by_dense_side(
        a.lb, [&](auto side) __attribute__((always_inline)) {
            over_columns<L>(
                d.n, d.b, d.ldb, d.c, d.ldc, [&](auto x, auto y) __attribute__((always_inline)) {
                    over_tiles<side>(
                        a.lb, [&](std::ptrdiff_t r, auto rows) __attribute__((always_inline)) {
                            const std::ptrdiff_t lb = side > 0 ? std::ptrdiff_t{side} : a.lb;
                            const steps at = steps_of<L>(lb);
                            typename decltype(x)::value sum[rows];
                            simd::unroll<rows>(
                                [&](auto q) { sum[q] = sums ? decltype(y)::zero() : y.get(i * lb + r + q); });
                            for (std::ptrdiff_t k = begin; k < end; ++k)
                                add_products<false, !sums, rows, side>(sum, a.val + k * lb * lb + r * at.row, at, lb,
                                                                       alpha, x, a.col(k) * lb);
                            simd::unroll<rows>([&](auto q) {
                                if constexpr (sums) y.put(i * lb + r + q, y.get(i * lb + r + q) + alpha * sum[q]);
                                else y.put(i * lb + r + q, sum[q]);
                            });
                        });
                });
        });
}

// C_to += alpha*M*B_from for one block with element (r, s) at r*at.row + s*at.col. Sums: alpha meets the sum over s,
// as mirrored blocks have it, and else B before it.
template <layout L, bool Conj, bool Sums, class T>
[[gnu::noinline, gnu::flatten]] void add_block(const T* m, steps at, std::ptrdiff_t lb, T alpha, const operands<T>& d,
                                               std::ptrdiff_t from, std::ptrdiff_t to)
{
    by_dense_side(
        lb, [&](auto side) __attribute__((always_inline)) {
            over_columns<L>(
                d.n, d.b, d.ldb, d.c, d.ldc, [&](auto x, auto y) __attribute__((always_inline)) {
                    over_tiles<side>(
                        lb, [&](std::ptrdiff_t r, auto rows) __attribute__((always_inline)) {
                            typename decltype(x)::value sum[rows];
                            simd::unroll<rows>(
                                [&](auto q) { sum[q] = Sums ? decltype(y)::zero() : y.get(to * lb + r + q); });
                            add_products<Conj, !Sums, rows, side>(sum, m + r * at.row, at, lb, alpha, x, from * lb);
                            simd::unroll<rows>([&](auto q) {
                                if constexpr (Sums) y.put(to * lb + r + q, y.get(to * lb + r + q) + alpha * sum[q]);
                                else y.put(to * lb + r + q, sum[q]);
                            });
                        });
                });
        });
}

// What a diagonal block does, element by element: its strict triangle onto row r (own) and onto row s (mirror: times
// `sign`, conjugated by MirrorConj), and its diagonal.
struct triangle_of {
    bool lower, own, mirror, diagonal;
    int sign;
};
template <layout L, bool Conj, bool MirrorConj, bool DiagonalConj, class T>
[[gnu::noinline, gnu::flatten]] void add_triangle(const T* m, std::ptrdiff_t lb, T alpha, const operands<T>& d,
                                                  std::ptrdiff_t i, triangle_of w)
{
    const steps at = steps_of<L>(lb);
    const T signed_alpha = w.sign < 0 ? -alpha : alpha;
    over_columns<L>(
        d.n, d.b, d.ldb, d.c, d.ldc, [&](auto x, auto y) __attribute__((always_inline)) {
            auto add = [&](std::ptrdiff_t to, std::ptrdiff_t from, T t) __attribute__((always_inline))
            {
                y.put(to, y.get(to) + t * x.get(from));
            };
            for (std::ptrdiff_t r = 0; r < lb; ++r) {
                for (std::ptrdiff_t s = w.lower ? 0 : r + 1, end = w.lower ? r : lb; s < end; ++s) {
                    const T v = m[r * at.row + s * at.col];
                    if (w.own) add(i * lb + r, i * lb + s, alpha * conj_if<Conj>(v));
                    if (w.mirror) add(i * lb + s, i * lb + r, signed_alpha * conj_if<MirrorConj>(v));
                }
                if (w.diagonal)
                    add(i * lb + r, i * lb + r, alpha * conj_if<DiagonalConj>(m[r * at.row + r * at.col]));
            }
        });
}

// A unit diagonal: C_i += alpha*B_i.
template <layout L, class T>
[[gnu::noinline, gnu::flatten]] void add_unit(std::ptrdiff_t lb, T alpha, const operands<T>& d, std::ptrdiff_t i)
{
    over_columns<L>(
        d.n, d.b, d.ldb, d.c, d.ldc, [&](auto x, auto y) __attribute__((always_inline)) {
            for (std::ptrdiff_t r = i * lb; r < (i + 1) * lb; ++r) y.put(r, y.get(r) + alpha * x.get(r));
        });
}

// f(i, j, block) over all blocks.
template <class T, class I, class F>
[[gnu::always_inline]] inline void over_blocks(const matrix<T, I>& a, std::ptrdiff_t i, F&& f)
{
    for (std::ptrdiff_t k = a.begin(i); k < a.end(i); ++k) f(a.col(k), a.block(k));
}

template <class T, class I, layout L>
void mm_gen(const I* op, const I* mb, const I* n, const I* lb, const T* alpha, const T* val, const I* indx,
            const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc, const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const operands<T> d{b, *ldb, c, *ldc, *n};
    const steps mirrored = steps_of<L>(*lb).transposed();
    for (std::ptrdiff_t i = 0; i < *mb; ++i) {
        if (*op == choice::none) add_row<L>(a, i, *alpha, d);
        else
            over_blocks(a, i, [&](std::ptrdiff_t j, const T* m) {
                if (is_complex<T> && *op != choice::transpose)
                    add_block<L, is_complex<T>, true>(m, mirrored, a.lb, *alpha, d, i, j);
                else add_block<L, false, true>(m, mirrored, a.lb, *alpha, d, i, j);
            });
    }
}

// What the four kinds with a triangle share. Op other than none: Conj conjugates blocks as they stand, MirrorConj the
// mirrored ones. The sign is that of mirrored blocks.
struct kind {
    bool own, mirror, diagonal, unit;
    int sign;
};
template <layout L, bool Conj, bool MirrorConj, bool DiagonalConj, class T, class I>
void mm_triangle(const matrix<T, I>& a, std::ptrdiff_t mb, bool lower, kind w, T alpha, const operands<T>& d)
{
    const steps at = steps_of<L>(a.lb);
    const T mirror_alpha = w.sign < 0 ? -alpha : alpha;
    const triangle_of on{lower, w.own, w.mirror, w.diagonal, w.sign};
    for (std::ptrdiff_t i = 0; i < mb; ++i) {
        over_blocks(a, i, [&](std::ptrdiff_t j, const T* m) {
            if (j == i) add_triangle<L, Conj, MirrorConj, DiagonalConj>(m, a.lb, alpha, d, i, on);
            else if (lower == (j < i)) {
                if (w.own) add_block<L, Conj, false>(m, at, a.lb, alpha, d, j, i);
                if (w.mirror) add_block<L, MirrorConj, true>(m, at.transposed(), a.lb, mirror_alpha, d, i, j);
            }
        });
        if (w.unit) add_unit<L>(a.lb, alpha, d, i);
    }
}

// Of an antisymmetric matrix, always from the lower triangle. Its transpose is its negative.
template <class T, class I, layout L>
void mm_skew(const I* op, const I* mb, const I* n, const I* lb, const T* alpha, const T* val, const I* indx,
             const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc, const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const operands<T> d{b, *ldb, c, *ldc, *n};
    const kind w{true, true, false, false, -1};
    constexpr bool conj = is_complex<T>;
    if (*op == choice::none) mm_triangle<L, false, false, false>(a, *mb, true, w, *alpha, d);
    else if (!conj || *op == choice::transpose) mm_triangle<L, false, false, false>(a, *mb, true, w, -*alpha, d);
    else mm_triangle<L, conj, conj, false>(a, *mb, true, w, -*alpha, d);
}

template <class T, class I, layout L>
void mm_diag(const I* op, const I* mb, const I* n, const I* lb, const T* alpha, const T* val, const I* indx,
             const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc, const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const operands<T> d{b, *ldb, c, *ldc, *n};
    const steps at = steps_of<L>(*lb);
    for (std::ptrdiff_t i = 0; i < *mb; ++i)
        over_blocks(a, i, [&](std::ptrdiff_t j, const T* m) {
            if (j != i) return;
            if (*op == choice::none) add_block<L, false, false>(m, at, a.lb, *alpha, d, i, i);
            else if (is_complex<T> && *op != choice::transpose)
                add_block<L, is_complex<T>, true>(m, at.transposed(), a.lb, *alpha, d, i, i);
            else add_block<L, false, true>(m, at.transposed(), a.lb, *alpha, d, i, i);
        });
}

template <class T, class I, layout L>
void mm_tr(const I* op, const I* uplo, const I* diag, const I* mb, const I* n, const I* lb, const T* alpha,
           const T* val, const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc,
           const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const bool none = *op == choice::none, stored = *diag == choice::stored;
    mm_triangle<L, false, false, false>(a, *mb, *uplo == choice::lower, {none, !none, stored, !stored, 1}, *alpha,
                                        operands<T>{b, *ldb, c, *ldc, *n});
}

// Its transpose is itself, so that op is conjugation.
template <class T, class I, layout L>
void mm_sym(const I* op, const I* uplo, const I* diag, const I* mb, const I* n, const I* lb, const T* alpha,
            const T* val, const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc,
            const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const operands<T> d{b, *ldb, c, *ldc, *n};
    const bool stored = *diag == choice::stored, lower = *uplo == choice::lower;
    const kind w{true, true, stored, !stored, 1};
    constexpr bool conj = is_complex<T>;
    if (!conj || *op == choice::none) mm_triangle<L, false, false, false>(a, *mb, lower, w, *alpha, d);
    else mm_triangle<L, conj, conj, conj>(a, *mb, lower, w, *alpha, d);
}

// Its conjugate transpose is itself, so that op is conjugation, which leaves the diagonal as it stands.
template <class T, class I, layout L>
void mm_her(const I* op, const I* uplo, const I* diag, const I* mb, const I* n, const I* lb, const T* alpha,
            const T* val, const I* indx, const I* pntrb, const I* pntre, const T* b, const I* ldb, T* c, const I* ldc,
            const I* base)
{
    const matrix<T, I> a(val, indx, pntrb, pntre, *base, *lb, *mb > 0);
    const operands<T> d{b, *ldb, c, *ldc, *n};
    const bool stored = *diag == choice::stored, lower = *uplo == choice::lower;
    const kind w{true, true, stored, !stored, 1};
    if (*op == choice::none) mm_triangle<L, false, true, false>(a, *mb, lower, w, *alpha, d);
    else mm_triangle<L, true, false, false>(a, *mb, lower, w, *alpha, d);
}

} // namespace vrn::spblas::bsr
