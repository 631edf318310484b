// blas/gemm/gemm3m.hpp - complex products by three real ones.
//
//     P1 = Ar Br    P2 = Ai Bi    P3 = (Ar + Ai)(Br + Bi)        op(A) op(B) = (P1 - P2) + i (P3 - P1 - P2)
//
// Blocks of A and B are taken apart into planes of real parts, imaginary parts and their sums, as stored; the real
// driver multiplies planes, block of depth after block, and adds up in three planes that go into C at the end, with
// alpha and beta. A quarter of the products is saved; the imaginary part is accurate against the norms of A and B,
// not against each element of C (Higham 1992, Stability of a method for multiplying complex matrices with three
// real matrix multiplications). Three areas from vrn_serv_allocate; without one of them the plain product serves.
#pragma once

#include "blas/gemm/desc.hpp"
#include "blas/gemm/functions.hpp"
#include "blas/gemm/pack.hpp"
#include "blas/gemm/planes.hpp"
#include "blas/gemm/product.hpp"
#include "blas/gemm/rows.hpp"
#include "frame/services.hpp"

namespace vrn::blas::three {

using simd::cplx;

// Up to this size of any side three products save less than the planes cost.
inline constexpr vrn_int plain_limit = 8;
// A block of planes, 1.5 MB of c: depth 128 as in the real product, sides that leave its panels in their caches.
inline constexpr vrn_int depth_block = 128, side_block = 1000;

template <class R>
struct plane_set {
    R *re, *im, *sum;
    plane_set(void* area, vrn_int elements) : re(static_cast<R*>(area)), im(re + elements), sum(im + elements) {}
};

// Rows by columns of op(X) from its element (row, column) on, as they are stored: the planes of a transposed operand
// are transposed too, columns by rows.
template <class R>
void split(pack::operation op, vrn_int rows, vrn_int columns, const cplx<R>* x, vrn_int ld, vrn_int row,
           vrn_int column, R* re, R* im, R* sum)
{
    if (!op.normal) std::swap(rows, columns), std::swap(row, column);
    const auto store = [&](auto f) {
        const auto put = [&](vrn_int i, auto both) {
            if constexpr (std::is_same_v<decltype(both), planes::halves<R>>) {
                both.re.storeu(re + i);
                both.im.storeu(im + i);
                (both.re + both.im).storeu(sum + i);
            } else {
                re[i] = both.re, im[i] = both.im, sum[i] = both.re + both.im;
            }
        };
        x += row + column * ld;
        for (; columns > 0; --columns, x += ld, re += rows, im += rows, sum += rows) planes::split(rows, x, f, put);
    };
    op.conjugate ? store(pack::conjugated<cplx<R>>{}) : store(pack::plain<cplx<R>>{});
}

// C := beta C + alpha (P1 - P2 + i (P3 - P1 - P2)), the products in `re`, `im` and `sum`, which are used up.
template <class R>
void combine(vrn_int m, vrn_int n, cplx<R> alpha, plane_set<R> p, cplx<R> beta, cplx<R>* c, vrn_int ldc)
{
    using V = simd::vec<R>;
    const sum_factor<cplx<R>> f(alpha), g(beta);
    const auto column = [&]<bool Read>(cplx<R>* to) {
        vrn_int i = 0;
        const auto parts = [&](auto p1, auto p2, auto p3, auto put) { put(p1 - p2, p3 - p1 - p2); };
        for (; i + V::lanes <= m; i += V::lanes)
            parts(V::loadu(p.re + i), V::loadu(p.im + i), V::loadu(p.sum + i), [&](V re, V im) {
                re.storeu(p.re + i);
                im.storeu(p.im + i);
            });
        for (; i < m; ++i) parts(p.re[i], p.im[i], p.sum[i], [&](R re, R im) { p.re[i] = re, p.im[i] = im; });
        planes::merge<Read>(m, p.re, p.im, to, [&](auto old, auto sum) { return Read ? g(old) + f(sum) : f(sum); });
    };
    // With beta zero C is written and not read.
    for (; n > 0; --n, c += ldc, p.re += m, p.im += m, p.sum += m)
        beta == cplx<R>{} ? column.template operator()<false>(c) : column.template operator()<true>(c);
}

// False, with nothing written, where the plain product has to serve. `desc` is a record of the real type.
template <class R>
bool gemm(const product<cplx<R>>& p, const char* routine, gemm_par_function<R>* multiply, gemm_desc* desc)
{
    if (p.m <= plain_limit || p.n <= plain_limit || p.k <= plain_limit || p.alpha == cplx<R>{}) return false;
    const auto least = [](vrn_int x, vrn_int y) { return x < y ? x : y; };
    const vrn_int of_c = least(p.m, side_block) * least(p.n, side_block);
    void* areas[3] = {};
    bool have = true;
    for (int i = 0; i < 3 && have; ++i) {
        const vrn_int elements = i < 2 ? side_block * depth_block : of_c;
        areas[i] = vrn_serv_allocate(static_cast<std::uint64_t>(3 * elements) * sizeof(R), 128);
        have = vrn_serv_check_ptr_and_warn(areas[i], routine, std::int64_t{7}) == 0;
    }
    if (have) {
        const plane_set<R> a(areas[0], side_block * depth_block), b(areas[1], side_block * depth_block);
        const plane_set<R> c(areas[2], of_c);
        const pack::operation op_a{p.a_normal(), p.a_conjugated()}, op_b{p.b_normal(), p.b_conjugated()};
        const char *ta = op_a.normal ? "N" : "T", *tb = op_b.normal ? "N" : "T";
        for (vrn_int n0 = 0; n0 < p.n; n0 += side_block)
            for (vrn_int m0 = 0; m0 < p.m; m0 += side_block) {
                const vrn_int mb = least(p.m - m0, side_block), nb = least(p.n - n0, side_block);
                for (vrn_int k0 = 0; k0 < p.k; k0 += depth_block) {
                    const vrn_int kb = least(p.k - k0, depth_block);
                    const vrn_int lda = op_a.normal ? mb : kb, ldb = op_b.normal ? kb : nb;
                    split(op_a, mb, kb, p.a, p.lda, m0, k0, a.re, a.im, a.sum);
                    split(op_b, kb, nb, p.b, p.ldb, k0, n0, b.re, b.im, b.sum);
                    const R one = 1, beta = k0 == 0 ? 0 : 1;
                    for (R* plane_set<R>::*const plane : {&plane_set<R>::re, &plane_set<R>::im, &plane_set<R>::sum})
                        multiply(ta, tb, &mb, &nb, &kb, &one, a.*plane, &lda, b.*plane, &ldb, &beta, c.*plane, &mb, 2,
                                 desc);
                }
                combine(mb, nb, p.alpha, c, p.beta, p.c_at(m0, n0), p.ldc);
            }
    }
    for (void* area : areas) vrn_serv_deallocate(area);
    return have;
}

} // namespace vrn::blas::three
