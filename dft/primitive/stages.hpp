// dft/primitive/stages.hpp - the passes of a mixed-radix transform, decimated in time (Cooley and Tukey 1965).
//
//     leaf    blocks of r values, read from interleaved input through a table of first indices; one block a lane
//     stage   data[k + q m] := sum over i of w_r^(iq) w_(rm)^(ik) data[k + i m],  k < m, on `count` blocks of r m
//     values last    the same on the one block that is left, written interleaved
//
// A stage runs along k, a vector of neighbours at a time, and reads its twiddles in turn: for each vector of k, for
// i = 1 .. r-1, cosines and then sines. The vector at the end of a block is read and stored in part.
#pragma once

#include "dft/codelets/butterfly.hpp"
#include "dft/primitive/field.hpp"

namespace vrn::dft {

// Twiddles of one stage as reals.
template <class R>
constexpr std::int64_t twiddle_reals(std::int64_t radix, std::int64_t remaining)
{
    constexpr int lanes = vec<R>::lanes;
    return 2 * (radix - 1) * ((remaining + lanes - 1) / lanes * lanes);
}

// ---- what the kernels of all radices share ----

template <class R, layout L>
struct stage_call {
    field<R, L> data;
    int m, count;
    const R* twiddles;
    prime_roots<R> prime; // radices without a kernel of their own
    int radix;
    R* out; // last stage
};

// `width` values from k on: load, twiddle, butterfly, store. Radix 0 is any, at run time.
template <int Radix, bool Last, bool Exchange, class R>
VRN_INLINE void stage_step(const stage_call<R, layout::planar>& c, field<R, layout::planar> data, int k,
                           const R* twiddles, int width)
{
    using V = vec<R>;
    constexpr int lanes = V::lanes;
    const std::ptrdiff_t m = c.m;
    const auto load = [&](auto i) VRN_HERE {
        const apart<R> y = width == lanes ? data.load(k + i * m) : data.load(k + i * m, width);
        const R* w = twiddles + (i - 1) * 2 * lanes;
        if (i == 0) return y;
        return times(y, V::load(w), V::load(w + lanes));
    };
    const auto store = [&](auto q, apart<R> y) VRN_HERE {
        if constexpr (Last) interleave<Exchange>(y, c.out + 2 * (k + q * m), width);
        else if (width == lanes) data.store(y, k + q * m);
        else {
            R* p = data.re(k + q * m);
            store_part(y.re, p, width), store_part(y.im, p + data.im(), width);
        }
    };
    if constexpr (Radix != 0) {
        transform<Radix, apart<R>>(load, store);
    } else {
        apart<R> x[longest_prime];
        for (int i = 0; i < c.radix; ++i) x[i] = load(i);
        prime_butterfly(x, c.radix, c.prime);
        for (int q = 0; q < c.radix; ++q) store(q, x[q]);
    }
}

template <int Radix, bool Last, bool Exchange, class R>
void stage(const stage_call<R, layout::planar>& call)
{
    const stage_call<R, layout::planar> c = call; // a copy that no store can change
    constexpr int lanes = vec<R>::lanes;
    const int radix = Radix == 0 ? c.radix : Radix;
    const std::ptrdiff_t step = 2 * lanes * (radix - 1);
    for (int block = 0; block < c.count; ++block) {
        const auto data = c.data.at(static_cast<std::ptrdiff_t>(block) * radix * c.m);
        const R* twiddles = c.twiddles;
        int k = 0;
        for (; k + lanes <= c.m; k += lanes, twiddles += step)
            stage_step<Radix, Last, Exchange>(c, data, k, twiddles, lanes);
        if (k < c.m) stage_step<Radix, Last, Exchange>(c, data, k, twiddles, c.m - k);
    }
}

// ---- the first pass ----

template <class R, layout L>
struct leaf_call {
    const R* in;
    std::ptrdiff_t stride; // of a block's values, in complex values
    const std::int32_t* first;
    field<R, L> data;
    int count;
    prime_roots<R> prime;
    int radix; // planar; stage 0's where blocked
};

template <int Radix, bool Exchange, class R>
void leaf(const leaf_call<R, layout::planar>& call)
{
    const leaf_call<R, layout::planar> c = call;
    constexpr int lanes = vec<R>::lanes, room = Radix == 0 ? longest_prime : Radix;
    const int radix = Radix == 0 ? c.radix : Radix;
    const std::ptrdiff_t stride = 2 * c.stride;
    for (int block = 0; block < c.count; block += lanes) {
        // A group that is not full reads its last block again and stores what there is.
        const int have = c.count - block >= lanes ? lanes : c.count - block;
        const R* from[lanes];
        for (int l = 0; l < lanes; ++l)
            from[l] = c.in + 2 * static_cast<std::ptrdiff_t>(c.first[block + (l < have ? l : have - 1)]);
        R* to = c.data.re(static_cast<std::ptrdiff_t>(block) * radix);
        apart<R> x[room];
        if constexpr (Radix != 0) {
            unroll<Radix>([&](auto j) VRN_HERE { x[j] = gather<Exchange>(from, j * stride); });
            butterfly<Radix>(x);
            vec<R> re[Radix], im[Radix];
            unroll<Radix>([&](auto k) VRN_HERE { re[k] = x[k].re, im[k] = x[k].im; });
            R *re_to[lanes], *im_to[lanes];
            for (int l = 0; l < lanes; ++l) re_to[l] = to + l * Radix, im_to[l] = re_to[l] + c.data.im();
            const auto store = [&](int count) VRN_HERE {
                store_lanes(re, re_to, 1, count);
                store_lanes(im, im_to, 1, count);
            };
            if (have == lanes) store(lanes);
            else store(have);
        } else {
            for (int j = 0; j < radix; ++j) x[j] = gather<Exchange>(from, j * stride);
            prime_butterfly(x, radix, c.prime);
            for (int k = 0; k < radix; ++k) {
                for (int l = 0; l < have; ++l) {
                    to[k + l * radix] = x[k].re.lane(l);
                    to[k + l * radix + c.data.im()] = x[k].im.lane(l);
                }
            }
        }
    }
}

// ---- powers of 2, blocked ----

// As above; the interleaved values of the last pass lie where their blocks did.
template <int Radix, bool Last, bool Exchange, class R>
void stage_blocked(const stage_call<R, layout::blocked>& call)
{
    const stage_call<R, layout::blocked> c = call;
    using V = vec<R>;
    constexpr int lanes = V::lanes;
    for (std::ptrdiff_t block = 0; block < c.count; ++block) {
        rungs<Radix, R> at(c.data.re(block * Radix * c.m), 2 * c.m), to = at;
        if constexpr (Last) to = {c.out, 2 * c.m};
        const R* w = c.twiddles;
        for (std::ptrdiff_t k = 0; k < c.m; k += lanes) {
            transform<Radix, apart<R>>(
                [&](auto i) VRN_HERE {
                    const apart<R> y{V::load(at[i]), V::load(at[i] + lanes)};
                    if constexpr (i == 0) return y;
                    else return times(y, V::load(w + (i - 1) * 2 * lanes), V::load(w + (2 * i - 1) * lanes));
                },
                [&](auto q, apart<R> y) VRN_HERE {
                    if constexpr (Last) interleave<Exchange>(y, to[q], lanes);
                    else y.re.store(at[q]), y.im.store(at[q] + lanes);
                });
            at.advance(2 * lanes), to.advance(2 * lanes), w += 2 * lanes * (Radix - 1);
        }
    }
}

// All blocks at once, and the lanes are neighbours of the input rather than blocks that follow each other: lines of
// the cache are read whole, and re and im come apart without a shuffle.
template <int Radix, bool Exchange, bool Aligned, class R>
void leaf_blocked(const leaf_call<R, layout::blocked>& call)
{
    const leaf_call<R, layout::blocked> c = call;
    constexpr int lanes = vec<R>::lanes;
    const std::ptrdiff_t each = c.count / c.radix, distance = 2 * each * Radix;
    for (std::ptrdiff_t block = 0; block < each; ++block) {
        rungs<Radix, const R> from(c.in + 2 * c.first[block], 2 * c.stride);
        R* to = c.data.re(block * Radix);
        for (int part = 0; part < c.radix; part += lanes, to += lanes * distance, from.advance(2 * lanes)) {
            apart<R> x[Radix];
            unroll<Radix>([&](auto j) VRN_HERE { x[j] = gather_neighbours<Exchange, Aligned>(from[j]); });
            butterfly<Radix>(x);
            vec<R> re[Radix], im[Radix];
            unroll<Radix>([&](auto k) VRN_HERE { re[k] = x[k].re, im[k] = x[k].im; });
            R *re_to[lanes], *im_to[lanes];
            unroll<lanes>([&](auto l) VRN_HERE {
                re_to[l] = to + lane_value<R>(l) * distance;
                asm("" : "+r"(re_to[l])); // one register a lane, not one for each of its places
                im_to[l] = re_to[l] + lanes;
            });
            store_lanes(re, re_to, 2, lanes);
            store_lanes(im, im_to, 2, lanes);
        }
    }
}

} // namespace vrn::dft
