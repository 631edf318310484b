// spblas/bsr/mv.hpp - y := y + alpha*A*x on a range of block rows, A symmetric and one triangle stored.
//
//     block inside the triangle    y_i += alpha*M*x_j,  y_j += transpose(M)*(alpha*x_i)
//     diagonal block               symmetric too: its own triangle stands for both
//     other blocks                 passed over
//
// It writes y outside the range: a caller that splits it gives each part a y of its own. Sides 2 to 6 have own
// bodies. Called by name through the generated exports.
#pragma once

#include "spblas/bsr/block.hpp"

namespace vrn::spblas::bsr {

// y_i += alpha*D*x_i, element (r, s) with r >= s at r*far + s*near.
template <class T>
[[gnu::noinline]] void add_diagonal(const T* block, std::ptrdiff_t lb, std::ptrdiff_t far, std::ptrdiff_t near,
                                    T alpha, const T* x, T* y)
{
    for (std::ptrdiff_t r = 0; r < lb; ++r) {
        T sum{};
        for (std::ptrdiff_t s = 0; s < lb; ++s)
            sum = sum + block[r > s ? r * far + s * near : s * far + r * near] * x[s];
        y[r] = y[r] + alpha * sum;
    }
}

// `sense` is 1 for the lower triangle and -1 for the upper one: a number, so that both share a body.
template <int LB, bool ByRows, class T, class I>
[[gnu::noinline, gnu::flatten]] void mv_body(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to,
                                             std::ptrdiff_t sense, T alpha, const T* x, T* y)
{
    const std::ptrdiff_t lb = LB > 0 ? LB : a.lb, far = ByRows == (sense > 0) ? lb : 1, near = lb + 1 - far;
    // What y_i gets is added at the row's end, and alpha*x_i formed at its beginning.
    T* const t = static_cast<T*>(__builtin_alloca(2 * static_cast<std::size_t>(lb) * sizeof(T)));
    T* const sum = t + lb;
    for (std::ptrdiff_t i = from; i < to; ++i) {
        [[maybe_unused]] block_sum<T, LB == 0 ? 2 : LB, ByRows> own;
        for (std::ptrdiff_t r = 0; r < lb; ++r) t[r] = alpha * x[i * lb + r], sum[r] = T{};
        for (std::ptrdiff_t k = a.begin(i); k < a.end(i); ++k) {
            const std::ptrdiff_t j = a.col(k), place = sense * (i - j);
            const T* block = a.val + k * lb * lb;
            if (place > 0) {
                if constexpr (LB == 0) {
                    add_any<ByRows>(block, lb, x + j * lb, sum);
                    add_any<!ByRows>(block, lb, t, y + j * lb);
                } else {
                    own.add(block, x + j * lb);
                    block_sum<T, LB, !ByRows> mirrored;
                    mirrored.add(block, t);
                    mirrored.fold(y + j * lb);
                }
            } else if (place == 0) add_diagonal(block, lb, far, near, alpha, x + i * lb, y + i * lb);
        }
        if constexpr (LB > 0) own.fold(sum);
        for (std::ptrdiff_t r = 0; r < lb; ++r) y[i * lb + r] = y[i * lb + r] + alpha * sum[r];
    }
}

template <class T, class I, tag Tag>
void mv_par(const I* first, const I* last, const void* /*unread*/, const I* lb, const T* alpha, const T* val,
            const I* indx, const I* pntrb, const I* pntre, const T* x, T* y)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last;
    const matrix<T, I> a(val, indx, pntrb, pntre, Tag.base, *lb, from < to);
    by_side(*lb, [&](auto side) {
        mv_body<side, Tag.by_rows()>(a, from, to, std::ptrdiff_t{Tag.lower() ? 1 : -1}, *alpha, x, y);
    });
}

} // namespace vrn::spblas::bsr
