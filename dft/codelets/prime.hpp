// dft/codelets/prime.hpp - transforms of prime length p as a double loop over (p-1)/2 pairs, for any value type.
//
// With a_j = x_j + x_(p-j), b_j = x_j - x_(p-j) and h = (p-1)/2:
//     y_k, y_(p-k) = x_0 + sum cos(2 pi j k / p) a_j  -+  i sum sin(2 pi j k / p) b_j
// j and k run through the powers of a generator g of the numbers modulo p (Rader 1968): j = g^t, k = g^u. The factors
// of output u are then the entries u, u+1, .. of one table of roots of g^v, and no index is ever reduced. Entries v +
// h are those of v with the sine's sign changed, so p - 1 of them serve all.
#pragma once

#include "dft/codelets/value.hpp"

namespace vrn::dft {

inline constexpr int longest_prime = 149; // largest prime radix: 150 for even lengths

// A smallest generator: all powers below p - 1 differ from 1.
constexpr int generator_of(int p)
{
    for (int g = 2;; ++g) {
        int t = 1, x = g;
        for (; x != 1; ++t) x = x * g % p;
        if (t == p - 1) return g;
    }
}

// p roots and 2p indices: what a plan's prime table holds. `value` has 2p reals, `power` the p - 1 powers of g twice.
template <class R>
struct prime_roots {
    const R* value;
    const std::int32_t* power;
};
template <class R>
constexpr std::int64_t prime_table_bytes(int p)
{
    return static_cast<std::int64_t>(p) * static_cast<std::int64_t>(2 * sizeof(R) + 2 * sizeof(std::int32_t));
}
template <class R>
prime_roots<R> prime_roots_at(const void* table, int p)
{
    const auto* value = static_cast<const R*>(table);
    return {value, reinterpret_cast<const std::int32_t*>(value + 2 * p)};
}
template <class R, class Root>
constexpr void fill_prime_table(R* value, std::int32_t* power, int p, Root&& root_at)
{
    const int g = generator_of(p);
    for (int v = 0, x = 1; v < p; ++v, x = x * g % p) {
        const root w = root_at(x, p);
        value[2 * v] = static_cast<R>(w.cos), value[2 * v + 1] = static_cast<R>(w.sin);
    }
    for (int v = 0, x = 1; v < 2 * p; ++v, x = x * g % p) power[v] = x;
}

// The same as constants of the library.
template <class R, int P>
struct constant_prime_table {
    R value[2 * P];
    std::int32_t power[2 * P];
    constexpr constant_prime_table() : value(), power() { fill_prime_table(value, power, P, constant_root); }
};
template <class R, int P>
inline constexpr constant_prime_table<R, P> prime_table_of;

namespace detail {

// `Rows` outputs at once: their sums are that many pairs of chains.
template <int Rows, class C>
VRN_INLINE void prime_rows(C* x, C x0, const C* a, const C* b, int p, int u, prime_roots<typename C::real> w)
{
    using V = vec<typename C::real>;
    const int h = (p - 1) / 2;
    const auto* value = w.value + 2 * u;
    C even[Rows], odd[Rows];
    unroll<Rows>([&](auto r) VRN_HERE {
        even[r] = x0 + scaled(V::all(value[2 * r]), a[0]);
        odd[r] = scaled(V::all(value[2 * r + 1]), b[0]);
    });
    for (int t = 1; t < h; ++t) {
        value += 2;
        unroll<Rows>([&](auto r) VRN_HERE {
            even[r] = even[r] + scaled(V::all(value[2 * r]), a[t]);
            odd[r] = odd[r] + scaled(V::all(value[2 * r + 1]), b[t]);
        });
    }
    unroll<Rows>([&](auto r) VRN_HERE {
        const auto [minus, plus] = turn(even[r], odd[r]);
        const int k = w.power[u + r];
        x[k] = minus, x[p - k] = plus;
    });
}

} // namespace detail

// In place on x[0 .. p-1].
template <class C>
[[gnu::noinline]] void prime_butterfly(C* x, int p, prime_roots<typename C::real> w)
{
    constexpr int rows = 16 / (4 * static_cast<int>(sizeof(C) / 16)); // half of the registers hold the sums
    const int h = (p - 1) / 2;
    C a[longest_prime / 2], b[longest_prime / 2];
    const C x0 = x[0];
    C sum = x0;
    for (int t = 0; t < h; ++t) {
        const int j = w.power[t];
        a[t] = x[j] + x[p - j], b[t] = x[j] - x[p - j];
        sum = sum + a[t];
    }
    x[0] = sum;
    int u = 0;
    for (; u + rows <= h; u += rows) detail::prime_rows<rows>(x, x0, a, b, p, u, w);
    for (; u < h; ++u) detail::prime_rows<1>(x, x0, a, b, p, u, w);
}

} // namespace vrn::dft
