// spblas/convert/services.hpp - small services that the host and other kernels call by name: sorting the rows of a
// CSR matrix, tests and constants by address, copying a block of a matrix.
// Called by name through the generated exports, and by the conversions and products beside it.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"

#include <algorithm>
#include <cstring>

namespace vrn::spblas::convert {

// Straight insertion carrying values along: stable, and one pass where the row is sorted.
template <class T, class I>
void insertion_sort(I* ja, T* a, std::ptrdiff_t size)
{
    for (std::ptrdiff_t k = 1; k < size; ++k) {
        if (ja[k] >= ja[k - 1]) continue;
        const I col = ja[k];
        const T value = a[k];
        std::ptrdiff_t to = k;
        for (; to > 0 && ja[to - 1] > col; --to) ja[to] = ja[to - 1], a[to] = a[to - 1];
        ja[to] = col, a[to] = value;
    }
}

// Merges the sorted runs 0..middle-1 and middle..size-1 in place, stable. A first run that the buffer holds is moved
// there and merged back; a longer one is cut, and the parts between the cuts are exchanged.
template <class T, class I>
void merge_runs(I* ja, T* a, std::ptrdiff_t middle, std::ptrdiff_t size)
{
    constexpr std::ptrdiff_t held = 256; // 6 KB of the stack at most, and the half of a product's usual rows
    auto in_order = [&] { return middle < 1 || middle >= size || ja[middle - 1] <= ja[middle]; };
    while (!in_order() && middle > held) {
        const std::ptrdiff_t cut = middle / 2, from = std::lower_bound(ja + middle, ja + size, ja[cut]) - ja;
        std::rotate(ja + cut, ja + middle, ja + from);
        std::rotate(a + cut, a + middle, a + from);
        const std::ptrdiff_t lower = cut + (from - middle);
        merge_runs(ja, a, cut, lower);
        ja += lower, a += lower, size -= lower, middle -= cut;
    }
    if (in_order()) return;
    I cols[held];
    alignas(T) unsigned char bytes[held * sizeof(T)];
    T* const values = reinterpret_cast<T*>(bytes);
    std::memcpy(cols, ja, static_cast<std::size_t>(middle) * sizeof(I));
    std::memcpy(bytes, a, static_cast<std::size_t>(middle) * sizeof(T));
    // Which run comes next is chance: a step has no branch on it.
    std::ptrdiff_t i = 0, j = middle, to = 0;
    for (; i < middle && j < size; ++to) {
        const bool second = ja[j] < cols[i];
        ja[to] = second ? ja[j] : cols[i];
        a[to] = *(second ? a + j : values + i);
        j += second, i += !second;
    }
    std::memcpy(ja + to, cols + i, static_cast<std::size_t>(middle - i) * sizeof(I));
    std::memcpy(static_cast<void*>(a + to), values + i, static_cast<std::size_t>(middle - i) * sizeof(T));
}

// By ascending column, values carried along, stable: insertion for few, merged halves for the rows of a product,
// which have hundreds of columns in any order.
template <class T, class I>
void sort_entries(I* ja, T* a, std::ptrdiff_t size)
{
    if (size <= 24) return insertion_sort(ja, a, size);
    const std::ptrdiff_t half = size / 2;
    sort_entries(ja, a, half);
    sort_entries(ja + half, a + half, size - half);
    merge_runs(ja, a, half, size);
}

// Rows first..last by ascending column. Their bounds are one-based unless the range begins at row 1 and ia[0] is 0: a
// range that begins later takes ia for one-based in every case.
template <class T, class I>
void sortrow(const I* first, const I* last, const I* ia, I* ja, T* a)
{
    const I base = *first == 1 && ia[0] == 0 ? 0 : 1;
    for (I i = *first - 1; i < *last; ++i) sort_entries(ja + (ia[i] - base), a + (ia[i] - base), ia[i + 1] - ia[i]);
}

template <class T, class I>
void zerocheck(const T* x, I* flag)
{
    *flag = *x == T{} ? 0 : 1;
}

template <class T, class I>
void ones(T* x)
{
    *x = unity<T>;
}

template <class T, class I>
void neones(T* x)
{
    *x = -*x;
}

template <class T>
void clear(T* x, std::ptrdiff_t n)
{
    if (n > 0) std::memset(static_cast<void*>(x), 0, static_cast<std::size_t>(n) * sizeof(T));
}

// A scale of zero clears and does not read: what stands in `from` may be no number. One copies.
template <class T, class I>
void matcopy(const I* m, const I* n, const T* scale, const T* from, const I* ldfrom, T* to, const I* ldto)
{
    const T s = *scale;
    for (I j = 0; j < *n; ++j) {
        const T* x = from + std::ptrdiff_t{j} * *ldfrom;
        T* y = to + std::ptrdiff_t{j} * *ldto;
        if (s == T{}) clear(y, *m);
        else if (s == unity<T>)
            std::memmove(static_cast<void*>(y), x, *m > 0 ? static_cast<std::size_t>(*m) * sizeof(T) : 0);
        else
            for (I i = 0; i < *m; ++i) y[i] = s * x[i];
    }
}

} // namespace vrn::spblas::convert
