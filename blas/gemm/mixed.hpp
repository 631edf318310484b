// blas/gemm/mixed.hpp - C := alpha op(A) op(B) + beta C with a real A, complex B and C: half the work of the complex
// product.
//
// B is taken apart into planes of real and imaginary parts, which lie side by side as one real matrix of twice the
// columns; the real driver multiplies, and the two planes of the result are put together into C:
//
//     [Pr Pi] = op(A) [Br Bi]         C := beta C + alpha (Pr + i Pi)
//
// Three ways, by shape:
//
//     a side below 4      rows of C against elements of B, no buffer; also where a buffer cannot be had
//     in general          alpha in the planes of B; beta C is taken apart too where beta is not 0, so that the real
//                         product adds to it, and put back: blocks of 5000 rows by 500 columns
//     a very tall C       B is small and taken apart once, C stays as it is, and strips of 5000 rows of the result go
//                         into it as they come, with alpha and beta: their area stays in the caches
//
// One allocation, for the planes. Called through the host.
#pragma once

#include "blas/gemm/functions.hpp"
#include "blas/gemm/mscale.hpp"
#include "blas/gemm/pack.hpp"
#include "blas/gemm/planes.hpp"
#include "blas/gemm/product.hpp"
#include "blas/gemm/rows.hpp"
#include "frame/services.hpp"

namespace vrn::blas::mixed {

using simd::cplx;

inline constexpr vrn_int direct_below = 4;                     // of m, n and k
inline constexpr vrn_int row_block = 5000, column_block = 500; // of C
inline constexpr vrn_int tall_from = 1000000, small_b = 16384; // more rows than this, k * n below that
inline constexpr std::uint64_t strip_bytes = row_block << 11;  // of a tall result

inline vrn_int least(vrn_int x, vrn_int y) { return x < y ? x : y; }

// The operands: A real, alpha, B, beta and C complex.
template <class R>
struct operands {
    product<cplx<R>> p; // its `a` is not used
    const R* a;
    const R* a_at(vrn_int i, vrn_int kk) const { return a + (p.a_normal() ? i + kk * p.lda : kk + i * p.lda); }
};

// A pair of planes, `ld` from column to column.
template <class R>
struct plane_pair {
    R *re, *im;
    vrn_int ld;
};

// ---- parts ----

// Planes of rows by columns of X as stored, through f.
template <class R, class Factor>
void split(vrn_int rows, vrn_int columns, const cplx<R>* x, vrn_int ldx, Factor f, plane_pair<R> to)
{
    for (; columns > 0; --columns, x += ldx, to.re += to.ld, to.im += to.ld)
        planes::split(rows, x, f, [&](vrn_int i, auto both) {
            if constexpr (std::is_same_v<decltype(both), planes::halves<R>>)
                both.re.storeu(to.re + i), both.im.storeu(to.im + i);
            else to.re[i] = both.re, to.im[i] = both.im;
        });
}

// alpha op(B) as it is stored; without alpha where the result gets it.
template <class R>
void copy_b(pack::operation op, vrn_int rows, vrn_int columns, cplx<R> alpha, const cplx<R>* b, vrn_int ldb,
            plane_pair<R> to)
{
    const bool one = alpha == simd::unity<cplx<R>>;
    if (!op.conjugate && one) split(rows, columns, b, ldb, pack::plain<cplx<R>>{}, to);
    else if (!op.conjugate) split(rows, columns, b, ldb, simd::factor<cplx<R>>(alpha), to);
    else if (one) split(rows, columns, b, ldb, pack::conjugated<cplx<R>>{}, to);
    else split(rows, columns, b, ldb, pack::conjugate_factor<cplx<R>>(alpha), to);
}

// What becomes of C when a result comes back.
enum class back { replace, beta, alpha_beta };

// C := P, beta C + P or beta C + alpha P. With beta zero C is written and not read.
template <back Back, class R>
void copy_c(vrn_int m, vrn_int n, cplx<R> alpha, plane_pair<R> from, cplx<R> beta, cplx<R>* c, vrn_int ldc)
{
    const sum_factor<cplx<R>> f(alpha), g(beta);
    const auto scaled = [&](auto sum) { return Back == back::alpha_beta ? f(sum) : sum; };
    const bool reads = Back != back::replace && beta != cplx<R>{};
    for (; n > 0; --n, c += ldc, from.re += from.ld, from.im += from.ld) {
        if (reads)
            planes::merge<true>(m, from.re, from.im, c, [&](auto old, auto sum) { return g(old) + scaled(sum); });
        else planes::merge<false>(m, from.re, from.im, c, [&](auto, auto sum) { return scaled(sum); });
    }
}

// ---- no buffer ----

// Rows x Columns of C, A as stored (rows are lanes): C += alpha op(A) op(B).
template <int Vectors, int Columns, class R>
[[gnu::always_inline]] inline void direct_tile(const operands<R>& o, vrn_int i, vrn_int j)
{
    using V = simd::vec<R>;
    using simd::unroll;
    const product<cplx<R>>& p = o.p;
    const vrn_int brow = p.b_normal() ? 1 : p.ldb, bcol = p.b_normal() ? p.ldb : 1;
    const R* a = o.a + i;
    const cplx<R>* b = p.b_at(0, j);
    V re[Columns][Vectors], im[Columns][Vectors];
    unroll<Columns>([&](auto c) { unroll<Vectors>([&](auto r) { re[c][r] = im[c][r] = V::zero(); }); });
    for (vrn_int kk = 0; kk < p.k; ++kk, a += p.lda, b += brow)
        unroll<Vectors>([&](auto r) {
            const V x = V::loadu(a + r * V::lanes);
            unroll<Columns>([&](auto c) {
                re[c][r] = re[c][r] + x * V::all(b[c * bcol].re);
                im[c][r] = im[c][r] + x * V::all(b[c * bcol].im);
            });
        });
    const sum_factor<cplx<R>> f(p.alpha);
    const V sign = V::all(p.b_conjugated() ? -1 : 1);
    unroll<Columns>([&](auto c) {
        unroll<Vectors>([&](auto r) {
            const planes::halves<R> both = planes::together({re[c][r], im[c][r] * sign});
            R* low = &p.c_at(i + r * V::lanes, j + c)->re;
            (V::loadu(low) + f(both.re)).storeu(low);
            (V::loadu(low + V::lanes) + f(both.im)).storeu(low + V::lanes);
        });
    });
}

template <int Columns, class R>
[[gnu::flatten]] void direct_columns(const operands<R>& o, vrn_int j)
{
    constexpr int lanes = simd::vec<R>::lanes;
    const product<cplx<R>>& p = o.p;
    vrn_int i = 0;
    if (p.a_normal()) {
        for (; i + 2 * lanes <= p.m; i += 2 * lanes) direct_tile<2, Columns>(o, i, j);
        for (; i + lanes <= p.m; i += lanes) direct_tile<1, Columns>(o, i, j);
    }
    const sum_factor<cplx<R>> f(p.alpha);
    const R sign = p.b_conjugated() ? -1 : 1;
    for (; i < p.m; ++i)
        for (int c = 0; c < Columns; ++c) {
            cplx<R> sum{};
            for (vrn_int kk = 0; kk < p.k; ++kk) sum = sum + *o.a_at(i, kk) * *p.b_at(kk, j + c);
            sum.im *= sign;
            *p.c_at(i, j + c) = *p.c_at(i, j + c) + f(sum);
        }
}

// C += alpha op(A) op(B).
template <class R>
void direct(const operands<R>& o)
{
    vrn_int j = 0;
    for (; j + 2 <= o.p.n; j += 2) direct_columns<2>(o, j);
    if (j < o.p.n) direct_columns<1>(o, j);
}

// ---- with planes ----

// The areas of B's planes and C's in one block, both from a cache line pair on.
struct areas {
    void *b, *c;
};
template <class R>
void* get_areas(vrn_int b_elements, vrn_int c_elements, areas& to)
{
    const auto bytes = [](vrn_int elements) {
        return (static_cast<std::uint64_t>(elements) * sizeof(R) + 127) & ~127u;
    };
    char* block = static_cast<char*>(vrn_serv_allocate(bytes(b_elements) + bytes(c_elements), 128));
    to = {block, block == nullptr ? nullptr : block + bytes(b_elements)};
    return block;
}

// A real product's letters: conjugation is in the planes of B, and means nothing for A.
template <class R>
struct real_multiply {
    const operands<R>& o;
    gemm_par_function<R>* multiply;
    gemm_desc* desc;

    // P (m by 2n reals) := beta P + op(A)[m0..] B.
    void operator()(vrn_int m0, vrn_int m, vrn_int n, const R* b, vrn_int ldb, R beta, R* to) const
    {
        const R one = 1;
        const vrn_int columns = 2 * n;
        multiply(o.p.a_normal() ? "N" : "T", o.p.b_normal() ? "N" : "T", &m, &columns, &o.p.k, &one, o.a_at(m0, 0),
                 &o.p.lda, b, &ldb, &beta, to, &m, 2, desc);
    }
};

// B's planes side by side as op(B) is stored: k by 2n, or 2n by k.
template <class R>
plane_pair<R> b_planes(bool normal, vrn_int k, vrn_int n, R* b)
{
    return normal ? plane_pair<R>{b, b + k * n, k} : plane_pair<R>{b, b + n, 2 * n};
}
template <class R>
void split_b(const operands<R>& o, vrn_int j, vrn_int n, cplx<R> alpha, plane_pair<R> to)
{
    const product<cplx<R>>& p = o.p;
    const pack::operation op{p.b_normal(), p.b_conjugated()};
    copy_b(op, op.normal ? p.k : n, op.normal ? n : p.k, alpha, p.b_at(0, j), p.ldb, to);
}

// The general way.
template <class R>
bool blocks(const operands<R>& o, const char* routine, gemm_par_function<R>* multiply, gemm_desc* desc)
{
    const product<cplx<R>>& p = o.p;
    const vrn_int mb = least(p.m, row_block), nb = least(p.n, column_block);
    areas area;
    void* block = get_areas<R>(2 * p.k * nb, 2 * mb * nb, area);
    if (vrn_serv_check_ptr_and_warn(block, routine, std::int64_t{6}) != 0) return false;
    const real_multiply<R> run{o, multiply, desc};
    R *const b = static_cast<R*>(area.b), *const c = static_cast<R*>(area.c);
    for (vrn_int j = 0; j < p.n; j += nb) {
        const vrn_int n = least(p.n - j, nb);
        const plane_pair<R> of_b = b_planes(p.b_normal(), p.k, n, b);
        split_b(o, j, n, p.alpha, of_b);
        for (vrn_int i = 0; i < p.m; i += mb) {
            const vrn_int m = least(p.m - i, mb);
            const plane_pair<R> of_c{c, c + m * n, m};
            cplx<R>* to = p.c_at(i, j);
            const bool adds = p.beta != cplx<R>{};
            if (adds) split(m, n, to, p.ldc, sum_factor<cplx<R>>(p.beta), of_c);
            run(i, m, n, b, of_b.ld, adds ? 1 : 0, c);
            copy_c<back::replace>(m, n, simd::unity<cplx<R>>, of_c, cplx<R>{}, to, p.ldc);
        }
    }
    vrn_serv_deallocate(block);
    return true;
}

// A very tall C against a small B: as many columns at a time as the strip's area holds.
template <class R>
bool strips(const operands<R>& o, const char* routine, gemm_par_function<R>* multiply, gemm_desc* desc)
{
    const product<cplx<R>>& p = o.p;
    constexpr vrn_int elements = static_cast<vrn_int>(strip_bytes / sizeof(R));
    const vrn_int nb = least(p.n, elements / (2 * row_block));
    areas area;
    void* block = get_areas<R>(2 * p.k * nb, elements, area);
    if (vrn_serv_check_ptr_and_warn(block, routine, std::int64_t{6}) != 0) return false;
    const real_multiply<R> run{o, multiply, desc};
    R *const b = static_cast<R*>(area.b), *const c = static_cast<R*>(area.c);
    for (vrn_int j = 0; j < p.n; j += nb) {
        const vrn_int n = least(p.n - j, nb);
        const plane_pair<R> of_b = b_planes(p.b_normal(), p.k, n, b);
        split_b(o, j, n, simd::unity<cplx<R>>, of_b);
        for (vrn_int i = 0; i < p.m; i += row_block) {
            const vrn_int m = least(p.m - i, row_block);
            run(i, m, n, b, of_b.ld, 0, c);
            const plane_pair<R> of_c{c, c + m * n, m};
            const auto put = p.alpha == simd::unity<cplx<R>> ? copy_c<back::beta, R> : copy_c<back::alpha_beta, R>;
            put(m, n, p.alpha, of_c, p.beta, p.c_at(i, j), p.ldc);
        }
    }
    vrn_serv_deallocate(block);
    return true;
}

template <class R>
void without_planes(const operands<R>& o)
{
    const product<cplx<R>>& p = o.p;
    if (p.beta != simd::unity<cplx<R>>) mscale(p.m, p.n, p.beta, p.c, p.ldc);
    if (p.k != 0 && p.alpha != cplx<R>{}) direct(o);
}

// The ways that need planes, for sides from 4 on; without memory the direct one.
template <class R>
void with_planes(const operands<R>& o, const char* routine, gemm_par_function<R>* multiply, gemm_desc* desc)
{
    const bool tall = o.p.m > tall_from && o.p.k * o.p.n < small_b;
    if (!(tall ? strips<R> : blocks<R>)(o, routine, multiply, desc)) without_planes(o);
}

template <class R>
void gemm(const operands<R>& o, const char* routine, gemm_par_function<R>* multiply, gemm_desc* desc)
{
    const product<cplx<R>>& p = o.p;
    if (p.m <= 0 || p.n <= 0) return;
    const bool thin = p.m < direct_below || p.n < direct_below || p.k < direct_below;
    if (thin || p.alpha == cplx<R>{}) without_planes(o);
    else with_planes(o, routine, multiply, desc);
}

} // namespace vrn::blas::mixed
