// spblas/bsr/block.hpp - a small block times a few elements of x, with everything in registers.
//
// The LB*LB elements of a block are taken as they lie in memory, a vector at a time, whatever rows meet in it:
//
//     LB 3, by rows, double      m00 m01 | m02 m10 | m11 m12 | m20 m21 | m22     val, no lane is idle
//                                x0  x1    x2  x0    x1  x2    x0  x1    x2      what they are multiplied by
//                                row 0     0 and 1   row 1     row 2     row 2   the sum they go to
//
// Vectors whose lanes belong to the same rows share a sum, lanes are added up once a block row. The transposed block
// is the same memory read in the other layout. Used by gemv.hpp and mv.hpp.
#pragma once

#include "spblas/bsr/rows.hpp"

namespace vrn::spblas::bsr {

// How LB*LB elements fall into vectors of L, and which vectors share a sum.
template <int LB, int L, bool ByRows>
struct cut {
    static constexpr int size = LB * LB, vectors = size / L;
    static constexpr bool rest = size % L != 0; // then it is one element: odd squares are 1 modulo 8
    static constexpr int row(int f) { return ByRows ? f / LB : f % LB; }
    static constexpr int col(int f) { return ByRows ? f % LB : f / LB; }

    struct table {
        int sum[vectors]{}, first[vectors]{}, count = 0; // of a vector, of a sum
    };
    static constexpr table sums = [] {
        table t;
        for (int v = 0; v < vectors; ++v) {
            int s = 0;
            for (; s < t.count; ++s) {
                bool same = true;
                for (int e = 0; e < L; ++e) same = same && row(t.first[s] * L + e) == row(v * L + e);
                if (same) break;
            }
            if (s == t.count) t.first[t.count++] = v;
            t.sum[v] = s;
        }
        return t;
    }();
};

// Elements of x beside those of a block: at<columns>() is x[columns...], one vector. Nothing behind x[LB-1] is read.
template <class T, int LB>
struct beside;

template <int LB>
struct beside<double, LB> {
    const double* x;
    template <int A, int B>
    [[gnu::always_inline]] vec<double> at() const
    {
        if constexpr (B == A + 1) return vec<double>::loadu(x + A);
        else if constexpr (A == B) return vec<double>::all_at(x + A);
        else return {_mm_loadh_pd(_mm_load_sd(x + A), x + B)};
    }
};

template <int LB>
struct beside<float, LB> {
    const float* x;
    // Three elements as x0 x1 x1 x2, from two loads: a lone x2 would reach its lane by insertps, which waits for what
    // its register held before.
    vec<float> low = LB == 2 ? vec<float>::load2(x) : LB == 3 ? vec<float>::halves(x, x + 1) : vec<float>::loadu(x);
    vec<float> high = LB == 5 ? vec<float>::load1(x + 4) : LB == 6 ? vec<float>::load2(x + 4) : vec<float>::zero();
    static constexpr int lane(int col) { return LB == 3 && col == 2 ? 3 : col; }
    template <int A, int B, int C, int D>
    [[gnu::always_inline]] vec<float> at() const
    {
        return {__builtin_shufflevector(low.v, high.v, lane(A), lane(B), lane(C), lane(D))};
    }
};

// Real and imaginary parts of x apart, each twice, so that values meet them without a shuffle.
template <class R>
struct parts {
    vec<R> re, im;
};
template <int LB>
struct beside<cplx<double>, LB> {
    const cplx<double>* x;
    template <int A>
    [[gnu::always_inline]] parts<double> at() const
    {
        return {vec<double>::all_at(&x[A].re), vec<double>::all_at(&x[A].im)};
    }
};
template <int LB>
struct beside<cplx<float>, LB> {
    const cplx<float>* x;
    template <int A, int B>
    [[gnu::always_inline]] parts<float> at() const
    {
        const auto z = B == A + 1 ? vec<float>::loadu(&x[A].re) : vec<float>::halves(&x[A].re, &x[B].re);
        return {{_mm_moveldup_ps(z.v)}, {_mm_movehdup_ps(z.v)}};
    }
};

// A vector of sums. Complex ones are kept in two parts, values times real and times imaginary parts of x.
template <class T>
struct lanes {
    vec<T> sum = vec<T>::zero();
    [[gnu::always_inline]] void add(vec<T> v, vec<T> x) { sum = sum + v * x; }
    [[gnu::always_inline]] void add(const lanes& other) { sum = sum + other.sum; }
    [[gnu::always_inline]] vec<T> value() const { return sum; }
};
template <class R>
struct lanes<cplx<R>> {
    vec<R> by_re = vec<R>::zero(), by_im = vec<R>::zero();
    [[gnu::always_inline]] void add(vec<R> v, parts<R> x)
    {
        by_re = by_re + v * x.re;
        by_im = by_im + v * x.im;
    }
    [[gnu::always_inline]] void add(const lanes& other)
    {
        by_re = by_re + other.by_re;
        by_im = by_im + other.by_im;
    }
    [[gnu::always_inline]] vec<R> value() const { return add_sub(by_re, swap_parts(by_im)); }
};

// The sum of block*x over blocks, LB elements.
template <class T, int LB, bool ByRows>
struct block_sum {
    static constexpr int L = per_vec<T>;
    using shape = cut<LB, L, ByRows>;
    lanes<T> sum[shape::sums.count];
    T rest{};

    [[gnu::always_inline]] void add(const T* block, const T* x)
    {
        using R = real_of<T>;
        const beside<T, LB> b{x};
        simd::unroll<shape::vectors>([&](auto v) __attribute__((always_inline)) {
            constexpr int f = v * L;
            const auto m = vec<R>::loadu(reinterpret_cast<const R*>(block + f));
            auto& s = sum[shape::sums.sum[v]];
            if constexpr (L == 1) s.add(m, b.template at<shape::col(f)>());
            else if constexpr (L == 2) s.add(m, b.template at<shape::col(f), shape::col(f + 1)>());
            else s.add(m, b.template at<shape::col(f), shape::col(f + 1), shape::col(f + 2), shape::col(f + 3)>());
        });
        if constexpr (shape::rest) rest = rest + block[shape::size - 1] * x[LB - 1];
    }
    [[gnu::always_inline]] void add(const block_sum& other)
    {
        simd::unroll<shape::sums.count>([&](auto s) { sum[s].add(other.sum[s]); });
        if constexpr (shape::rest) rest = rest + other.rest;
    }
    // Onto y[0..LB), lane by lane in the order of memory.
    [[gnu::always_inline]] void fold(T* y) const
    {
        simd::unroll<shape::sums.count>([&](auto s) __attribute__((always_inline)) {
            constexpr int f = shape::sums.first[s] * L;
            const auto v = sum[s].value();
            if constexpr (is_complex<T>) {
                T e[L];
                v.storeu(&e[0].re);
                simd::unroll<L>([&](auto l) { y[shape::row(f + l)] = y[shape::row(f + l)] + e[l]; });
            } else simd::unroll<L>([&](auto l) { y[shape::row(f + l)] = y[shape::row(f + l)] + v.lane(l); });
        });
        if constexpr (shape::rest) y[LB - 1] = y[LB - 1] + rest;
    }
    // Registers that it takes.
    static constexpr int registers = (shape::sums.count + int{shape::rest}) * (is_complex<T> ? 2 : 1);
};

// y[0..lb) += M*x for a block of any side: sums along its rows, or columns added one after the other. The contiguous
// direction is the vectors'.
template <bool ByRows, class T>
[[gnu::noinline, gnu::flatten]] void add_any(const T* block, std::ptrdiff_t lb, const T* x, T* y)
{
    using R = real_of<T>;
    using V = vec<R>;
    constexpr int L = per_vec<T>;
    auto real = [](auto* p) {
        return reinterpret_cast<std::conditional_t<std::is_const_v<std::remove_pointer_t<decltype(p)>>, const R, R>*>(
            p);
    };
    if constexpr (ByRows) {
        for (std::ptrdiff_t r = 0; r < lb; ++r, block += lb) {
            lanes<T> s;
            std::ptrdiff_t c = 0;
            for (; c + L <= lb; c += L) {
                const auto m = V::loadu(real(block + c));
                if constexpr (!is_complex<T>) s.add(m, V::loadu(x + c));
                else if constexpr (L == 1) s.add(m, beside<T, 1>{x + c}.template at<0>());
                else s.add(m, beside<T, 2>{x + c}.template at<0, 1>());
            }
            T e[L], sum{};
            s.value().storeu(real(e));
            for (const T& one : e) sum = sum + one;
            for (; c < lb; ++c) sum = sum + block[c] * x[c];
            y[r] = y[r] + sum;
        }
    } else
        for (std::ptrdiff_t c = 0; c < lb; ++c, block += lb) {
            const factor<T> t(x[c]);
            std::ptrdiff_t r = 0;
            for (; r + L <= lb; r += L) (V::loadu(real(y + r)) + t(V::loadu(real(block + r)))).storeu(real(y + r));
            for (; r < lb; ++r) y[r] = y[r] + t(block[r]);
        }
}

// f<LB>() for a side that has a body of its own, else f<0>().
template <class F>
[[gnu::always_inline]] inline void by_side(std::ptrdiff_t lb, F&& f)
{
    switch (lb) {
    case 2:
        return f(std::integral_constant<int, 2>{});
    case 3:
        return f(std::integral_constant<int, 3>{});
    case 4:
        return f(std::integral_constant<int, 4>{});
    case 5:
        return f(std::integral_constant<int, 5>{});
    case 6:
        return f(std::integral_constant<int, 6>{});
    default:
        return f(std::integral_constant<int, 0>{});
    }
}

} // namespace vrn::spblas::bsr
