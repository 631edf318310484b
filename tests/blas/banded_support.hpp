// tests/blas/banded_support.hpp - one triangle or band of a matrix in its storage, amid NaN, and as the dense matrix
// that the definition speaks of; the cases that the sweeps over band and packed routines share.
#pragma once

#include "tests/blas/level1_support.hpp"
#include "tests/oracle/gemm.hpp"

#include <algorithm>

namespace vrn::test {

using std::int64_t;

// What the reproducibility query answers in these programs, and how often it was asked.
struct cbwr_answer {
    int mode = 1;
    long asked = 0;
};
extern cbwr_answer cbwr;

enum class kind { general, symmetric, triangular };

// kl diagonals below and ku above the main one: lda 0 stands for packed storage of one triangle, columns one behind
// the other. Everything that is not stored is NaN, and so is the imaginary part of a Hermitian diagonal.
template <class E>
class stored {
  public:
    int64_t m, n, kl, ku, lda;
    kind what;
    bool unit = false; // triangular with ones on the diagonal, which are not stored
    std::vector<E> values;

    stored(kind w, int64_t rows, int64_t cols, int64_t below, int64_t above, int64_t ld, unsigned seed)
        : m(rows), n(cols), kl(below), ku(above), lda(ld), what(w)
    {
        const auto nan = std::numeric_limits<part_t<E>>::quiet_NaN();
        const auto count = static_cast<std::size_t>(lda ? lda * n : n * (n + 1) / 2);
        if constexpr (is_complex<E>) values.assign(count, E{nan, nan});
        else values.assign(count, nan);
        const auto source = random_values<E>(static_cast<int64_t>(count), seed);
        for (int64_t j = 0; j < n; ++j)
            for (int64_t i = std::max<int64_t>(0, j - ku); i < std::min(m, j + kl + 1); ++i) {
                E& to = values[place(i, j)];
                to = source[place(i, j)];
                if (i != j || what == kind::general) continue;
                if constexpr (is_complex<E>)
                    if (what == kind::symmetric) to = {to.real(), nan};
                // A diagonal that keeps solutions from growing; the bound holds for any.
                if (what == kind::triangular)
                    to = to + part_t<E>(std::copysign(2 + std::min<int64_t>(kl + ku, n), std::real(to)));
            }
    }
    bool reaches(int64_t i, int64_t j) const { return i >= j - ku && i <= j + kl; }
    std::size_t place(int64_t i, int64_t j) const
    {
        const int64_t packed = ku ? j * (j + 1) / 2 + i : j * (2 * n - j - 1) / 2 + i;
        return static_cast<std::size_t>(lda ? j * lda + ku + i - j : packed);
    }
    // Element (i, j) of the whole matrix.
    E at(int64_t i, int64_t j) const { return of(values.data(), i, j); }
    template <class Values>
    E of(const Values& from, int64_t i, int64_t j) const
    {
        if (what == kind::triangular && unit && i == j) return E{1};
        if (reaches(i, j)) {
            const E v = from[static_cast<int64_t>(place(i, j))];
            return what == kind::symmetric && i == j ? E{std::real(v)} : v;
        }
        if (what != kind::symmetric || !reaches(j, i)) return E{};
        if constexpr (is_complex<E>) return std::conj(of(from, j, i));
        else return of(from, j, i);
    }
    E op(char trans, int64_t i, int64_t j) const
    {
        if (trans == 'N') return at(i, j);
        if constexpr (is_complex<E>)
            if (trans == 'C') return std::conj(at(j, i));
        return at(j, i);
    }
};

template <class E>
E number(double re, double im)
{
    using R = part_t<E>;
    if constexpr (is_complex<E>) return {static_cast<R>(re), static_cast<R>(im)};
    else return static_cast<R>(re);
}

// Strides and factors of one call; an offset in reals past a 64-byte boundary; NaN in one element of x.
struct variant {
    int64_t incx, incy;
    double alpha, beta;
    int offset;
    bool nan;
};
inline constexpr variant variants[] = {
    {1, 1, 1.3, 0.7, 0, false}, {1, 1, -1, 1, 1, false},    {1, 1, 0.9, 0, 0, false}, {1, 1, 1, 1, 0, true},
    {1, 1, 0, 0.4, 0, false},   {1, 1, 0, 1, 0, false},     {2, 1, 1, 0.5, 0, false}, {-1, -1, 1, 0.5, 0, false},
    {1, -2, 1.5, 0, 1, false},  {-3, 2, 0.3, 1.1, 0, true},
};

template <class E>
std::string routine(const char* real, const char* complex)
{
    return std::string("vrn_blas_s42_") + letter<E>() + (is_complex<E> ? complex : real);
}

// Errors of complex sums are counted with four roundings a product (Higham 2002, lemma 3.5).
template <class E>
inline constexpr double limit = is_complex<E> ? 2 : 1;

template <class E>
std::vector<E> vector_for(int64_t n, unsigned seed, const variant& v)
{
    auto all = random_values<E>(n, seed);
    if (v.nan && n > 0) all[static_cast<std::size_t>(n / 2)] = number<E>(NAN, NAN);
    return all;
}

// Row i of alpha op(A) x + beta y; what A does not store is not multiplied.
template <class E>
element<E> product_row(const stored<E>& a, char trans, int64_t i, E alpha, const std::vector<E>& x, E beta, E y)
{
    const int64_t width = std::max(a.kl, a.ku), first = std::max<int64_t>(0, i - width);
    const int64_t last = std::min(static_cast<int64_t>(x.size()), i + width + 1);
    const auto in = [&](int64_t j) { return a.op(trans, i, first + j); };
    return gemm<E>(
        std::max<int64_t>(0, last - first), alpha, in,
        [&](int64_t j) { return in(j) == E{} ? E{} : x[static_cast<std::size_t>(first + j)]; }, beta, y);
}

template <class E>
bool same_bits(const std::vector<E>& a, const std::vector<E>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), [](E p, E q) { return same(p, q); });
}

// y := alpha op(A) x + beta y as `call(a, x, y, alpha, beta)` computes it, against the definition; twice, at
// different addresses, with the same bits unless `by_address`.
template <class E, class Call>
void hold_product(const stored<E>& a, char trans, const variant& v, bool by_address, Call call)
{
    const int64_t rows = trans == 'N' ? a.m : a.n, cols = trans == 'N' ? a.n : a.m;
    const E alpha = number<E>(v.alpha, v.alpha == 0 ? 0 : 0.4), beta = number<E>(v.beta, v.beta == 0.7 ? 0.6 : 0);
    const auto x0 = vector_for<E>(cols, 2, v);
    auto y0 = random_values<E>(rows, 3);
    if (v.beta == 0)
        for (E& e : y0) e = number<E>(NAN, NAN);
    const int step = v.offset * static_cast<int>(sizeof(part_t<E>));
    std::vector<E> before;
    for (const int offset : {step, 16 - static_cast<int>(sizeof(E)) + step}) {
        strided<E> A(static_cast<int64_t>(a.values.size()), 1, offset, a.values);
        strided<E> x(cols, v.incx, offset, x0), y(rows, v.incy, offset, y0);
        call(A.data(), x.data(), y.data(), &alpha, &beta);
        EXPECT_TRUE(A.untouched() && x.untouched() && y.guards_hold());
        if (cols == 0 || (v.alpha == 0 && v.beta == 1)) {
            EXPECT_TRUE(y.untouched());
            continue;
        }
        for (int64_t i = 0; i < rows; ++i) {
            const auto exact = product_row(a, trans, i, alpha, x0, beta, y0[static_cast<std::size_t>(i)]);
            EXPECT_LE(exact.units(y[i]), limit<E>) << "row " << i;
        }
        const auto now = y.values();
        EXPECT_TRUE(by_address || before.empty() || same_bits(now, before)) << "by address";
        before = now;
    }
}

// x := op(A) x, or the x that solves op(A) x = b with a small residual: |b - T x| <= gamma(n) |T| |x|, the row-wise
// backward error of substitution (Higham 2002, theorem 8.5). A complex division counts as five roundings more.
template <class E, class Call>
void hold_triangle(const stored<E>& a, char trans, bool solve, const variant& v, Call call)
{
    const auto x0 = vector_for<E>(a.n, 2, v);
    const int step = v.offset * static_cast<int>(sizeof(part_t<E>));
    std::vector<E> before;
    for (const int offset : {step, 16 - static_cast<int>(sizeof(E)) + step}) {
        strided<E> A(static_cast<int64_t>(a.values.size()), 1, offset, a.values), x(a.n, v.incx, offset, x0);
        call(A.data(), x.data());
        EXPECT_TRUE(A.untouched() && x.guards_hold());
        const auto now = x.values();
        const auto& operand = solve ? now : x0;
        const auto& result = solve ? x0 : now;
        for (int64_t i = 0; i < a.n; ++i) {
            const auto u = static_cast<std::size_t>(i);
            auto exact = product_row(a, trans, i, E{1}, operand, E{}, E{});
            if (solve && is_complex<E>) exact.k += 5;
            if (solve && std::isnan(std::abs(exact.exact))) {
                // What depends on a NaN is NaN; the residual says nothing more.
                EXPECT_TRUE(v.nan);
                continue;
            }
            EXPECT_LE(exact.units(result[u]), limit<E>) << "row " << i;
        }
        EXPECT_TRUE(before.empty() || same_bits(now, before)) << "by address";
        before = now;
    }
}

template <class Report>
bool failed(Report report)
{
    if (!::testing::Test::HasFailure()) return false;
    ADD_FAILURE() << report();
    return true;
}

} // namespace vrn::test
