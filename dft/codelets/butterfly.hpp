// dft/codelets/butterfly.hpp - transforms of N complex values in registers, as radix algebra.
//
//     x[k] := sum over j of x[j] exp(-2 pi i j k / N)
//
// 2 and 4 directly; odd primes by pairs x[j] +- x[N-j], 3 and 5 with the products shared; N = A B with coprime A and
// B without twiddles (Good 1958, Thomas 1963); powers of a prime by Cooley and Tukey (1965). Every index and root is
// a compile-time constant and the code is straight-line but for primes above 13. Direction is the value type's.
// Constants are the nearest ones.
#pragma once

#include "dft/codelets/prime.hpp"

namespace vrn::dft {

template <int N, class C>
VRN_INLINE void butterfly(C (&x)[N]);

// Longer primes run as a loop: their products number (N-1)^2 / 2.
inline constexpr int longest_unrolled_prime = 13;

namespace detail {

template <std::int64_t K, std::int64_t N>
inline constexpr root root_of = constant_root(K, N);

constexpr int smallest_prime(int n)
{
    for (int p = 2; p * p <= n; ++p)
        if (n % p == 0) return p;
    return n;
}
constexpr bool is_prime(int n) { return smallest_prime(n) == n; }
// The part of n that is a power of its smallest prime.
constexpr int prime_power(int n)
{
    int q = 1;
    for (const int p = smallest_prime(n); n % p == 0; n /= p) q *= p;
    return q;
}
// The coprime factor that goes first: all but the last power of a prime, so that both fit the registers. 30 is 6
// by 5.
constexpr int coprime_factor(int n)
{
    const int q = prime_power(n), rest = n / q;
    return rest == prime_power(rest) ? q : q * coprime_factor(rest);
}
// b with a b = 1 mod n
constexpr int inverse(int a, int n)
{
    for (int b = 1; b < n; ++b)
        if (a * b % n == 1) return b;
    return 0;
}
// Rows of a power of a prime: 4 by m for 2^k, p by m else.
constexpr int rows_of(int n) { return n % 4 == 0 ? (n == 8 ? 2 : n == 64 || n == 128 ? 8 : 4) : smallest_prime(n); }

// x exp(-2 pi i K / N), the easy ones without products of all four parts.
template <int K, int N, class C>
VRN_INLINE C rotate(C x)
{
    constexpr int k = K % N;
    if constexpr (k == 0) return x;
    else if constexpr (4 * k == N) return minus_i(x);
    else if constexpr (8 * k == N) return root_of<1, 8>.cos * turn(x, x).minus;
    else if constexpr (8 * k == 3 * N) return -root_of<1, 8>.cos * turn(x, x).plus;
    else return times(x, root_of<k, N>);
}

template <class C>
VRN_INLINE void butterfly3(C (&x)[3])
{
    const C s = x[1] + x[2], d = root_of<1, 3>.sin * (x[1] - x[2]), m = x[0] - 0.5 * s;
    x[0] = x[0] + s;
    const auto [minus, plus] = turn(m, d);
    x[1] = minus, x[2] = plus;
}

template <class C>
VRN_INLINE void butterfly4(C (&x)[4])
{
    const C a = x[0] + x[2], b = x[0] - x[2], c = x[1] + x[3], d = x[1] - x[3];
    x[0] = a + c, x[2] = a - c;
    const auto [minus, plus] = turn(b, d);
    x[1] = minus, x[3] = plus;
}

// The same of x[0], w x[1], w^2 x[2], w^3 x[3] with w an eighth of a turn: with s = x[1] + x[3] and t = x[1] - x[3]
// the rotated pair is t -+ i s over the root of 2, so that w^2 and w^3 cost nothing of their own.
template <int N, class C>
VRN_INLINE void butterfly_by_eighths(C (&x)[N])
{
    constexpr double r = root_of<1, 8>.cos;
    const auto even = turn(x[0], x[2]);
    const C s = x[1] + x[3], t = x[1] - x[3];
    const auto odd = turn(t, s);
    const C p = r * odd.minus, q = r * odd.plus;
    x[0] = even.minus + p, x[2] = even.minus - p;
    x[1] = even.plus - q, x[3] = even.plus + q;
}

// (c1 + c2) / 2 = -1/4 and (c1 - c2) / 2 = sqrt(5)/4 of the cosines c1, c2 of a fifth and two fifths of a turn.
template <class C>
VRN_INLINE void butterfly5(C (&x)[5])
{
    constexpr double half_difference = 0x1.1e3779b97f4a8p-1;
    const C a = x[1] + x[4], b = x[2] + x[3], c = x[1] - x[4], d = x[2] - x[3], s = a + b;
    const C m = x[0] - 0.25 * s, t = half_difference * (a - b), p = m + t, q = m - t;
    x[0] = x[0] + s;
    constexpr double s1 = root_of<1, 5>.sin, s2 = root_of<2, 5>.sin;
    const auto y14 = turn(p, s1 * c + s2 * d);
    const auto y23 = turn(q, s2 * c - s1 * d);
    x[1] = y14.minus, x[4] = y14.plus, x[2] = y23.minus, x[3] = y23.plus;
}

template <int N, class C>
VRN_INLINE void butterfly_odd(C (&x)[N])
{
    constexpr int h = (N - 1) / 2;
    C a[h], b[h];
    unroll<h>([&](auto j) VRN_HERE {
        a[j] = x[j + 1] + x[N - 1 - j];
        b[j] = x[j + 1] - x[N - 1 - j];
    });
    const C x0 = x[0];
    unroll<h>([&](auto j) VRN_HERE { x[0] = x[0] + a[j]; });
    unroll<h>([&](auto k0) VRN_HERE {
        constexpr int k = decltype(k0)::value + 1;
        C p = x0 + root_of<k, N>.cos * a[0], q = root_of<k, N>.sin * b[0];
        unroll<h - 1>([&](auto j0) VRN_HERE {
            constexpr int j = decltype(j0)::value + 2;
            // Signs go to additions, so that a cosine or sine stands once among the constants.
            constexpr root w = root_of<(j * k % N < N - j * k % N ? j * k % N : N - j * k % N), N>;
            p = p + w.cos * a[j - 1];
            if constexpr (j * k % N < N - j * k % N) q = q + w.sin * b[j - 1];
            else q = q - w.sin * b[j - 1];
        });
        const auto [minus, plus] = turn(p, q);
        x[k] = minus, x[N - k] = plus;
    });
}

// j = (B j1 + A j2) mod N in, k = (B B' k1 + A A' k2) mod N out, with B B' = 1 mod A and A A' = 1 mod B.
template <int A, int B>
struct coprime_indices {
    static constexpr int in(int j1, int j2) { return (B * j1 + A * j2) % (A * B); }
    static constexpr int out(int k1, int k2) { return (B * inverse(B, A) * k1 + A * inverse(A, B) * k2) % (A * B); }
    static constexpr bool by_eighths(int) { return false; }
    template <int, int, class C>
    VRN_INLINE static C twiddle(C x)
    {
        return x;
    }
};

// j = B j1 + j2, k = k1 + A k2
template <int A, int B>
struct power_indices {
    static constexpr int in(int j1, int j2) { return B * j1 + j2; }
    static constexpr int out(int k1, int k2) { return k1 + A * k2; }
    // Rows whose twiddles are eighths of a turn have a butterfly that takes them in.
    static constexpr bool by_eighths(int k1) { return B == 4 && 2 * k1 == A; }
    template <int K1, int J2, class C>
    VRN_INLINE static C twiddle(C x)
    {
        if constexpr (by_eighths(K1)) return x;
        else return rotate<K1 * J2, A * B>(x);
    }
};

// A part of a longer transform: out of line where it is long itself and not the heart of a power of 2. That halves
// the size and the build time of the codelets. Parts of 7 stay in line: passing 7 values through memory costs 49 and
// 56 a third of their time.
template <int N, class C>
[[gnu::noinline]] void butterfly_call(C (&x)[N])
{
    butterfly<N>(x);
}
template <int N, int Whole, class C>
VRN_INLINE void butterfly_within(C (&x)[N])
{
    if constexpr (Whole > 16 && N > 7 && N % 2 != 0) butterfly_call<N>(x);
    else butterfly<N>(x);
}

// B transforms of length A, then A of length B. What stays between the two is all that leaves the registers.
template <int A, int B, class Indices, class C, class In, class Out>
VRN_INLINE void two_steps(In&& in, Out&& out)
{
    C x[A * B];
    unroll<B>([&](auto j2) VRN_HERE {
        C y[A];
        unroll<A>([&](auto j1) VRN_HERE { y[j1] = in(std::integral_constant<int, Indices::in(j1, j2)>{}); });
        butterfly_within<A, A * B>(y);
        unroll<A>([&](auto k1) VRN_HERE { x[B * k1 + j2] = Indices::template twiddle<k1, j2>(y[k1]); });
    });
    // What does not fit the registers goes to memory here, whole: left to choose, compilers move values to and fro.
    if constexpr (A * B * sizeof(C) / 16 > 16) asm("" : "+m"(x));
    unroll<A>([&](auto k1) VRN_HERE {
        C y[B];
        unroll<B>([&](auto j2) VRN_HERE { y[j2] = x[B * k1 + j2]; });
        if constexpr (Indices::by_eighths(k1)) butterfly_by_eighths(y);
        else butterfly_within<B, A * B>(y);
        unroll<B>([&](auto k2) VRN_HERE { out(std::integral_constant<int, Indices::out(k1, k2)>{}, y[k2]); });
    });
}

} // namespace detail

// The transform from in(j) to out(k, value), j and k as constants; inputs are read as they
// are needed and outputs written as they are made.
template <int N, class C, class In, class Out>
VRN_INLINE void transform(In&& in, Out&& out)
{
    using namespace detail;
    using R [[maybe_unused]] = typename C::real;
    if constexpr (is_prime(N) || N == 4) {
        C x[N];
        unroll<N>([&](auto j) VRN_HERE { x[j] = in(j); });
        if constexpr (N == 2) {
            const C s = x[0] + x[1];
            x[1] = x[0] - x[1];
            x[0] = s;
        } else if constexpr (N == 3) butterfly3(x);
        else if constexpr (N == 4) butterfly4(x);
        else if constexpr (N == 5) butterfly5(x);
        else if constexpr (N <= longest_unrolled_prime) butterfly_odd<N>(x);
        else prime_butterfly(x, N, {prime_table_of<R, N>.value, prime_table_of<R, N>.power});
        unroll<N>([&](auto k) VRN_HERE { out(k, x[k]); });
    } else if constexpr (prime_power(N) != N) {
        constexpr int A = coprime_factor(N), B = N / A;
        two_steps<A, B, coprime_indices<A, B>, C>(in, out);
    } else {
        constexpr int A = rows_of(N), B = N / A;
        two_steps<A, B, power_indices<A, B>, C>(in, out);
    }
}

template <int N, class C>
VRN_INLINE void butterfly(C (&x)[N])
{
    C y[N];
    transform<N, C>([&](auto j) VRN_HERE { return x[j]; }, [&](auto k, C v) VRN_HERE { y[k] = v; });
    unroll<N>([&](auto k) VRN_HERE { x[k] = y[k]; });
}

} // namespace vrn::dft
