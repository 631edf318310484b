// spblas/csr/rows.hpp - the rows of a CSR matrix, and what every kernel does before it walks them.
// Row i holds entries pntrb[i] - pntrb[0] .. pntre[i] - pntrb[0] - 1: the pointers' own base never matters, rows may
// lie anywhere and leave gaps. Row numbers here are zero-based; `base` is added where they meet column indices.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"
#include "spblas/tag.hpp"

#include <algorithm>
#include <cstring>

namespace vrn::spblas::csr {

// One row: entries 0 .. size-1.
template <class T, class I>
struct row {
    const T* val;
    const I* indx;
    std::ptrdiff_t size;
};

// How many entries ahead of a row a walk asks for values and indices. A processor's own prefetching ends with every
// page of them, 512 doubles; asked for that early, a matrix out of the caches is multiplied 1.2 to 1.4 times as fast.
inline constexpr std::ptrdiff_t entries_ahead = 512;
// From here on a row has so many lines that it is worth a loop, or a call, of its own.
inline constexpr std::ptrdiff_t long_row = 32;

// val and indx come shifted by pntrb[0], so that row pointers address them as they stand. By value into kernels:
// fields behind a reference are loaded anew for every row.
template <class T, class I>
struct matrix {
    const T* val;
    const I *indx, *pntrb, *pntre;

    matrix(const T* v, const I* j, const I* b, const I* e, bool any)
        : val(any ? based(v, b[0]) : v), indx(any ? based(j, b[0]) : j), pntrb(b), pntre(e)
    {
    }
    [[gnu::always_inline]] row<T, I> operator[](std::ptrdiff_t i) const
    {
        const std::ptrdiff_t begin = pntrb[i];
        return {val + begin, indx + begin, pntre[i] - begin};
    }
    // Row i of a walk over all rows, upward or, with Step -1, downward. What is asked for need not exist.
    template <int Step = 1>
    [[gnu::always_inline]] row<T, I> next(std::ptrdiff_t i) const
    {
        ask_ahead<Step>(pntrb[i], pntre[i]);
        return (*this)[i];
    }
    // For the entries begin..end-1, every line that a long row will want; of a short one a line each is enough, and a
    // loop would cost more than it brings.
    template <int Step = 1>
    [[gnu::always_inline]] void ask_ahead(std::ptrdiff_t begin) const
    {
        _mm_prefetch(ahead<Step>(val + begin), _MM_HINT_T0);
        _mm_prefetch(ahead<Step>(indx + begin), _MM_HINT_T0);
    }
    template <int Step = 1>
    [[gnu::always_inline]] void ask_ahead(std::ptrdiff_t begin, std::ptrdiff_t end) const
    {
        const char *v = ahead<Step>(val + begin), *j = ahead<Step>(indx + begin);
        _mm_prefetch(v, _MM_HINT_T0);
        _mm_prefetch(j, _MM_HINT_T0);
        if (const std::ptrdiff_t size = end - begin; size >= long_row) {
            for (std::ptrdiff_t o = 64; o < size * std::ptrdiff_t{sizeof(T)}; o += 64)
                _mm_prefetch(v + o, _MM_HINT_T0);
            for (std::ptrdiff_t o = 64; o < size * std::ptrdiff_t{sizeof(I)}; o += 64)
                _mm_prefetch(j + o, _MM_HINT_T0);
        }
    }

  private:
    template <int Step, class E>
    [[gnu::always_inline]] static const char* ahead(const E* p)
    {
        constexpr auto distance = static_cast<std::uintptr_t>(Step * entries_ahead * std::ptrdiff_t{sizeof(E)});
        return reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(p) + distance);
    }
};

// Bytes of a dense operand that rows from..to-1 reach over, `size` bytes for each of its rows: the mean stretch of
// the indices in sixteen rows. What stays within half of a second-level cache is met again there. Few rows reach
// nowhere.
inline constexpr std::ptrdiff_t near_bytes = 1 << 20;
template <class T, class I>
bool reaches_far(const matrix<T, I>& a, std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t size)
{
    constexpr std::ptrdiff_t samples = 16;
    if (to - from < samples * samples) return false;
    std::ptrdiff_t stretch = 0;
    for (std::ptrdiff_t s = 0; s < samples; ++s) {
        const row<T, I> r = a[from + (to - from) / samples * s];
        if (r.size < 1) continue;
        const auto [low, high] = std::minmax_element(r.indx, r.indx + r.size);
        stretch += *high - *low;
    }
    return stretch / samples * size > near_bytes;
}

// N neighbouring column indices. Two of 32 bits come in one load: three loads an entry are what bounds a row's sum
// that the caches hold.
template <class I, int N>
struct places {
    std::ptrdiff_t col[N];
    [[gnu::always_inline]] explicit places(const I* indx)
    {
        if constexpr (sizeof(I) == 4 && N % 2 == 0)
            simd::unroll<N / 2>([&](auto i) {
                std::int64_t two;
                std::memcpy(&two, indx + 2 * i, sizeof two);
                col[2 * i] = static_cast<std::int32_t>(two);
                col[2 * i + 1] = two >> 32;
            });
        else simd::unroll<N>([&](auto i) { col[i] = indx[i]; });
    }
};

// one(k) for k = 0..count-1 in that order, two(k) for k and k+1. What eight does not divide goes first, by a jump
// into the middle of a straight line: in rows of a few entries every instruction shows, and a loop would be a third
// of them.
template <class One, class Two>
[[gnu::always_inline]] inline void in_order(std::ptrdiff_t count, One&& one, Two&& two)
{
    std::ptrdiff_t k = count & 7;
    switch (k) {
    case 7:
        one(k - 7);
        [[fallthrough]];
    case 6:
        one(k - 6);
        [[fallthrough]];
    case 5:
        one(k - 5);
        [[fallthrough]];
    case 4:
        one(k - 4);
        [[fallthrough]];
    case 3:
        one(k - 3);
        [[fallthrough]];
    case 2:
        one(k - 2);
        [[fallthrough]];
    case 1:
        one(k - 1);
        [[fallthrough]];
    default:
        break;
    }
    for (; k < count; k += 8) simd::unroll<4>([&](auto j) __attribute__((always_inline)) { two(k + 2 * j); });
}

// Which entries of row `self` (in the base of the indices) lie in the wanted triangle, the diagonal apart.
template <bool Lower, class I>
bool inside(I col, I self)
{
    return Lower ? col < self : col > self;
}

// beta*y. With beta zero y is not read: 0*NaN would keep an old NaN alive.
template <class T, class Operand>
[[gnu::always_inline]] inline void scale(const Operand& y, std::ptrdiff_t from, std::ptrdiff_t to, T beta)
{
    if (beta == T{}) {
        if constexpr (std::is_same_v<Operand, vector<T>>) {
            if (from < to)
                std::memset(static_cast<void*>(y.p + from), 0, static_cast<std::size_t>(to - from) * sizeof(T));
        } else
            for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, Operand::zero());
    } else
        for (std::ptrdiff_t i = from; i < to; ++i) y.put(i, beta * y.get(i));
}

} // namespace vrn::spblas::csr
