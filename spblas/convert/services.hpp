// spblas/convert/services.hpp - small services that the host and other kernels call by name: sorting the rows of a
// CSR matrix, tests and constants by address, copying a block of a matrix.
// Called by name through the generated exports, and by the conversions and products beside it.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"

#include <cstring>

namespace vrn::spblas::convert {

// Straight insertion carrying values along: stable, and one pass where the row is sorted. Far into a row the place is
// found by halving and made by moving blocks, since rows of a product have hundreds of columns in any order.
template <class T, class I>
void insertion_sort(I* ja, T* a, std::ptrdiff_t size)
{
    constexpr std::ptrdiff_t far = 32;
    for (std::ptrdiff_t k = 1; k < size; ++k) {
        if (ja[k] >= ja[k - 1]) continue;
        const I col = ja[k];
        const T value = a[k];
        std::ptrdiff_t to = k;
        if (k < far)
            for (; to > 0 && ja[to - 1] > col; --to) ja[to] = ja[to - 1], a[to] = a[to - 1];
        else {
            std::ptrdiff_t from = 0;
            while (from < to) {
                const std::ptrdiff_t middle = (from + to) / 2;
                if (ja[middle] > col) to = middle;
                else from = middle + 1;
            }
            const auto moved = static_cast<std::size_t>(k - to);
            std::memmove(ja + to + 1, ja + to, moved * sizeof(I));
            std::memmove(static_cast<void*>(a + to + 1), a + to, moved * sizeof(T));
        }
        ja[to] = col, a[to] = value;
    }
}

// Rows first..last by ascending column. Their bounds are one-based unless the range begins at row 1 and ia[0] is 0: a
// range that begins later takes ia for one-based in every case.
template <class T, class I>
void sortrow(const I* first, const I* last, const I* ia, I* ja, T* a)
{
    const I base = *first == 1 && ia[0] == 0 ? 0 : 1;
    for (I i = *first - 1; i < *last; ++i) insertion_sort(ja + (ia[i] - base), a + (ia[i] - base), ia[i + 1] - ia[i]);
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
