// spblas/csr/mm_rows.hpp - C := beta*C + alpha*op(A)*B with B and C by rows.
//
// An entry of A moves whole rows: C[i, :] += (alpha*a)*B[col, :]. Columns are independent of each other, so all loops
// run over strips of a few vectors, which stay in registers while the entries of a row pass:
//
//     general      a range of rows; widths 8, 16, 24 and 32 have bodies without a loop over the width
//     triangular   the whole row, then what lies outside the triangle is added up and taken back
//     two-sided    all rows as if the matrix were general, then per row the mirrored positions, and what the first
//                  pass took from the wrong triangle is taken back
//     scatter      scatter.hpp
//
// all but the first on a range of columns. Called by mm.hpp.
#pragma once

#include "spblas/csr/scatter.hpp"
#include "spblas/csr/two_sided.hpp"

namespace vrn::spblas::csr {

// `start` plus the row of the product.
template <bool Conjugate, class T, class I, class X>
[[gnu::always_inline]] inline typename X::value accumulated(const row<T, I>& r, T alpha, const X& x,
                                                            typename X::value sum)
{
    for (std::ptrdiff_t k = 0; k < r.size; ++k) x.add(sum, alpha * conj_if<Conjugate>(r.val[k]), r.indx[k]);
    return sum;
}
// The same, and with each entry the rows of x that the first entries of another row will want are asked for: between
// the arithmetic, since a processor waits for no more than a dozen lines at a time.
template <bool Conjugate, class T, class I, class X>
[[gnu::always_inline]] inline typename X::value accumulated(const row<T, I>& r, T alpha, const X& x,
                                                            typename X::value sum, const row<T, I>& soon)
{
    for (std::ptrdiff_t k = 0; k < r.size; ++k) {
        if (k < soon.size)
            for (std::ptrdiff_t j = 0; j < X::width; j += 64 / std::ptrdiff_t{sizeof(T)})
                _mm_prefetch(reinterpret_cast<const char*>(x.p + soon.indx[k] * x.stride + j), _MM_HINT_T0);
        x.add(sum, alpha * conj_if<Conjugate>(r.val[k]), r.indx[k]);
    }
    return sum;
}

// beta*y[i], without reading y for a beta of zero.
template <class T, class Y>
[[gnu::always_inline]] inline typename Y::value begun(const Y& y, std::ptrdiff_t i, T beta)
{
    return beta == T{} ? Y::zero() : beta * y.get(i);
}

// f(x, y) over the columns from..to-1 of rows of b and c: strips of Most vectors, of one, single columns.
template <int Most, class T, class F>
[[gnu::always_inline]] inline void over_strips(std::ptrdiff_t from, std::ptrdiff_t to, const T* b, std::ptrdiff_t ldb,
                                               T* c, std::ptrdiff_t ldc, F&& f)
{
    constexpr int step = per_vec<T>;
    std::ptrdiff_t j = from;
    for (; j + Most * step <= to; j += Most * step) f(strip<const T, Most>{b + j, ldb}, strip<T, Most>{c + j, ldc});
    for (; j + step <= to; j += step) f(strip<const T, 1>{b + j, ldb}, strip<T, 1>{c + j, ldc});
    if constexpr (step > 1)
        for (; j < to; ++j) f(column<const T>{b + j, ldb}, column<T>{c + j, ldc});
}

// Vectors of a strip: eight where only sums are held, four where rows of C are held too.
inline constexpr int sum_strip = 8, row_strip = 4;

// Of a row of `width` elements, how many vectors are held at once: all where they fit the registers, else equal
// parts.
template <class T>
constexpr int held_vectors(int width)
{
    const int vectors = width / per_vec<T>, most = is_complex<T> ? 8 : 12;
    const int parts = (vectors + most - 1) / most;
    return vectors / parts;
}

// The rows of B that row i of A will want: `width` elements each.
template <class T, class I>
[[gnu::always_inline]] inline void ask_for(const row<T, I>& r, const T* b, std::ptrdiff_t ldb, std::ptrdiff_t width)
{
    for (std::ptrdiff_t k = 0; k < r.size; ++k)
        for (std::ptrdiff_t j = 0; j < width; j += 64 / std::ptrdiff_t{sizeof(T)})
            _mm_prefetch(reinterpret_cast<const char*>(b + r.indx[k] * ldb + j), _MM_HINT_T0);
}

// Runs f(i, row) over rows; where they reach far into B, what the next row wants is on its way meanwhile.
template <class T, class I, class F>
[[gnu::always_inline]] inline void over_rows(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to,
                                             const T* b, std::ptrdiff_t ldb, std::ptrdiff_t width, F&& f)
{
    const bool far = reaches_far(a, from, to, width * std::ptrdiff_t{sizeof(T)});
    for (std::ptrdiff_t i = from; i < to; ++i) {
        if (far && i + 1 < to) ask_for(a[i + 1], b, ldb, width);
        f(i, a.next(i));
    }
}

template <bool Conjugate, int Width, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm_rows_fixed(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, I base,
                                                   T alpha, const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc,
                                                   T beta)
{
    constexpr int vectors = held_vectors<T>(Width), part = vectors * per_vec<T>;
    const bool far = reaches_far(a, from, to, Width * std::ptrdiff_t{sizeof(T)});
    for (std::ptrdiff_t i = from; i < to; ++i) {
        const row<T, I> r = a.next(i), soon = far && i + 1 < to ? a[i + 1] : row<T, I>{};
        simd::unroll<Width / part>([&](auto p) {
            const strip<T, vectors> y{c + p * part, ldc};
            y.put(i + base, accumulated<Conjugate>(r, alpha, strip<const T, vectors>{b + p * part, ldb},
                                                   begun(y, i + base, beta), soon));
        });
    }
}

template <bool Conjugate, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm_rows_any(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                 std::ptrdiff_t n, I base, T alpha, const T* b, std::ptrdiff_t ldb,
                                                 T* c, std::ptrdiff_t ldc, T beta)
{
    over_rows(a, from, to, b, ldb, n, [&](std::ptrdiff_t i, const row<T, I>& r) {
        over_strips<sum_strip>(0, n, b, ldb, c, ldc, [&](auto x, auto y) {
            y.put(i + base, accumulated<Conjugate>(r, alpha, x, begun(y, i + base, beta)));
        });
    });
}

template <bool Conjugate, class T, class I>
void mm_rows_general(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t n, I base, T alpha,
                     const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, T beta)
{
    switch (n) {
    case 8:
        return mm_rows_fixed<Conjugate, 8>(a, from, to, base, alpha, b, ldb, c, ldc, beta);
    case 16:
        return mm_rows_fixed<Conjugate, 16>(a, from, to, base, alpha, b, ldb, c, ldc, beta);
    case 24:
        return mm_rows_fixed<Conjugate, 24>(a, from, to, base, alpha, b, ldb, c, ldc, beta);
    case 32:
        return mm_rows_fixed<Conjugate, 32>(a, from, to, base, alpha, b, ldb, c, ldc, beta);
    default:
        return mm_rows_any<Conjugate>(a, from, to, n, base, alpha, b, ldb, c, ldc, beta);
    }
}

// Does the entry not belong into the row's own sum?
template <tag Shape, class I>
bool foreign(I col, I self)
{
    return inside<!Shape.lower()>(col, self) || ((Shape.unit() || Shape.is('a')) && col == self);
}

template <tag Shape, class T, class I, class X, class Y>
[[gnu::always_inline]] inline void mm_rows_masked(const matrix<T, I>& a, std::ptrdiff_t m, I base, T alpha,
                                                  const X& x, const Y& y, T beta)
{
    constexpr bool conjugate = Shape.conjugates();
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        const I self = static_cast<I>(i + base);
        auto sum = accumulated<conjugate>(r, alpha, x, begun(y, self, beta));
        auto outside = Y::zero();
        for (std::ptrdiff_t k = 0; k < r.size; ++k)
            if (foreign<Shape>(r.indx[k], self)) x.add(outside, alpha * conj_if<conjugate>(r.val[k]), r.indx[k]);
        sum = sum - outside;
        if constexpr (Shape.unit()) x.add(sum, alpha, self);
        y.put(self, sum);
    }
}

template <tag Shape, class T, class I, class X, class Y>
[[gnu::always_inline]] inline void mm_rows_two_sided(const matrix<T, I>& a, std::ptrdiff_t m, I base, T alpha,
                                                     const X& x, const Y& y, T beta)
{
    alpha = signed_alpha<Shape>(alpha);
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const I self = static_cast<I>(i + base);
        const row<T, I> r = a[i];
        auto sum = begun(y, self, beta);
        for (std::ptrdiff_t k = 0; k < r.size; ++k) {
            T v = own<Shape>(r.val[k]);
            if constexpr (Shape.is('h') && Shape.op == 't' && !Shape.unit())
                if (r.indx[k] == self) v = on_diagonal<Shape>(r.val[k]);
            x.add(sum, alpha * v, r.indx[k]);
        }
        y.put(self, sum);
    }
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        const I self = static_cast<I>(i + base);
        const auto mine = x.get(self);
        auto outside = Y::zero();
        for (std::ptrdiff_t k = 0; k < r.size; ++k) {
            const I col = r.indx[k];
            if (inside<Shape.lower()>(col, self)) y.put(col, y.get(col) + (alpha * mirrored<Shape>(r.val[k])) * mine);
            else if (foreign<Shape>(col, self)) x.add(outside, alpha * own<Shape>(r.val[k]), col);
        }
        auto sum = y.get(self) - outside;
        if constexpr (Shape.unit()) sum = sum + alpha * mine;
        y.put(self, sum);
    }
}

// Columns from..to-1 of all but the general class without transposition. `rows` are C's.
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm_rows(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t m,
                                             std::ptrdiff_t rows, I base, T alpha, const T* b, std::ptrdiff_t ldb,
                                             T* c, std::ptrdiff_t ldc, T beta)
{
    over_strips<row_strip>(from, to, b, ldb, c, ldc, [&](auto x, auto y) {
        if constexpr (Shape.two_sided()) mm_rows_two_sided<Shape>(a, m, base, alpha, x, y, beta);
        else if constexpr (!Shape.transposes()) mm_rows_masked<Shape>(a, m, base, alpha, x, y, beta);
        else {
            scale(y, base, base + rows, beta);
            scatter<Shape>(a, 0, m, base, alpha, x, y);
        }
    });
}

} // namespace vrn::spblas::csr
