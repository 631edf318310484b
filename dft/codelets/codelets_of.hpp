// dft/codelets/codelets_of.hpp - the direct codelets and real kernels of one type (VRN_REAL) and their tables.
// Compiled once for each type, so that two compilers share the work.

#include "dft/codelets/codelets.hpp"
#include "dft/codelets/halves.hpp"
#include "dft/codelets/real_butterfly.hpp"

namespace vrn::dft {
namespace {

using R = VRN_REAL;

// Output k goes to out + k * step, output 0 to `first`. The inverse transform is the forward one with outputs 1 to
// N-1 in reverse, so one body serves both directions: the backward codelet begins behind the end and steps down.
template <int N>
VRN_INLINE void write_outputs(const double* in, double* first, double* out, std::ptrdiff_t step)
{
    using C = together<double>;
    transform<N, C>([&](auto j) VRN_HERE { return C{vec<double>::loadu(in + 2 * j)}; },
                    [&](auto k, C x) VRN_HERE { x.v.storeu(k == 0 ? first : out + k * step); });
}

// Singles of even length: even inputs in one half of the vectors, odd ones in the other, E_k and O_k of half the
// length out of one transform, and X_k = E_k + w^k O_k, X_(k+N/2) = E_k - w^k O_k for two k at a time. The shortest
// and the odd lengths leave half of each vector idle.
template <int N>
VRN_INLINE void write_outputs(const float* in, float* first, float* out, std::ptrdiff_t step)
{
    using C = together<float>;
    using V = vec<float>;
    const auto at = [&](int k) VRN_HERE { return k == 0 ? first : out + k * step; };
    if constexpr (N % 2 != 0 || N < 8) {
        transform<N, C>([&](auto j) VRN_HERE { return C{V::load2(in + 2 * j)}; },
                        [&](auto k, C x) VRN_HERE { x.v.store2(at(k)); });
    } else {
        constexpr int M = N / 2;
        V y[M];
        transform<M, C>([&](auto j) VRN_HERE { return C{V::loadu(in + 4 * j)}; },
                        [&](auto k, C x) VRN_HERE {
                            // (E_k, w^k O_k)
                            constexpr root w = detail::root_of<k, N>;
                            constexpr float c = static_cast<float>(w.cos), s = static_cast<float>(w.sin);
                            if constexpr (k == 0) y[k] = x.v;
                            else
                                y[k] =
                                    V{_mm_setr_ps(1, 1, c, c)} * x.v + V{_mm_setr_ps(0, 0, s, -s)} * exchanged(x.v);
                        });
        const auto put = [&](V x, int k, int l) VRN_HERE {
            x.store2(at(k));
            if (l < N) _mm_storeh_pi(reinterpret_cast<__m64*>(at(l)), x.v);
        };
        unroll<(M + 1) / 2>([&](auto h) VRN_HERE {
            constexpr int k = 2 * decltype(h)::value, l = k + 1 < M ? k + 1 : k;
            const V even{_mm_movelh_ps(y[k].v, y[l].v)}, odd{_mm_movehl_ps(y[l].v, y[k].v)};
            put(even + odd, k, l == k ? N : l);
            put(even - odd, k + M, l == k ? N : l + M);
        });
    }
}

template <int N>
[[gnu::noinline]] void outputs(const R* in, R* first, R* out, std::ptrdiff_t step)
{
    write_outputs<N>(in, first, out, step);
}

// The shortest lengths are worth a body for each direction: the call would cost as much as the transform.
inline constexpr int longest_with_two_bodies = 8;
template <int N>
void forward(const R* in, R* out)
{
    if constexpr (N <= longest_with_two_bodies) write_outputs<N>(in, out, out, 2);
    else outputs<N>(in, out, out, 2);
}
template <int N>
void backward(const R* in, R* out)
{
    if constexpr (N <= longest_with_two_bodies) write_outputs<N>(in, out, out + 2 * N, -2);
    else outputs<N>(in, out, out + 2 * N, -2);
}

void copy_one(const R* in, R* out)
{
    const R re = in[0], im = in[1];
    out[0] = re, out[1] = im;
}

template <int... I>
constexpr codelet_tables<R> table_of(std::integer_sequence<int, I...>)
{
    return {{nullptr, copy_one, forward<I + 2>...}, {nullptr, copy_one, backward<I + 2>...}};
}

// ---- real kernels ----

template <int N>
struct half_roots {
    R value[2 * (N / 4 + 1)];
    constexpr half_roots() : value()
    {
        for (int k = 0; k <= N / 4; ++k) put_half_root(value + 2 * k, constant_root(k, N));
    }
};
template <int N>
inline constexpr half_roots<N> half_roots_of;

constexpr packing packing_of(std::int32_t format)
{
    return format == 55 ? packing::pack : format == 56 ? packing::perm : packing::ccs;
}

VRN_INLINE vec<double> value_at(const double* p) { return vec<double>::loadu(p); }
VRN_INLINE vec<float> value_at(const float* p) { return vec<float>::load2(p); }
VRN_INLINE void put_value(vec<double> x, double* p) { x.storeu(p); }
VRN_INLINE void put_value(vec<float> x, float* p) { x.store2(p); }

// Where a packed row of N has X[N/2], and X[k] from 2k on.
template <int N>
struct places {
    std::ptrdiff_t last, shift;
    explicit places(packing form)
        : last(form == packing::ccs    ? N
               : form == packing::perm ? 1
                                       : N - 1),
          shift(form == packing::ccs || (form == packing::perm && N % 2 == 0) ? 0 : -1)
    {
    }
};

// Lengths that stay in registers, or nearly, between the two halves of the work; longer powers of 2 go through the
// packed row in memory, two singles at a time.
constexpr bool in_registers(int n) { return n <= 16 || n % 2 != 0; }

template <int N>
void real_forward(const R* in, R* out, std::int32_t format, R scale)
{
    using V = vec<R>;
    const packing form = packing_of(format);
    if constexpr (in_registers(N)) {
        const places<N> at(form);
        const auto put = [&](auto k, V x) VRN_HERE {
            if constexpr (k == 0) x.store1(out);
            else if constexpr (2 * k == N) x.store1(out + at.last);
            else put_value(x, out + 2 * k + at.shift);
        };
        if constexpr (N % 2 != 0) detail::odd_spectrum<N, V>([&](auto j) VRN_HERE { return V::all(in[j]); }, put);
        else detail::even_spectrum<N, V>([&](auto j) VRN_HERE { return value_at(in + 2 * j); }, put);
        if (scale != 1)
            for (int i = 0; i < N + (form == packing::ccs ? 1 : 0); ++i) out[i] *= scale;
        if (form == packing::ccs) {
            out[1] = 0;
            if constexpr (N % 2 == 0) out[N + 1] = 0;
        }
    } else {
        forward<N / 2>(in, out);
        spectrum_of_halves(out, N / 2, half_roots_of<N>.value);
        if (scale != 1)
            for (int i = 0; i < N; ++i) out[i] *= scale;
        from_perm(out, N, form);
    }
}
template <int N>
void real_backward(const R* in, R* out, std::int32_t format, R scale)
{
    using V = vec<R>;
    const packing form = packing_of(format);
    if constexpr (in_registers(N)) {
        const places<N> at(form);
        const auto get = [&](auto k) VRN_HERE {
            if constexpr (k == 0) return V::all(in[0]);
            else if constexpr (2 * k == N) return V::all(in[at.last]);
            else return value_at(in + 2 * k + at.shift);
        };
        if constexpr (N % 2 != 0) detail::odd_values<N, V>(get, [&](auto j, V x) VRN_HERE { x.store1(out + j); });
        else detail::even_values<N, V>(get, [&](auto j, V x) VRN_HERE { put_value(x, out + 2 * j); });
    } else {
        const R* perm = form == packing::pack ? to_perm(in, out, N) : in;
        halves_of_spectrum(perm, form == packing::ccs ? in[N] : perm[1], out, N / 2, half_roots_of<N>.value);
        backward<N / 2>(out, out);
    }
    if (scale != 1)
        for (int i = 0; i < N; ++i) out[i] *= scale;
}

template <int... I>
constexpr real_tables<R> real_table_of(std::integer_sequence<int, I...>)
{
    real_tables<R> t{{nullptr, nullptr, real_forward<I + 2>...}, {nullptr, nullptr, real_backward<I + 2>...}};
    t.forward[25] = real_forward<25>, t.backward[25] = real_backward<25>;
    t.forward[32] = real_forward<32>, t.backward[32] = real_backward<32>;
    t.forward[64] = real_forward<64>, t.backward[64] = real_backward<64>;
    return t;
}

} // namespace

#define VRN_PASTE(a, b)  a##b
#define VRN_SUFFIX(a, b) VRN_PASTE(a, b)

const codelet_tables<R> VRN_SUFFIX(codelets_, VRN_LETTER) = table_of(std::make_integer_sequence<int, 63>{});

// One function serves in place and not: nothing is written before all that depends on it is read.
const direct_tables<R> VRN_SUFFIX(direct_tables_, VRN_LETTER) = {{{8, forward<8>, backward<8>},
                                                                  {16, forward<16>, backward<16>},
                                                                  {32, forward<32>, backward<32>},
                                                                  {64, forward<64>, backward<64>},
                                                                  {128, forward<128>, backward<128>},
                                                                  {0, nullptr, nullptr}},
                                                                 {{2, forward<2>, backward<2>},
                                                                  {4, forward<4>, backward<4>},
                                                                  {8, forward<8>, backward<8>},
                                                                  {16, forward<16>, backward<16>},
                                                                  {32, forward<32>, backward<32>},
                                                                  {64, forward<64>, backward<64>},
                                                                  {0, nullptr, nullptr}}};

constinit const real_tables<R> VRN_SUFFIX(real_codelets_,
                                          VRN_LETTER) = real_table_of(std::make_integer_sequence<int, 15>{});

} // namespace vrn::dft
