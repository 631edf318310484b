// spblas/coo/scratch.hpp - W := W + alpha*A*B, A one-based COO, B by columns, in scratch that the caller gives.
// B is transposed into work1, so that an entry moves whole rows; work2, prepared by the caller, collects the product
// by rows, and comes back by columns in work1, with leading dimension max(m, n). Nothing is allocated. Called by the
// one name of each type.
#pragma once

#include "spblas/coo/entries.hpp"

namespace vrn::spblas::coo {

// Rows of W elements, held whole: vectors and what is left, where strips would walk the entries again.
template <class T, int W>
struct held {
    static constexpr int step = per_vec<T>, vectors = W / step, rest = W % step, begin = W - rest;
    vec<real_of<T>> v[vectors > 0 ? vectors : 1];
    T e[rest > 0 ? rest : 1];
};
template <class E, int W>
struct line {
    using element = std::remove_const_t<E>;
    using value = held<element, W>;
    using real = real_of<element>;
    E* p;
    std::ptrdiff_t stride;

    [[gnu::always_inline]] auto part(std::ptrdiff_t i, int k) const
    {
        using R = std::conditional_t<std::is_const_v<E>, const real, real>;
        return reinterpret_cast<R*>(p + i * stride + k * value::step);
    }
    [[gnu::always_inline]] value get(std::ptrdiff_t i) const
    {
        value x;
        simd::unroll<value::vectors>([&](auto k) { x.v[k] = vec<real>::loadu(part(i, k)); });
        simd::unroll<value::rest>([&](auto k) { x.e[k] = p[i * stride + value::begin + k]; });
        return x;
    }
    [[gnu::always_inline]] void put(std::ptrdiff_t i, const value& x) const
    {
        simd::unroll<value::vectors>([&](auto k) { x.v[k].storeu(part(i, k)); });
        simd::unroll<value::rest>([&](auto k) { p[i * stride + value::begin + k] = x.e[k]; });
    }
    [[gnu::always_inline]] void add(value& sum, element t, std::ptrdiff_t i) const
    {
        const factor<element> f(t);
        simd::unroll<value::vectors>([&](auto k) { sum.v[k] = sum.v[k] + f(vec<real>::loadu(part(i, k))); });
        simd::unroll<value::rest>([&](auto k) { sum.e[k] = sum.e[k] + t * p[i * stride + value::begin + k]; });
    }
};

template <int W, tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void add_lines(entries<T, I> a, T alpha, const T* b, T* c, std::ptrdiff_t ld)
{
    add_entries<Shape>(a, alpha, in_registers<line<const T, W>, line<T, W>>{{b, ld}, {c, ld}});
}
template <tag Shape, class T, class I>
[[gnu::noinline, gnu::flatten]] void add_any(entries<T, I> a, std::ptrdiff_t width, T alpha, const T* b, T* c,
                                             std::ptrdiff_t ld)
{
    add_entries<Shape>(a, alpha, in_memory<T>{b, ld, c, ld, width});
}

// `last` is the width of the transpositions as well, so that first is expected to be 1. Rows of B beyond A's columns
// meet no entry and are not read.
template <class T, class I, tag Tag>
void mm_scratch(const I* first, const I* last, const I* m, const I* n, const T* alpha, const T* val, const I* rowind,
                const I* colind, const I* nnz, const T* b, const I* ldb, const void* /*unread*/,
                const void* /*unread2*/, T* work1, T* work2)
{
    const std::ptrdiff_t from = *first - std::ptrdiff_t{1}, ld = *last, width = ld - from, lb = *ldb;
    const std::ptrdiff_t rows = *m > *n ? *m : *n;
    for (std::ptrdiff_t i = 0; i < *n; ++i)
        for (std::ptrdiff_t j = 0; j < ld; ++j) work1[i * ld + j] = b[i + j * lb];

    const entries<T, I> a{val, rowind, colind, 0, *nnz};
    const T* x = based(work1 + from, Tag.base, ld);
    T* y = based(work2 + from, Tag.base, ld);
    switch (width) { // those that fit the registers
    case 2:
        add_lines<2, Tag>(a, *alpha, x, y, ld);
        break;
    case 4:
        add_lines<4, Tag>(a, *alpha, x, y, ld);
        break;
    case 6:
        add_lines<6, Tag>(a, *alpha, x, y, ld);
        break;
    case 8:
        add_lines<8, Tag>(a, *alpha, x, y, ld);
        break;
    case 9:
        add_lines<9, Tag>(a, *alpha, x, y, ld);
        break;
    case 10:
        add_lines<10, Tag>(a, *alpha, x, y, ld);
        break;
    default:
        add_any<Tag>(a, width, *alpha, x, y, ld);
    }
    for (std::ptrdiff_t j = 0; j < ld; ++j)
        for (std::ptrdiff_t i = 0; i < rows; ++i) work1[i + j * rows] = work2[i * ld + j];
}

} // namespace vrn::spblas::coo
