// spblas/csr/sm.hpp - C := inv(op(A))*C on a range of columns, A triangular in CSR with sorted rows;
// C := alpha*inv(op(A))*C where A is its diagonal alone. The index base is an argument here, not a letter.
//
//     lower, ops n s   forward, rows outermost, one accumulator a column in a workspace. Where it cannot be had
//                      column by column as sv.hpp does it: then with a division where the workspace path
//                      multiplies by the reciprocal, so that the two agree up to rounding.
//     upper, ops n s   backward, a sum in four parts for each column
//     ops t c          each row of C is finished, then scattered
//
// Rows of C go by strips of vectors, columns by four at a time. Called by name through the generated exports.
#pragma once

#include "frame/services.hpp"
#include "spblas/columns.hpp"
#include "spblas/csr/mm_rows.hpp"
#include "spblas/csr/solve.hpp"

namespace vrn::spblas::csr {

// The same operand over the accumulators: those of neighbouring columns are neighbours.
template <class T, int V>
strip<T, V> accumulators(const strip<T, V>&, T* acc)
{
    return {acc, 0};
}
template <class T, int N>
bundle<T, N> accumulators(const bundle<T, N>&, T* acc)
{
    return {acc, 1};
}
template <class Y, class T>
vector<T> accumulators(const Y&, T* acc)
{
    return {acc};
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sm_lower(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                              std::ptrdiff_t m, std::ptrdiff_t n, I base, T* c, std::ptrdiff_t ldc)
{
    constexpr bool conjugate = Shape.conjugates(), by_rows = Shape.by_rows();
    const blocks block(m, lower_block);
    auto* acc = static_cast<T*>(vrn_serv_allocate(static_cast<std::uint64_t>(n) * sizeof(T), 128));
    if (acc == nullptr) {
        for (std::ptrdiff_t j = from; j < to; ++j) {
            const column<T> y{c + (by_rows ? j : j * ldc), by_rows ? ldc : 1};
            for (std::ptrdiff_t b = 0; b < block.count; ++b)
                for (std::ptrdiff_t i = block.begin(b); i < block.end(b); ++i) {
                    const row<T, I> r = a[i];
                    const I self = static_cast<I>(i + base);
                    T sum{};
                    std::ptrdiff_t k = 0;
                    for (; k < r.size && r.indx[k] < self; ++k)
                        sum = sum + conj_if<conjugate>(r.val[k]) * y.get(r.indx[k]);
                    T left = y.get(self) - sum;
                    if constexpr (!Shape.unit()) left = left / conj_if<conjugate>(r.val[k]);
                    y.put(self, left);
                }
        }
        return;
    }
    for (std::ptrdiff_t b = 0; b < block.count; ++b)
        for (std::ptrdiff_t i = block.begin(b); i < block.end(b); ++i) {
            const row<T, I> r = a[i];
            const I self = static_cast<I>(i + base);
            const triangle_part p = part_of<Shape>(r, self);
            over_columns<by_rows, sum_strip>(from, to, c, ldc, [&](auto y, std::ptrdiff_t j) {
                auto sum = y.zero();
                for (std::ptrdiff_t k = p.begin; k < p.end; ++k) y.add(sum, conj_if<conjugate>(r.val[k]), r.indx[k]);
                accumulators(y, acc + j).put(0, sum);
            });
            T inv = unity<T>;
            if constexpr (!Shape.unit()) inv = inv / conj_if<conjugate>(r.val[p.diagonal]);
            over_columns<by_rows, sum_strip>(from, to, c, ldc, [&](auto y, std::ptrdiff_t j) {
                auto left = y.get(self) - accumulators(y, acc + j).get(0);
                if constexpr (!Shape.unit()) left = inv * left;
                y.put(self, left);
            });
        }
    vrn_serv_deallocate(acc);
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sm_upper(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                              std::ptrdiff_t m, I base, T* c, std::ptrdiff_t ldc)
{
    constexpr bool conjugate = Shape.conjugates();
    const blocks block(m, upper_block);
    for (std::ptrdiff_t b = block.count - 1; b >= 0; --b)
        for (std::ptrdiff_t i = block.end(b) - 1; i >= block.begin(b); --i) {
            const row<T, I> r = a[i];
            const I self = static_cast<I>(i + base);
            const triangle_part p = part_of<Shape>(r, self);
            T inv = unity<T>;
            if constexpr (!Shape.unit()) inv = inv / conj_if<conjugate>(r.val[p.diagonal]);
            // Four sums of two vectors fill half of the registers.
            over_columns<Shape.by_rows(), 2>(from, to, c, ldc, [&](auto y, std::ptrdiff_t) {
                auto add = [&](auto& sum, std::ptrdiff_t k) { y.add(sum, conj_if<conjugate>(r.val[k]), r.indx[k]); };
                auto s0 = y.zero(), s1 = y.zero(), s2 = y.zero(), s3 = y.zero();
                std::ptrdiff_t k = p.begin;
                for (; k + 4 <= p.end; k += 4) {
                    add(s0, k), add(s1, k + 1);
                    add(s2, k + 2), add(s3, k + 3);
                }
                auto sum = (s0 + s1) + (s2 + s3);
                for (; k < p.end; ++k) add(sum, k);
                auto left = y.get(self) - sum;
                if constexpr (!Shape.unit()) left = inv * left;
                y.put(self, left);
            });
        }
}

template <tag Shape, class T, class I>
[[gnu::always_inline]] inline void sm_scatter(const matrix<T, I>& a, std::ptrdiff_t i, std::ptrdiff_t from,
                                              std::ptrdiff_t to, I base, T* c, std::ptrdiff_t ldc)
{
    constexpr bool conjugate = Shape.conjugates();
    const row<T, I> r = a[i];
    const I self = static_cast<I>(i + base);
    const triangle_part p = part_of<Shape>(r, self);
    over_columns<Shape.by_rows(), row_strip>(from, to, c, ldc, [&](auto y, std::ptrdiff_t) {
        auto mine = y.get(self);
        if constexpr (!Shape.unit()) {
            mine = mine / conj_if<conjugate>(r.val[p.diagonal]);
            y.put(self, mine);
        }
        auto take = [&](std::ptrdiff_t k) {
            y.put(r.indx[k], y.get(r.indx[k]) - conj_if<conjugate>(r.val[k]) * mine);
        };
        if constexpr (Shape.lower())
            for (std::ptrdiff_t k = p.end - 1; k >= p.begin; --k) take(k);
        else
            for (std::ptrdiff_t k = p.begin; k < p.end; ++k) take(k);
    });
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sm_transposed(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                   std::ptrdiff_t m, I base, T* c, std::ptrdiff_t ldc)
{
    if constexpr (Shape.lower()) {
        for (std::ptrdiff_t i = m - 1; i >= 0; --i) sm_scatter<Shape>(a, i, from, to, base, c, ldc);
    } else {
        const blocks block(m, upper_block);
        for (std::ptrdiff_t b = 0; b < block.count; ++b)
            for (std::ptrdiff_t i = block.begin(b); i < block.end(b); ++i)
                sm_scatter<Shape>(a, i, from, to, base, c, ldc);
    }
}

template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void sm_diagonal(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                                 std::ptrdiff_t m, I base, T alpha, T* c, std::ptrdiff_t ldc)
{
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        const row<T, I> r = a[i];
        const I self = static_cast<I>(i + base);
        std::ptrdiff_t k = 0;
        while (k < r.size && r.indx[k] < self) ++k;
        const T t = alpha / conj_if<Shape.conjugates()>(r.val[k]);
        over_columns<Shape.by_rows(), 1>(from, to, c, ldc,
                                         [&](auto y, std::ptrdiff_t) { y.put(self, t * y.get(self)); });
    }
}

template <class T, class I, tag Tag>
void sm_par(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val, const I* indx,
            const I* pntrb, const I* pntre, T* c, const I* ldc, const I* base)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last, ld = *ldc;
    const matrix<T, I> a(val, indx, pntrb, pntre, *m > 0);
    c = based(c, *base, Tag.by_rows() ? ld : 1);
    if constexpr (Tag.is('d')) sm_diagonal<Tag>(a, from, to, *m, *base, *alpha, c, ld);
    else if constexpr (Tag.transposes()) sm_transposed<Tag>(a, from, to, *m, *base, c, ld);
    else if constexpr (Tag.lower()) sm_lower<Tag>(a, from, to, *m, *n, *base, c, ld);
    else sm_upper<Tag>(a, from, to, *m, *base, c, ld);
}

} // namespace vrn::spblas::csr
