// spblas/bsr/gemv.hpp - y := A*x on a range of block rows, no scalars: y is written, not added to.
// Sides 2 to 6 have bodies with all sums in registers and two blocks a trip: even and odd blocks of a row are summed
// apart where the registers suffice, and added at its end. Other sides go block by block into y.
// Called by name through the generated exports.
#pragma once

#include "spblas/bsr/block.hpp"

namespace vrn::spblas::bsr {

// Rows of four quarters of the range in turn. Blocks are one stream of values, and one stream does not draw all that
// memory gives: four do a seventh better. Rows do not meet, so that no bit changes.
template <class F>
[[gnu::always_inline]] inline void in_quarters(std::ptrdiff_t from, std::ptrdiff_t to, F&& f)
{
    const std::ptrdiff_t quarter = (to - from + 3) / 4;
    for (std::ptrdiff_t first = from; first < from + quarter; ++first)
        for (std::ptrdiff_t i = first; i < to; i += quarter) f(i);
}

template <int LB, bool ByRows, class T, class I>
[[gnu::noinline, gnu::flatten]] void gemv_body(matrix<T, I> a, std::ptrdiff_t from, std::ptrdiff_t to, const T* x,
                                               T* y)
{
    using sums = block_sum<T, LB, ByRows>;
    // Ten sums leave six registers for what is multiplied.
    constexpr int sets = 2 * sums::registers <= 10 ? 2 : 1;
    in_quarters(
        from, to, [&](std::ptrdiff_t i) __attribute__((always_inline)) {
            sums s[sets];
            std::ptrdiff_t k = a.begin(i);
            const std::ptrdiff_t end = a.end(i);
            const T* block = a.val + k * (LB * LB);
            for (; k + 1 < end; k += 2, block += 2 * LB * LB) {
                s[0].add(block, x + a.col(k) * LB);
                s[sets - 1].add(block + LB * LB, x + a.col(k + 1) * LB);
            }
            if (k < end) s[0].add(block, x + a.col(k) * LB);
            if constexpr (sets == 2) s[0].add(s[1]);
            T sum[LB]{};
            s[0].fold(sum);
            simd::unroll<LB>([&](auto r) { y[i * LB + r] = sum[r]; });
        });
}

template <bool ByRows, class T, class I>
void gemv_any(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to, const T* x, T* y)
{
    for (std::ptrdiff_t i = from; i < to; ++i) {
        for (std::ptrdiff_t r = 0; r < a.lb; ++r) y[i * a.lb + r] = T{};
        for (std::ptrdiff_t k = a.begin(i); k < a.end(i); ++k)
            add_any<ByRows>(a.block(k), a.lb, x + a.col(k) * a.lb, y + i * a.lb);
    }
}

template <class T, class I, tag Tag>
void gemv_par(const I* first, const I* last, const void* /*unread*/, const I* lb, const void* /*unread2*/,
              const T* val, const I* indx, const I* ia, const void* /*unread3*/, const T* x, T* y)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, to = *last;
    const matrix<T, I> a(val, indx, ia, ia + 1, Tag.base, *lb, from < to);
    by_side(*lb, [&](auto side) {
        if constexpr (side == 0) gemv_any<Tag.by_rows()>(a, from, to, x, y);
        else gemv_body<side, Tag.by_rows()>(a, from, to, x, y);
    });
}

} // namespace vrn::spblas::bsr
