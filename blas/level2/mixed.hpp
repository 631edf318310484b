// blas/level2/mixed.hpp - y := alpha op(A) x + beta y with a real A and complex vectors. Instantiated by mixed.cpp.
//
// Two real products that share the loads of A. The parts of x, or of alpha x where A is taken as stored, lie in two
// arrays from vrn_serv_allocate; y goes by blocks of 1000 through the stack where it is strided. Without the arrays a
// direct loop does the work. The conjugate transpose of a real A is its transpose.
#pragma once

#include "blas/level2/beta.hpp"
#include "blas/level2/columns.hpp"
#include "blas/level2/staging.hpp"
#include "frame/services.hpp"

namespace vrn::blas {

inline constexpr int mixed_group = 4; // factors in two parts fill eight registers

inline vec<double> lower_pairs(vec<double> re, vec<double> im) { return {_mm_unpacklo_pd(re.v, im.v)}; }
inline vec<double> upper_pairs(vec<double> re, vec<double> im) { return {_mm_unpackhi_pd(re.v, im.v)}; }
inline vec<float> lower_pairs(vec<float> re, vec<float> im) { return {_mm_unpacklo_ps(re.v, im.v)}; }
inline vec<float> upper_pairs(vec<float> re, vec<float> im) { return {_mm_unpackhi_ps(re.v, im.v)}; }

// y += A t, the parts of t given apart.
template <int Columns, class R>
[[gnu::always_inline]] inline void mixed_add(vrn_int m, const R* a, vrn_int lda, const R* re, const R* im, cplx<R>* y)
{
    using V = vec<R>;
    const column_group<Columns, R> column(a, lda);
    V tr[Columns], ti[Columns];
    unroll<Columns>([&](auto c) __attribute__((always_inline)) { tr[c] = V::all(re[c]), ti[c] = V::all(im[c]); });
    sweep_rows<R, line_turn>(
        {0, m}, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            if constexpr (slot == 0) column.ask_for_next(i);
            V sr, si;
            unroll<Columns>([&](auto c) __attribute__((always_inline)) {
                const V v = simd::held(column.template load<c, count, false>(i));
                sr = c == 0 ? v * tr[c] : sr + v * tr[c];
                si = c == 0 ? v * ti[c] : si + v * ti[c];
            });
            using L = lanes<cplx<R>>;
            constexpr int low = count < L::full ? int{count} : L::full, high = count - low;
            L::template store<low>(y + i, L::template load<low>(y + i) + lower_pairs(sr, si));
            if constexpr (high > 0)
                L::template store<high>(y + i + low, L::template load<high>(y + i + low) + upper_pairs(sr, si));
        });
}

// y += alpha A^T x, the parts of x given apart.
template <int Columns, class R>
[[gnu::always_inline]] inline void mixed_dot(vrn_int m, const R* a, vrn_int lda, const R* re, const R* im,
                                             cplx<R> alpha, cplx<R>* y, vrn_int incy)
{
    using L = lanes<R>;
    const column_group<Columns, R> column(a, lda);
    dots<R, Columns, false> by_re, by_im;
    sweep_rows<R, line_turn>(
        {0, m}, [&](vrn_int i, auto count, auto slot) __attribute__((always_inline)) {
            if constexpr (slot == 0) column.ask_for_next(i);
            const met<R> xr{L::template load<count>(re + i)}, xi{L::template load<count>(im + i)};
            unroll<Columns>([&](auto c) __attribute__((always_inline)) {
                const auto v = simd::held(column.template load<c, count, false>(i));
                by_re.template add<slot, c>(v, xr);
                by_im.template add<slot, c>(v, xi);
            });
        });
    R sr[Columns] = {}, si[Columns] = {};
    by_re.add_to(sr, 1);
    by_im.add_to(si, 1);
    for (int c = 0; c < Columns; ++c) y[c * incy] = y[c * incy] + alpha * cplx<R>{sr[c], si[c]};
}

template <class R>
[[gnu::noinline, gnu::flatten]] void mixed_split(bool transposed, vrn_int m, vrn_int n, cplx<R> alpha, const R* a,
                                                 vrn_int lda, const R* re, const R* im, cplx<R>* y, vrn_int incy)
{
    if (transposed)
        return column_groups<mixed_group>(
            n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
                mixed_dot<columns>(m, a + j * lda, lda, re, im, alpha, y + j * incy, incy);
            });
    alignas(64) cplx<R> copy[staged_rows];
    blocks_of(
        m, incy == 1 ? m : staged_rows, [&](vrn_int i, vrn_int rows) __attribute__((always_inline)) {
            cplx<R>* const to = incy == 1 ? y : copy;
            if (incy != 1) copy_in(rows, y + i * incy, incy, copy);
            column_groups<mixed_group>(
                n, [&](vrn_int j, auto columns) __attribute__((always_inline)) {
                    mixed_add<columns>(rows, a + i + j * lda, lda, re + j, im + j, to);
                });
            if (incy != 1) copy_out(rows, copy, y + i * incy, incy);
        });
}

template <class R>
void mixed_direct(bool transposed, vrn_int m, vrn_int n, cplx<R> alpha, const R* a, vrn_int lda, const cplx<R>* x,
                  vrn_int incx, cplx<R>* y, vrn_int incy)
{
    for (vrn_int j = 0; j < n; ++j, a += lda) {
        cplx<R> sum{};
        const cplx<R> t = transposed ? sum : alpha * x[j * incx];
        for (vrn_int i = 0; i < m; ++i) {
            if (transposed) sum = sum + a[i] * x[i * incx];
            else y[i * incy] = y[i * incy] + a[i] * t;
        }
        if (transposed) y[j * incy] = y[j * incy] + alpha * sum;
    }
}

template <class R>
void mixed_gemv(const char* name, const char* trans, vrn_int m, vrn_int n, cplx<R> alpha, const R* a, vrn_int lda,
                const cplx<R>* x, vrn_int incx, cplx<R> beta, cplx<R>* y, vrn_int incy)
{
    if (m <= 0 || n <= 0 || (alpha == cplx<R>{} && beta == simd::unity<cplx<R>>)) return;
    const bool transposed = !is_letter(trans, 'N');
    const vrn_int lenx = transposed ? m : n, leny = transposed ? n : m;
    apply_beta(leny, beta, y, incy);
    if (alpha == cplx<R>{}) return;
    x = vector_begin(x, lenx, incx);
    y = vector_begin(y, leny, incy);

    const auto bytes = static_cast<std::uint64_t>(lenx) * sizeof(R);
    R* const re = static_cast<R*>(vrn_serv_allocate(bytes, 128));
    R* const im = static_cast<R*>(vrn_serv_allocate(bytes, 128));
    const bool refused = vrn_serv_check_ptr_and_warn(re, name, 6) + vrn_serv_check_ptr_and_warn(im, name, 6) != 0;
    if (refused) {
        mixed_direct(transposed, m, n, alpha, a, lda, x, incx, y, incy);
    } else {
        for (vrn_int i = 0; i < lenx; ++i) {
            const cplx<R> v = transposed ? x[i * incx] : alpha * x[i * incx];
            re[i] = v.re;
            im[i] = v.im;
        }
        mixed_split(transposed, m, n, alpha, a, lda, re, im, y, incy);
    }
    vrn_serv_deallocate(im);
    vrn_serv_deallocate(re);
}

} // namespace vrn::blas
