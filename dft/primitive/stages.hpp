// dft/primitive/stages.hpp - the passes of a mixed-radix transform, decimated in time (Cooley and Tukey 1965).
//
//     leaf    blocks of r values, read from interleaved input through a table of first indices; one block a lane
//     stage   data[k + q m] := sum over i of w_r^(iq) w_(rm)^(ik) data[k + i m],  k < m, on `count` blocks of r m
//     values last    the same on the one block that is left, written interleaved
//
// A stage runs along k, a vector of neighbours at a time, and reads its twiddles in turn: for each vector of k, for
// i = 1 .. r-1, cosines and then sines. The vector at the end of a block is read whole and stored in part; what lies
// behind it is the next part of the block, or slack that the work area has (work_slack).
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
template <int Radix, bool Last, bool Exchange, class R, layout L>
VRN_INLINE void stage_step(const stage_call<R, L>& c, field<R, L> data, int k, const R* twiddles, int width)
{
    using V = vec<R>;
    constexpr int lanes = V::lanes;
    const std::ptrdiff_t m = c.m;
    const auto load = [&](auto i) VRN_HERE {
        const apart<R> y = data.load(k + i * m);
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

template <int Radix, bool Last, bool Exchange, class R, layout L>
void stage(const stage_call<R, L>& call)
{
    const stage_call<R, L> c = call; // a copy that no store can change
    constexpr int lanes = vec<R>::lanes;
    const int radix = Radix == 0 ? c.radix : Radix;
    const std::ptrdiff_t step = 2 * lanes * (radix - 1);
    for (int block = 0; block < c.count; ++block) {
        const field<R, L> data = c.data.at(static_cast<std::ptrdiff_t>(block) * radix * c.m);
        const R* twiddles = c.twiddles;
        int k = 0;
        for (; k + lanes <= c.m; k += lanes, twiddles += step)
            stage_step<Radix, Last, Exchange>(c, data, k, twiddles, lanes);
        if constexpr (L == layout::planar)
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
    int radix;
};

template <int Radix, bool Exchange, class R, layout L>
void leaf(const leaf_call<R, L>& call)
{
    const leaf_call<R, L> c = call;
    constexpr int lanes = vec<R>::lanes, room = Radix == 0 ? longest_prime : Radix;
    constexpr int step = L == layout::blocked ? 2 : 1;
    const int radix = Radix == 0 ? c.radix : Radix;
    const std::ptrdiff_t stride = 2 * c.stride;
    for (int block = 0; block < c.count; block += lanes) {
        // A group that is not full reads its last block again and stores what there is.
        const int have = L == layout::blocked || c.count - block >= lanes ? lanes : c.count - block;
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
            const auto store = [&](int count) VRN_HERE {
                store_lanes(re, to, step * Radix, step, count);
                store_lanes(im, to + c.data.im(), step * Radix, step, count);
            };
            if (have == lanes) store(lanes);
            else if constexpr (L == layout::planar) store(have);
        } else {
            for (int j = 0; j < radix; ++j) x[j] = gather<Exchange>(from, j * stride);
            prime_butterfly(x, radix, c.prime);
            for (int k = 0; k < radix; ++k) {
                const vec<R> re[1] = {x[k].re}, im[1] = {x[k].im};
                store_lanes(re, to + k, radix, 1, have);
                store_lanes(im, to + k + c.data.im(), radix, 1, have);
            }
        }
    }
}

} // namespace vrn::dft
