// dft/codelets/real_butterfly.hpp - transforms of N real values in registers, to the half of their spectrum and back.
//
//     forward   X[k] = sum over j of x[j] exp(-2 pi i j k / N), 0 <= k <= N/2
//     inverse   x[j] = sum over all k of X[k] exp(2 pi i j k / N), X[N-k] = conj X[k]
//
// Odd primes by pairs: (x[j] + x[N-j], x[j] - x[N-j]) is a vector and so is (cos, -sin), and one product serves the
// real and the imaginary part. N = A B, both odd: B real transforms of length A, then one real and (A-1)/2 complex
// ones of length B, by the indices of butterfly.hpp. Even N: N/2 complex values, then what halves.hpp does, in
// registers. A real value stands in all lanes of its vector, a complex one in the lowest two. Used by codelets_of.hpp
// alone.
#pragma once

#include "dft/codelets/butterfly.hpp"

namespace vrn::dft {

VRN_INLINE vec<double> real_of(vec<double> a) { return {_mm_unpacklo_pd(a.v, a.v)}; }
VRN_INLINE vec<float> real_of(vec<float> a) { return {_mm_moveldup_ps(a.v)}; }
VRN_INLINE vec<double> imag_of(vec<double> a) { return {_mm_unpackhi_pd(a.v, a.v)}; }
VRN_INLINE vec<float> imag_of(vec<float> a) { return {_mm_movehdup_ps(a.v)}; }
// (a, 0)
VRN_INLINE vec<double> without_imag(vec<double> a) { return {_mm_blend_pd(a.v, _mm_setzero_pd(), 2)}; }
VRN_INLINE vec<float> without_imag(vec<float> a) { return {_mm_blend_ps(a.v, _mm_setzero_ps(), 10)}; }

namespace detail {

constexpr int first_factor(int n) { return prime_power(n) != n ? coprime_factor(n) : smallest_prime(n); }
template <int N>
using odd_indices = std::conditional_t<prime_power(N) != N, coprime_indices<first_factor(N), N / first_factor(N)>,
                                       power_indices<first_factor(N), N / first_factor(N)>>;

// (cos, -sin) of K / N of a turn.
template <int K, int N, class V>
VRN_INLINE V cos_minus_sin()
{
    using R = typename V::scalar;
    return V::pair(static_cast<R>(root_of<K, N>.cos), static_cast<R>(-root_of<K, N>.sin));
}

// in(j) real, out(k, X) complex but for k = 0, which is real.
template <int N, class V, class In, class Out>
VRN_INLINE void odd_spectrum(In&& in, Out&& out)
{
    if constexpr (is_prime(N)) {
        constexpr int h = N / 2;
        const V x0 = in(std::integral_constant<int, 0>{});
        V sum = x0, pair[h];
        unroll<h>([&](auto j) VRN_HERE {
            const V a = in(std::integral_constant<int, j + 1>{}), b = in(std::integral_constant<int, N - 1 - j>{});
            sum = sum + (a + b);
            pair[j] = a + flip_im(b);
        });
        unroll<h>([&](auto k0) VRN_HERE {
            constexpr int k = decltype(k0)::value + 1;
            V y = without_imag(x0);
            unroll<h>([&](auto j) VRN_HERE { y = y + cos_minus_sin<(j + 1) * k % N, N, V>() * pair[j]; });
            out(std::integral_constant<int, k>{}, y);
        });
        out(std::integral_constant<int, 0>{}, sum);
    } else {
        constexpr int A = first_factor(N), B = N / A;
        using C = together<typename V::scalar>;
        using indices = odd_indices<N>;
        const auto put = [&](auto k, V x) VRN_HERE {
            if constexpr (k <= N / 2) out(k, x);
            else out(std::integral_constant<int, N - k>{}, flip_im(x));
        };
        V y[A / 2 + 1][B];
        unroll<B>([&](auto j2) VRN_HERE {
            odd_spectrum<A, V>([&](auto j1)
                                   VRN_HERE { return in(std::integral_constant<int, indices::in(j1, j2)>{}); },
                               [&](auto k1, V x) VRN_HERE { y[k1][j2] = indices::template twiddle<k1, j2>(C{x}).v; });
        });
        odd_spectrum<B, V>([&](auto j2) VRN_HERE { return y[0][j2]; },
                           [&](auto k2, V x)
                               VRN_HERE { put(std::integral_constant<int, indices::out(0, k2)>{}, x); });
        unroll<A / 2>([&](auto k0) VRN_HERE {
            constexpr int k1 = decltype(k0)::value + 1;
            transform<B, C>([&](auto j2) VRN_HERE { return C{y[k1][j2]}; },
                            [&](auto k2, C x)
                                VRN_HERE { put(std::integral_constant<int, indices::out(k1, k2)>{}, x.v); });
        });
    }
}

// The way back: in(k) complex but for k = 0, out(j, x) real.
template <int N, class V, class In, class Out>
VRN_INLINE void odd_values(In&& in, Out&& out)
{
    if constexpr (is_prime(N)) {
        constexpr int h = N / 2;
        const V first = in(std::integral_constant<int, 0>{});
        V twice[h], sum = V::zero();
        unroll<h>([&](auto k) VRN_HERE {
            const V x = in(std::integral_constant<int, k + 1>{});
            twice[k] = x + x;
            sum = k == 0 ? twice[k] : sum + twice[k];
        });
        const V start = without_imag(first);
        unroll<h>([&](auto j0) VRN_HERE {
            constexpr int j = decltype(j0)::value + 1;
            V y = start;
            unroll<h>([&](auto k) VRN_HERE { y = y + cos_minus_sin<(k + 1) * j % N, N, V>() * twice[k]; });
            out(std::integral_constant<int, j>{}, real_of(y) + imag_of(y));
            out(std::integral_constant<int, N - j>{}, real_of(y) - imag_of(y));
        });
        out(std::integral_constant<int, 0>{}, first + real_of(sum));
    } else {
        constexpr int A = first_factor(N), B = N / A;
        using C = together<typename V::scalar, true>;
        using indices = odd_indices<N>;
        const auto get = [&](auto k) VRN_HERE {
            if constexpr (k <= N / 2) return in(k);
            else return flip_im(in(std::integral_constant<int, N - k>{}));
        };
        V y[A / 2 + 1][B];
        odd_values<B, V>([&](auto k2) VRN_HERE { return get(std::integral_constant<int, indices::out(0, k2)>{}); },
                         [&](auto j2, V x) VRN_HERE { y[0][j2] = x; });
        unroll<A / 2>([&](auto k0) VRN_HERE {
            constexpr int k1 = decltype(k0)::value + 1;
            transform<B, C>([&](auto k2)
                                VRN_HERE { return C{get(std::integral_constant<int, indices::out(k1, k2)>{})}; },
                            [&](auto j2, C x) VRN_HERE { y[k1][j2] = indices::template twiddle<k1, j2>(x).v; });
        });
        unroll<B>([&](auto j2) VRN_HERE {
            odd_values<A, V>([&](auto k1) VRN_HERE { return y[k1][j2]; },
                             [&](auto j1, V x)
                                 VRN_HERE { out(std::integral_constant<int, indices::in(j1, j2)>{}, x); });
        });
    }
}

// z[k] and z[h-k] of the N/2 = h complex values to X[k] and X[h-k], and back to 2 z[k] and 2 z[h-k].
template <int K, int N, class V>
VRN_INLINE void mix(V& a, V& b)
{
    constexpr root w = root_of<K, N>;
    const V c = flip_im(b), sum = a + c;
    const V t = times(together<typename V::scalar>{a - c}, root{-w.sin / 2, w.cos / 2}).v;
    const V e = V::all(static_cast<typename V::scalar>(0.5)) * sum;
    a = e + t, b = flip_im(e - t);
}
template <int K, int N, class V>
VRN_INLINE void unmix(V& a, V& b)
{
    constexpr root w = root_of<K, N>;
    const V c = flip_im(b), sum = a + c;
    const V t = times(together<typename V::scalar>{a - c}, root{-w.sin, -w.cos}).v;
    a = sum + t, b = flip_im(sum - t);
}

template <bool Inverse, int N, class V>
VRN_INLINE void mix_all(V (&z)[N / 2])
{
    constexpr int h = N / 2;
    unroll<(h - 1) / 2>([&](auto k0) VRN_HERE {
        constexpr int k = decltype(k0)::value + 1;
        if constexpr (Inverse) unmix<k, N>(z[k], z[h - k]);
        else mix<k, N>(z[k], z[h - k]);
    });
    if constexpr (h % 2 == 0) z[h / 2] = flip_im(Inverse ? z[h / 2] + z[h / 2] : z[h / 2]);
}

// in(j) is (x[2j], x[2j+1]); out(0, X[0]) and out(N/2, X[N/2]) are real.
template <int N, class V, class In, class Out>
VRN_INLINE void even_spectrum(In&& in, Out&& out)
{
    constexpr int h = N / 2;
    using C = together<typename V::scalar>;
    V z[h];
    if constexpr (h == 1) z[0] = in(std::integral_constant<int, 0>{});
    else transform<h, C>([&](auto j) VRN_HERE { return C{in(j)}; }, [&](auto k, C x) VRN_HERE { z[k] = x.v; });
    const V re = real_of(z[0]), im = imag_of(z[0]);
    mix_all<false, N>(z);
    out(std::integral_constant<int, 0>{}, re + im);
    out(std::integral_constant<int, h>{}, re - im);
    unroll<h - 1>([&](auto k) VRN_HERE { out(std::integral_constant<int, k + 1>{}, z[k + 1]); });
}
template <int N, class V, class In, class Out>
VRN_INLINE void even_values(In&& in, Out&& out)
{
    constexpr int h = N / 2;
    using C = together<typename V::scalar, true>;
    V z[h];
    z[0] = in(std::integral_constant<int, 0>{}) + flip_im(in(std::integral_constant<int, h>{}));
    unroll<h - 1>([&](auto k) VRN_HERE { z[k + 1] = in(std::integral_constant<int, k + 1>{}); });
    mix_all<true, N>(z);
    if constexpr (h == 1) out(std::integral_constant<int, 0>{}, z[0]);
    else transform<h, C>([&](auto k) VRN_HERE { return C{z[k]}; }, [&](auto j, C x) VRN_HERE { out(j, x.v); });
}

} // namespace detail

} // namespace vrn::dft
