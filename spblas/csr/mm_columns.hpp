// spblas/csr/mm_columns.hpp - C := beta*C + alpha*op(A)*B with B and C by columns, on a range of columns.
//
//     general      a sum for each element, in one of three nests that an estimate of the cached data picks
//     triangular   rows outermost: the sum over the whole row, then what lies outside the triangle is taken back
//     others       column by column as matrix times vector (two_sided.hpp, scatter.hpp)
//
// Called by mm.hpp.
#pragma once

#include "spblas/csr/scatter.hpp"
#include "spblas/csr/two_sided.hpp"

namespace vrn::spblas::csr {

// Bytes that a product moves, p an entry and q an element of the dense operands, roughly. c counts as d: the estimate
// knows sizes alone.
struct traffic {
    int p, q;
};
template <class T>
inline constexpr traffic moved = sizeof(T) == 4   ? traffic{12, 8}
                                 : sizeof(T) == 8 ? traffic{12, 20}
                                                  : traffic{20, 36};
inline constexpr double cache_budget = 17000000; // bytes

enum class nest { columns_outer, rows_outer, blocked };

struct column_plan {
    nest order;
    std::ptrdiff_t rows, count; // blocks, and rows in each but the last

    // `last_end` is pntre[m-1]. One is taken from it whatever the base of the pointers, so that zero-based matrices
    // count an entry less; the same plan is then found whichever way a caller numbers.
    template <class T, class I>
    static column_plan of(I m, I n, std::ptrdiff_t ncols, I last_end)
    {
        constexpr auto p = static_cast<double>(moved<T>.p), q = static_cast<double>(moved<T>.q);
        const auto dm = static_cast<double>(m), dn = static_cast<double>(n);
        const double avg = static_cast<double>(static_cast<float>(last_end - 1) / static_cast<float>(m));
        const double footprint = (q * avg + p * dn) * dm;
        const float ratio =
            static_cast<float>(q * dm * static_cast<double>(ncols)) / static_cast<float>(std::trunc(p * dm * avg));
        double rows = cache_budget / (p * avg + q * dn) * 0.25;
        rows = rows < 1 ? 1 : rows > dm ? dm : rows;
        column_plan plan{nest::blocked, static_cast<std::ptrdiff_t>(rows), 1};
        const std::ptrdiff_t count = m / plan.rows;
        plan.count = static_cast<std::ptrdiff_t>(static_cast<float>(count < 1 ? 1 : count));
        if (cache_budget > footprint) plan.order = nest::columns_outer;
        else if (ratio < 0.5f) plan.order = nest::rows_outer;
        return plan;
    }
};

// Elements of rows from..to-1 in N columns. More than one share the loads of the entries; each is the same sum as
// alone.
template <int N, bool Conjugate, class T, class I>
[[gnu::always_inline]] inline void mm_columns_of(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                 I base, T alpha, const T* x, std::ptrdiff_t ldb, T* y,
                                                 std::ptrdiff_t ldc, T beta, bool far = false)
{
    for (std::ptrdiff_t i = from; i < to; ++i) {
        if (far && i + 1 < to) {
            const row<T, I> r = a[i + 1];
            for (std::ptrdiff_t k = 0; k < r.size; ++k)
                _mm_prefetch(reinterpret_cast<const char*>(x + r.indx[k]), _MM_HINT_T0);
        }
        const auto sums = dots<column_row<T>, N>(a.next(i), x, ldb, as_stored<Conjugate>{});
        simd::unroll<N>([&](auto j) {
            T& element = y[i + base + j * ldc];
            element = beta == T{} ? alpha * sums.e[j] : beta * element + alpha * sums.e[j];
        });
    }
}

template <bool Conjugate, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm_columns_general(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, I m,
                                                        I n, I base, T alpha, const T* b, std::ptrdiff_t ldb, T* c,
                                                        std::ptrdiff_t ldc, T beta)
{
    if (m < 1) return;
    const column_plan plan = column_plan::of<T>(m, n, to - from, a.pntre[m - 1]);
    if (plan.order != nest::rows_outer) {
        const bool blocked = plan.order == nest::blocked;
        const std::ptrdiff_t count = blocked ? plan.count : 1;
        const bool far = reaches_far(a, 0, m, 4 * std::ptrdiff_t{sizeof(T)});
        for (std::ptrdiff_t block = 0; block < count; ++block) {
            const std::ptrdiff_t begin = block * plan.rows;
            const std::ptrdiff_t end = block + 1 == count ? m : begin + plan.rows;
            std::ptrdiff_t j = from;
            // Four columns share the loads of the entries. Where a row's columns are far apart, one column of B may
            // fit the cache and four not: that costs more than it saves.
            if (!far)
                for (; j + 4 <= to; j += 4)
                    mm_columns_of<4, Conjugate>(a, begin, end, base, alpha, b + j * ldb, ldb, c + j * ldc, ldc, beta);
            for (; j < to; ++j)
                mm_columns_of<1, Conjugate>(a, begin, end, base, alpha, b + j * ldb, ldb, c + j * ldc, ldc, beta,
                                            far);
        }
        return;
    }
    // The row's values and columns stay at hand for all of the range. With beta zero the sums are added into cleared
    // columns, and alpha multiplies at the end.
    const bool clears = beta == T{};
    if (clears)
        for (std::ptrdiff_t j = from; j < to; ++j) scale(vector<T>{c + j * ldc}, base, base + m, beta);
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        auto element = [&](std::ptrdiff_t j, T sum) {
            T& y = c[i + base + j * ldc];
            y = clears ? y + sum : beta * y + alpha * sum;
        };
        std::ptrdiff_t j = from;
        for (; j + 1 < to; j += 2) {
            const auto sums = dots<column_row<T>, 2>(r, b + j * ldb, ldb, as_stored<Conjugate>{});
            element(j, sums.e[0]);
            element(j + 1, sums.e[1]);
        }
        if (j < to) element(j, dot<column_row<T>>(r, b + j * ldb, as_stored<Conjugate>{}));
    }
    if (clears)
        for (std::ptrdiff_t j = from; j < to; ++j)
            for (std::ptrdiff_t i = 0; i < m; ++i) c[i + base + j * ldc] = alpha * c[i + base + j * ldc];
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void mm_columns_masked(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                       std::ptrdiff_t m, I base, T alpha, const T* b,
                                                       std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, T beta)
{
    constexpr bool conjugate = Shape.conjugates();
    const times_alpha<T, conjugate> scaled{factor<T>(alpha)};
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        const I self = static_cast<I>(i + base);
        auto foreign_sum = [&](auto x) {
            auto outside = decltype(x)::zero();
            for (std::ptrdiff_t k = 0; k < r.size; ++k)
                if (inside<!Shape.lower()>(r.indx[k], self) || (Shape.unit() && r.indx[k] == self))
                    outside = outside + (alpha * conj_if<conjugate>(r.val[k])) * x.get(r.indx[k]);
            return outside;
        };
        auto finish = [&](std::ptrdiff_t j, T outside) {
            T& y = c[self + j * ldc];
            y = y - outside;
            if constexpr (Shape.unit()) y = y + alpha * b[self + j * ldb];
        };
        for (std::ptrdiff_t j = from; j < to; ++j) {
            T& y = c[self + j * ldc];
            y = (beta == T{} ? T{} : beta * y) + dot<masked_row<T>>(r, b + j * ldb, scaled);
        }
        std::ptrdiff_t j = from;
        for (; j + 1 < to; j += 2) {
            const auto outside = foreign_sum(bundle<const T, 2>{b + j * ldb, ldb});
            finish(j, outside.e[0]);
            finish(j + 1, outside.e[1]);
        }
        if (j < to) finish(j, foreign_sum(vector<const T>{b + j * ldb}));
    }
}

// Scatter kernels and two-sided ones. `rows` are C's.
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void
mm_columns_scattered(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t m, std::ptrdiff_t rows,
                     I base, T alpha, const T* b, std::ptrdiff_t ldb, T* c, std::ptrdiff_t ldc, T beta)
{
    for (std::ptrdiff_t j = from; j < to; ++j) {
        const T* x = b + j * ldb;
        T* y = c + j * ldc;
        if constexpr (Shape.two_sided()) {
            scale_before<Shape>(0, m, rows, base, y, beta);
            two_sided<Shape>(a, 0, m, base, alpha, x, y, beta);
        } else {
            scale(vector<T>{y}, base, base + rows, beta);
            scatter<Shape>(a, 0, m, base, alpha, vector<const T>{x}, vector<T>{y});
        }
    }
}

} // namespace vrn::spblas::csr
