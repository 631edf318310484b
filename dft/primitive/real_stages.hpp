// dft/primitive/real_stages.hpp - the passes of a mixed-radix transform of n real values, all radices odd.
//
//     forward   Z_i, i < r, are the spectra of m real values each, of which the first (m+1)/2 are kept:
//               X[k + q m] = sum over i of w_r^(iq) w_(rm)^(ik) Z_i[k] for k <= (m-1)/2
//     inverse   the same steps back, with conjugate roots: parts exchanged at both ends
//
// Half of a complex stage. Values k + q m beyond the middle of X are kept as their conjugates at r m - k - q m. There
// nothing of Z lies, so each pass runs in place in full-length arrays of which half is in use, and needs no order of
// its own. After Bergland (1968). Twiddles and first indices are those of complex stages.
#pragma once

#include "dft/primitive/stages.hpp"

namespace vrn::dft {

// The first `count` lanes in reverse.
VRN_INLINE vec<double> reversed(vec<double> a, int count) { return count == 1 ? a : exchanged(a); }
VRN_INLINE vec<float> reversed(vec<float> a, int count)
{
    if (count == 4) return {_mm_shuffle_ps(a.v, a.v, 0x1b)};
    return count == 3   ? vec<float>{_mm_shuffle_ps(a.v, a.v, 0xc6)}
           : count == 2 ? vec<float>{_mm_shuffle_ps(a.v, a.v, 0xe1)}
                        : a;
}
template <class R>
VRN_INLINE apart<R> reversed_conj(apart<R> a, int count)
{
    return {reversed(a.re, count), vec<R>::zero() - reversed(a.im, count)};
}
template <class R>
VRN_INLINE apart<R> exchanged_parts(apart<R> a)
{
    return {a.im, a.re};
}

// `width` values k, k+1, .. at once.
template <int Radix, bool Inverse, class R>
VRN_INLINE void half_step(const stage_call<R, layout::planar>& c, field<R, layout::planar> data, int k,
                          const R* twiddles, int width)
{
    using V = vec<R>;
    using C = apart<R>;
    constexpr int lanes = V::lanes;
    const std::ptrdiff_t m = c.m;
    const int radix = Radix == 0 ? c.radix : Radix, h = radix / 2;
    // Where the conjugates of k + q m and its neighbours begin, downwards.
    const auto mirrored = [&](int q) VRN_HERE { return (radix - q) * m - k - (width - 1); };
    const auto load_at = [&](std::ptrdiff_t at)
                             VRN_HERE { return width == lanes ? data.load(at) : data.load(at, width); };
    const auto twiddle = [&](int i, C y) VRN_HERE {
        const R* w = twiddles + (i - 1) * 2 * lanes;
        return i == 0 ? y : times(y, V::load(w), V::load(w + lanes));
    };
    const auto load = [&](auto i) VRN_HERE {
        if constexpr (!Inverse) return twiddle(i, load_at(k + i * m));
        else return exchanged_parts(i <= h ? load_at(k + i * m) : reversed_conj(load_at(mirrored(i)), width));
    };
    const auto put = [&](C y, std::ptrdiff_t at) VRN_HERE {
        if (width == lanes) return data.store(y, at);
        store_part(y.re, data.re(at), width), store_part(y.im, data.re(at) + data.im(), width);
    };
    const auto store = [&](auto q, C y) VRN_HERE {
        if constexpr (Inverse) y = exchanged_parts(twiddle(q, y));
        if (Inverse || q <= h) return put(y, k + q * m);
        put(reversed_conj(y, width), mirrored(q));
    };
    if constexpr (Radix != 0) {
        transform<Radix, C>(load, store);
    } else {
        C x[longest_prime];
        for (int i = 0; i < radix; ++i) x[i] = load(i);
        prime_butterfly(x, radix, c.prime);
        for (int q = 0; q < radix; ++q) store(q, x[q]);
    }
}

template <int Radix, bool Inverse, class R>
void half_stage(const stage_call<R, layout::planar>& call)
{
    const stage_call<R, layout::planar> c = call;
    constexpr int lanes = vec<R>::lanes;
    const int radix = Radix == 0 ? c.radix : Radix, half = (c.m + 1) / 2;
    for (int block = 0; block < c.count; ++block) {
        const auto data = c.data.at(static_cast<std::ptrdiff_t>(block) * radix * c.m);
        const R* twiddles = c.twiddles;
        int k = 0;
        for (; k + lanes <= half; k += lanes, twiddles += 2 * lanes * (radix - 1))
            half_step<Radix, Inverse>(c, data, k, twiddles, lanes);
        if (k < half) half_step<Radix, Inverse>(c, data, k, twiddles, half - k);
    }
}

// ---- the pass on the reals' side ----

// An odd prime p of real values to the first (p+1)/2 of their spectrum and back; h = (p-1)/2, T a real or a vector:
//     forward   X_k = x_0 + sum (x_j + x_(p-j)) cos - i sum (x_j - x_(p-j)) sin
//     inverse   x_j, x_(p-j) = X_0 + sum 2 Re X_k cos -+ sum 2 Im X_k sin
// Pairs go in the order of the table's generator, as in prime_butterfly; cosines and sines lie side by side.
template <class R>
VRN_INLINE void prime_sums(const vec<R>* even, const vec<R>* odd, int p, prime_roots<R> w, vec<R> first,
                           vec<R>* cosines, vec<R>* sines)
{
    const int h = (p - 1) / 2;
    for (int u = 0; u < h; ++u) {
        const R* value = w.value + 2 * u;
        vec<R> c = first + vec<R>::all(value[0]) * even[0], s = vec<R>::all(value[1]) * odd[0];
        for (int t = 1; t < h; ++t) {
            c = c + vec<R>::all(value[2 * t]) * even[t];
            s = s + vec<R>::all(value[2 * t + 1]) * odd[t];
        }
        cosines[u] = c, sines[u] = s;
    }
}

// One transform: a pair (even, odd) times (cos, sin) as they lie, `rows` sums at once to keep the adder busy.
template <int Rows, class R>
VRN_INLINE void pair_rows(const R* pairs, int h, const R* value, R first, R* cosines, R* sines)
{
    using V = vec<R>;
    V sum[Rows];
    unroll<Rows>([&](auto r) VRN_HERE { sum[r] = V::load1(&first); });
    for (int t = 0; t < 2 * h; t += V::lanes)
        unroll<Rows>([&](auto r) VRN_HERE { sum[r] = sum[r] + V::loadu(value + 2 * r + t) * V::load(pairs + t); });
    unroll<Rows>([&](auto r) VRN_HERE {
        if constexpr (V::lanes == 4) sum[r] = sum[r] + swap_halves(sum[r]);
        cosines[r] = sum[r].lane(0), sines[r] = sum[r].lane(1);
    });
}
template <class R>
VRN_INLINE void prime_sums(const R* even, const R* odd, int p, prime_roots<R> w, R first, R* cosines, R* sines)
{
    constexpr int rows = 6;
    const int h = (p - 1) / 2;
    // Singles read a pair behind the last; the table goes on there and the product with 0 is none.
    alignas(16) R pairs[longest_prime + 3];
    for (int t = 0; t < h; ++t) pairs[2 * t] = even[t], pairs[2 * t + 1] = odd[t];
    pairs[2 * h] = pairs[2 * h + 1] = 0;
    int u = 0;
    for (; u + rows <= h; u += rows) pair_rows<rows>(pairs, h, w.value + 2 * u, first, cosines + u, sines + u);
    for (; u < h; ++u) pair_rows<1>(pairs, h, w.value + 2 * u, first, cosines + u, sines + u);
}

template <class T, class R>
VRN_INLINE void real_prime_forward(const T* x, T* re, T* im, int p, prime_roots<R> w)
{
    const int h = (p - 1) / 2;
    T even[longest_prime / 2], odd[longest_prime / 2], c[longest_prime / 2], s[longest_prime / 2], sum = x[0];
    for (int t = 0; t < h; ++t) {
        const int j = w.power[t];
        even[t] = x[j] + x[p - j], odd[t] = x[j] - x[p - j];
        sum = sum + even[t];
    }
    prime_sums(even, odd, p, w, x[0], c, s);
    re[0] = sum, im[0] = T{};
    for (int u = 0; u < h; ++u) {
        const int k = w.power[u];
        if (k <= h) re[k] = c[u], im[k] = T{} - s[u];
        else re[p - k] = c[u], im[p - k] = s[u];
    }
}

template <class T, class R>
VRN_INLINE void real_prime_inverse(const T* re, const T* im, T* x, int p, prime_roots<R> w)
{
    const int h = (p - 1) / 2;
    T even[longest_prime / 2], odd[longest_prime / 2], c[longest_prime / 2], s[longest_prime / 2], sum = re[0];
    for (int t = 0; t < h; ++t) {
        const int k = w.power[t], low = k <= h ? k : p - k;
        even[t] = re[low] + re[low];
        odd[t] = im[low] + im[low];
        if (k > h) odd[t] = T{} - odd[t];
        sum = sum + even[t];
    }
    prime_sums(even, odd, p, w, re[0], c, s);
    x[0] = sum;
    for (int u = 0; u < h; ++u) {
        const int j = w.power[u];
        x[j] = c[u] - s[u], x[p - j] = c[u] + s[u];
    }
}

template <class R>
struct half_leaf_call {
    const R* in; // reals of the forward transform
    R* out;      // reals of the inverse
    std::ptrdiff_t stride;
    const std::int32_t* first;
    field<R, layout::planar> data;
    int count;
    prime_roots<R> prime;
    int radix;
};

VRN_INLINE vec<double> gather_reals(const double* const (&from)[2], std::ptrdiff_t at)
{
    return {_mm_loadh_pd(_mm_load_sd(from[0] + at), from[1] + at)};
}
VRN_INLINE vec<float> gather_reals(const float* const (&from)[4], std::ptrdiff_t at)
{
    const __m128 a = _mm_unpacklo_ps(_mm_load_ss(from[0] + at), _mm_load_ss(from[1] + at));
    const __m128 b = _mm_unpacklo_ps(_mm_load_ss(from[2] + at), _mm_load_ss(from[3] + at));
    return {_mm_movelh_ps(a, b)};
}
VRN_INLINE void scatter_reals(vec<double> v, double* const (&to)[2], std::ptrdiff_t at, int count)
{
    store_low(v, to[0] + at);
    if (count == 2) store_high(v, to[1] + at);
}
VRN_INLINE void scatter_reals(vec<float> v, float* const (&to)[4], std::ptrdiff_t at, int count)
{
    for (int l = 0; l < count; ++l) to[l][at] = v.lane(l);
}

// One block a lane.
template <int Radix, bool Inverse, class R>
void half_leaf(const half_leaf_call<R>& call)
{
    using V = vec<R>;
    const half_leaf_call<R> c = call;
    constexpr int lanes = V::lanes, room = Radix == 0 ? longest_prime : Radix;
    const int radix = Radix == 0 ? c.radix : Radix, h = radix / 2;
    const prime_roots<R> w = Radix == 0 ? c.prime
                                        : prime_roots<R>{prime_table_of < R, Radix == 0 ? 3 : Radix >.value,
                                                         prime_table_of < R, Radix == 0 ? 3 : Radix >.power};
    for (int block = 0; block < c.count; block += lanes) {
        // A group that is not full reads its last block again and stores what there is.
        const int have = c.count - block >= lanes ? lanes : c.count - block;
        const R *from[lanes], *re_from[lanes], *im_from[lanes];
        R *to[lanes], *re_to[lanes], *im_to[lanes];
        for (int l = 0; l < lanes; ++l) {
            const int b = block + (l < have ? l : have - 1);
            from[l] = c.in + c.first[b], to[l] = c.out + c.first[b];
            re_from[l] = re_to[l] = c.data.re(static_cast<std::ptrdiff_t>(b) * radix);
            im_from[l] = im_to[l] = re_to[l] + c.data.im();
        }
        V x[room], re[room / 2 + 1], im[room / 2 + 1];
        x[0] = V::zero();
        if constexpr (!Inverse) {
            for (int j = 0; j < radix; ++j) x[j] = gather_reals(from, j * c.stride);
            real_prime_forward(x, re, im, radix, w);
            for (int k = 0; k <= h; ++k) scatter_reals(re[k], re_to, k, have), scatter_reals(im[k], im_to, k, have);
        } else {
            for (int k = 0; k <= h; ++k) re[k] = gather_reals(re_from, k), im[k] = gather_reals(im_from, k);
            real_prime_inverse(re, im, x, radix, w);
            for (int j = 0; j < radix; ++j) scatter_reals(x[j], to, j * c.stride, have);
        }
    }
}

} // namespace vrn::dft
