// core/spblas/sky.hpp - products and solves in skyline storage, by columns. The kernels know triangular, symmetric
// and antisymmetric matrices and do not conjugate; the rest is put together from those:
//     Hermitian            the triangle, and its strict part transposed between conjugations
//     conjugate transpose  the transpose between conjugations
//     unit diagonal        the product without a diagonal, and alpha*B
#pragma once

#include "core/spblas/work.hpp"

namespace vrn::spblas::host {

template <class T, class I>
struct sky_product {
    const sky_view<T, I>& a;
    const description& d;
    I m, n;
    const T* b;
    const T* b_conjugated; // where op or class want it
    I ldb;
    T* c;
    I ldc;

    // C := C + alpha*op(A)*B by one kernel, under op n or t.
    void add(arguments::sky_mm<T, I>* f, bool turned, bool diagonal, T alpha, const T* from) const
    {
        const I op = turned, uplo = !d.lower(), diag = diagonal;
        f(&op, nullptr, &m, &n, &uplo, &diag, &alpha, a.val, a.pntr, from, &ldb, c, &ldc);
    }
    void add_conjugated(arguments::sky_mm<T, I>* f, bool turned, bool diagonal, T alpha) const
    {
        conjugate(false, m, n, c, ldc);
        add(f, turned, diagonal, conjugated(alpha), b_conjugated);
        conjugate(false, m, n, c, ldc);
    }
    void run(char op, T alpha) const
    {
        const bool stored = d.diagonal == 'n';
        if (d.kind == 'h') {
            // conj(A) is transpose(A): its triangle is the conjugate of the stored one.
            auto* f = kernels<T, I>::skymmgk();
            if (op == 't') add_conjugated(f, false, stored, alpha), add(f, true, false, alpha, b);
            else add(f, false, stored, alpha, b), add_conjugated(f, true, false, alpha);
        } else {
            auto* f = d.kind == 's'   ? kernels<T, I>::skymmsk()
                      : d.kind == 'a' ? kernels<T, I>::skymmkk()
                                      : kernels<T, I>::skymmgk();
            if (op == 'c' && is_complex<T>) add_conjugated(f, true, stored, alpha);
            else add(f, transposes(op), stored, alpha, b);
        }
        if (d.unit()) add_scaled(false, m, n, alpha, b, ldb, simd::unity<T>, c, ldc);
    }
};

template <class T, class I>
std::int64_t entries(const sky_view<T, I>& a, I m)
{
    return std::max<std::int64_t>(std::int64_t{a.pntr[m]} - a.pntr[0], m);
}

template <class T, class I>
void mm(const sky_view<T, I>& a, char op, I m, I n, I k, T alpha, const description& d, const T* b, I ldb, T beta,
        T* c, I ldc)
{
    if (alpha == T{} || m == 0 || k == 0) return prepare(false, m, n, beta, c, ldc);
    const bool conjugates = is_complex<T> && (op == 'c' || d.kind == 'h');
    const conjugate_copy<T, I> other(conjugates, false, m, n, b, ldb);
    if (!other.good) return;
    threads::run(threads_for(entries(a, m) * n, n), [&](int part, int parts) {
        const auto [from, to] = columns_of(n, false, part, parts);
        if (from >= to) return;
        T* const target = c + from * ldc;
        const std::int64_t at = from * ldb;
        prepare(false, m, static_cast<I>(to - from), beta, target, ldc);
        const sky_product<T, I> product{
            a, d, m, static_cast<I>(to - from), b + at, other.get() + (conjugates ? at : 0), ldb, target, ldc};
        product.run(op, alpha);
    });
}

template <class T, class I>
void mv(const sky_view<T, I>& a, char op, I m, I k, T alpha, const description& d, const T* x, T beta, T* y)
{
    mm<T, I>(a, op, m, 1, k, alpha, d, x, m, beta, y, m);
}

// In place on one right-hand side.
template <class T, class I>
void solve_skyline(const sky_view<T, I>& a, char op, I m, const description& d, T* y)
{
    const I turned = transposes(op), uplo = !d.lower(), diag = !d.unit();
    const bool around = op == 'c' && is_complex<T>;
    if (around) conjugate(m, y);
    kernels<T, I>::skysvk()(&turned, nullptr, &uplo, &diag, &m, a.val, a.pntr, y);
    if (around) conjugate(m, y);
}

template <class T, class I>
void sm(const sky_view<T, I>& a, char op, I m, I n, T alpha, const description& d, const T* b, I ldb, T* c, I ldc)
{
    const bool nothing = alpha == T{} || m == 0;
    solve_columns(false, m, n, nothing ? m : entries(a, m), alpha, b, ldb, c, ldc, [&](I first, I last) {
        for (std::int64_t j = first - 1; j < last && !nothing; ++j) solve_skyline(a, op, m, d, c + j * ldc);
    });
}
template <class T, class I>
void sv(const sky_view<T, I>& a, char op, I m, T alpha, const description& d, const T* x, T* y)
{
    sm<T, I>(a, op, m, 1, alpha, d, x, m, y, m);
}

} // namespace vrn::spblas::host
