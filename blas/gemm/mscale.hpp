// blas/gemm/mscale.hpp - C := beta C ahead of a product. With beta zero C is written and not read.
// Four columns at a time, the last 0 to 3 one by one; in a column, blocks of 8 rows. The rest goes by vectors too:
// small products load what was just scaled, and a wide load behind narrow stores would wait for them.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::blas {

// Zeros as 32-bit stores: for a long single column one repeated store is shorter than an unrolled loop.
template <class T>
void zero_words(std::int64_t n, T* x)
{
    std::int64_t words = n * static_cast<std::int64_t>(sizeof(T) / 4);
    void* to = x;
    asm volatile("rep stosl" : "+D"(to), "+c"(words) : "a"(0) : "memory");
}

template <bool Zero, int Columns, class T>
void mscale_columns(std::int64_t m, T beta, T* c, std::int64_t ldc)
{
    using R = simd::real_of<T>;
    using V = simd::vec<R>;
    constexpr int per = simd::per_vec<T>;
    const simd::factor<T> f(beta);
    const auto vector = [&](T* at) {
        R* p = reinterpret_cast<R*>(at);
        (Zero ? V::zero() : f(V::loadu(p))).storeu(p);
    };
    std::int64_t i = 0;
    for (; i + 8 <= m; i += 8)
        for (int j = 0; j < Columns; ++j)
            for (int r = 0; r < 8; r += per) vector(c + i + r + j * ldc);
    for (; i + per <= m; i += per)
        for (int j = 0; j < Columns; ++j) vector(c + i + j * ldc);
    if constexpr (per == 4)
        if (i + 2 <= m) {
            for (int j = 0; j < Columns; ++j) {
                T* p = c + i + j * ldc;
                (Zero ? V::zero() : f(V::load2(p))).store2(p);
            }
            i += 2;
        }
    for (; i < m; ++i)
        for (int j = 0; j < Columns; ++j) {
            T& x = c[i + j * ldc];
            x = Zero ? T{} : f(x);
        }
}

template <class T>
void mscale(std::int64_t m, std::int64_t n, T beta, T* c, std::int64_t ldc)
{
    if (m < 1) return;
    const bool zero = beta == T{};
    for (; n >= 4; n -= 4, c += 4 * ldc)
        (zero ? mscale_columns<true, 4, T> : mscale_columns<false, 4, T>)(m, beta, c, ldc);
    for (; n > 0; --n, c += ldc) {
        if (zero && m > 12) zero_words(m, c);
        else (zero ? mscale_columns<true, 1, T> : mscale_columns<false, 1, T>)(m, beta, c, ldc);
    }
}

} // namespace vrn::blas
