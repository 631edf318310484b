// spblas/columns.hpp - the columns of a dense operand, a few at a time, and blocks of rows.
// Kernels on many columns are written once, over the operands of number.hpp; what stands here hands those out: strips
// of vectors by rows, four columns at once by columns, single columns for what is left.
#pragma once

#include "spblas/number.hpp"

namespace vrn::spblas {

// f(y, j) over the columns from..to-1 of C, y an operand that begins at column j.
template <bool ByRows, int Strip, class T, class F>
[[gnu::always_inline]] inline void over_columns(std::ptrdiff_t from, std::ptrdiff_t to, T* c, std::ptrdiff_t ldc,
                                                F&& f)
{
    std::ptrdiff_t j = from;
    if constexpr (ByRows) {
        constexpr int step = per_vec<T>;
        for (; j + Strip * step <= to; j += Strip * step) f(strip<T, Strip>{c + j, ldc}, j);
        for (; j + step <= to; j += step) f(strip<T, 1>{c + j, ldc}, j);
        if constexpr (step > 1)
            for (; j < to; ++j) f(column<T>{c + j, ldc}, j);
    } else {
        for (; j + 4 <= to; j += 4) f(bundle<T, 4>{c + j * ldc, ldc}, j);
        for (; j < to; ++j) f(vector<T>{c + j * ldc}, j);
    }
}

// The same columns of another matrix, to be read: b is where the first of them begins.
template <class T, int V>
strip<const T, V> alongside(const strip<T, V>&, const T* b, std::ptrdiff_t ldb)
{
    return {b, ldb};
}
template <class T, int N>
bundle<const T, N> alongside(const bundle<T, N>&, const T* b, std::ptrdiff_t ldb)
{
    return {b, ldb};
}
template <class T>
column<const T> alongside(const column<T>&, const T* b, std::ptrdiff_t ldb)
{
    return {b, ldb};
}
template <class T>
vector<const T> alongside(const vector<T>&, const T* b, std::ptrdiff_t)
{
    return {b};
}

// Blocks of rows: `size` each, and the last runs to the end, so that it may hold almost twice as many.
struct blocks {
    std::ptrdiff_t rows, size, count;
    blocks(std::ptrdiff_t m, std::ptrdiff_t limit) : rows(m), size(m < limit ? m : limit), count(m > 0 ? m / size : 0)
    {
    }
    std::ptrdiff_t begin(std::ptrdiff_t b) const { return b * size; }
    std::ptrdiff_t end(std::ptrdiff_t b) const { return b + 1 == count ? rows : (b + 1) * size; }
};

} // namespace vrn::spblas
