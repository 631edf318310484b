// dft/compute/move.hpp - gather and scatter: strided columns to contiguous ones and back.
//
//     scatter: dst[k * stride + w * distance] = src[w * src_stride + k]      k < count, w < width; gather the inverse
//
// Elements are cplx<R> or R; strides inside count reals for both, since rows of a real transform need not lie an even
// number of reals apart. A width that is known is one line of neighbours a step.
#pragma once

#include "dft/commit/engine.hpp"
#include "simd/unroll.hpp"

#include <cstring>

namespace vrn::dft {

template <class R>
inline void move_element(const cplx<R>* from, cplx<R>* to)
{
    // Whole, where a copy of the struct would be two moves.
    if constexpr (sizeof(R) == 8) {
        simd::vec<double>::loadu(&from->re).storeu(&to->re);
    } else {
        std::uint64_t bits;
        std::memcpy(&bits, from, sizeof bits);
        std::memcpy(to, &bits, sizeof bits);
    }
}
inline void move_element(const double* from, double* to) { *to = *from; }
inline void move_element(const float* from, float* to) { *to = *from; }

template <class E>
inline E* at(E* p, std::int64_t reals)
{
    using R = simd::real_of<std::remove_const_t<E>>;
    using Q = std::conditional_t<std::is_const_v<E>, const R, R>;
    return reinterpret_cast<E*>(reinterpret_cast<Q*>(p) + reals);
}

// Of rows this far apart at most two lie on a page, and what fetches lines ahead by itself stops at a page's end.
// Where the matrix is larger than the second-level cache asking is a tenth faster from here on, within it a little
// slower.
inline constexpr std::int64_t far_apart = 1536;
inline constexpr std::int64_t rows_ahead = 8; // a power of 2 apart, they share a set that has 8 to 12 lines

// `packed` columns lie `packed_stride` elements apart; on the strided side stride and distance count reals. `Ahead`:
// lines are asked for before their turn.
template <bool Gather, int Width, bool Ahead, class E>
[[gnu::flatten]] void move_columns_of(std::int64_t count, E* packed, std::int64_t packed_stride, E* strided,
                                      std::int64_t stride, std::int64_t distance)
{
    constexpr std::int64_t parts = simd::element<E>::parts;
    auto step = [&](std::int64_t k, E* row, std::int64_t between) {
        if constexpr (Ahead) {
            const auto* ahead = reinterpret_cast<const char*>(row) +
                                rows_ahead * stride * static_cast<std::int64_t>(sizeof(simd::real_of<E>));
            __builtin_prefetch(ahead);
            if constexpr (Width * sizeof(E) >= 128) __builtin_prefetch(ahead + 64);
        }
        simd::unroll<Width>([&](auto w) {
            E* place = at(row, w * between);
            E* other = packed + w * packed_stride + k;
            if constexpr (Gather) move_element(place, other);
            else move_element(other, place);
        });
    };
    if (distance == parts)
        for (std::int64_t k = 0; k < count; ++k) step(k, at(strided, k * stride), parts);
    else
        for (std::int64_t k = 0; k < count; ++k) step(k, at(strided, k * stride), distance);
}

template <bool Gather, class E>
void move_columns(std::int64_t count, std::int64_t width, E* packed, std::int64_t packed_stride, E* strided,
                  std::int64_t stride, std::int64_t distance)
{
    if (width == 1 && stride == simd::element<E>::parts) {
        if constexpr (Gather) std::memcpy(packed, strided, static_cast<std::size_t>(count) * sizeof(E));
        else std::memcpy(strided, packed, static_cast<std::size_t>(count) * sizeof(E));
        return;
    }
    const bool ahead =
        stride * static_cast<std::int64_t>(sizeof(simd::real_of<E>)) >= far_apart && count > rows_ahead;
    auto move = [&](auto w) {
        if (ahead && w * sizeof(E) >= 32)
            move_columns_of<Gather, w, true>(count, packed, packed_stride, strided, stride, distance);
        else move_columns_of<Gather, w, false>(count, packed, packed_stride, strided, stride, distance);
    };
    switch (width) {
    case 1:
        return move(std::integral_constant<int, 1>{});
    case 2:
        return move(std::integral_constant<int, 2>{});
    case 4:
        return move(std::integral_constant<int, 4>{});
    case 8:
        return move(std::integral_constant<int, 8>{});
    case 16:
        return move(std::integral_constant<int, 16>{});
    default:
        for (std::int64_t w = 0; w < width; ++w)
            move_columns_of<Gather, 1, false>(count, packed + w * packed_stride, 0, at(strided, w * distance), stride,
                                              0);
    }
}

template <class E>
void gather(std::int64_t count, std::int64_t width, const E* strided, std::int64_t stride, std::int64_t distance,
            E* packed, std::int64_t packed_stride)
{
    move_columns<true>(count, width, packed, packed_stride, const_cast<E*>(strided), stride, distance);
}
template <class E>
void scatter(std::int64_t count, std::int64_t width, const E* packed, std::int64_t packed_stride, E* strided,
             std::int64_t stride, std::int64_t distance)
{
    move_columns<false>(count, width, const_cast<E*>(packed), packed_stride, strided, stride, distance);
}

} // namespace vrn::dft
