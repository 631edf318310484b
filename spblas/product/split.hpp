// spblas/product/split.hpp - y := y + sum of the vectors that parts of a product left behind, each in its own array.
//
//     split_par       a chunk that every part has whole
//     split_syml_par  chunk first_part of a lower triangle: later parts reach down into it
//     split_symu_par  the chunk behind those of the parts, of an upper triangle; arrays begin behind their own chunks
//
// An element's parts are added one after the other onto a running sum, which starts at zero and meets y at the end.
// Called by name through the generated exports.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/number.hpp"

namespace vrn::spblas::product {

// From this length on four elements are taken at a time, with their sums in registers.
inline constexpr int several_from = 100;

// y[0..n) += the sum over parts from..to-1 of part[p][offset(p) + j].
template <class T, class F>
[[gnu::always_inline]] inline void add_parts(std::ptrdiff_t n, std::ptrdiff_t from, std::ptrdiff_t to,
                                             const T* const* part, F&& offset, T* y)
{
    std::ptrdiff_t j = 0;
    if (n >= several_from) {
        constexpr int V = 4 / per_vec<T>;
        using four = strip<const T, V>;
        for (; j + 4 <= n; j += 4) {
            auto sum = four::zero();
            for (std::ptrdiff_t p = from; p < to; ++p) sum = sum + four{part[p] + offset(p) + j, 0}.get(0);
            const strip<T, V> at{y + j, 0};
            at.put(0, at.get(0) + sum);
        }
    }
    for (; j < n; ++j) {
        T sum{};
        for (std::ptrdiff_t p = from; p < to; ++p) sum = sum + part[p][offset(p) + j];
        y[j] = y[j] + sum;
    }
}

template <class T, class I>
[[gnu::flatten]] void split_par(const I* parts, const I* n, const I* start, const void* /*unread*/,
                                const T* const* part_list, T* y)
{
    add_parts(
        *n, 0, *parts, part_list, [at = std::ptrdiff_t{*start}](std::ptrdiff_t) { return at; }, y);
}

template <class T, class I>
[[gnu::flatten]] void split_syml_par(const I* parts, const I* n, const I* first_part, const void* /*unread*/,
                                     const T* const* part_list, T* y)
{
    const std::ptrdiff_t at = std::ptrdiff_t{*n} * (*first_part - 1);
    add_parts(
        *n, *first_part, *parts, part_list, [at](std::ptrdiff_t) { return at; }, y);
}

template <class T, class I>
[[gnu::flatten]] void split_symu_par(const I* n, const I* stride, const I* parts, const void* /*unread*/,
                                     const T* const* part_list, T* y)
{
    const std::ptrdiff_t chunk = *stride, last = *parts - std::ptrdiff_t{1};
    add_parts(
        *n, 0, *parts, part_list, [=](std::ptrdiff_t p) { return (last - p) * chunk; }, y);
}

} // namespace vrn::spblas::product
