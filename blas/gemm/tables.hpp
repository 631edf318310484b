// blas/gemm/tables.hpp - the numbers of the four matrix products, each with its reason.
// Read by the packers, the drivers, the host and the tests; nothing else repeats them.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::blas {

// Register tile. mr*nr values of C fill 8 of the 16 xmm registers for every type; the others hold A and B.
// kr = 4: packing moves four depths at a time, and the kernel's finest depth step is 4.
struct tile {
    int mr, nr, kr;
};
template <class T>
inline constexpr tile gemm_tile{};
template <>
inline constexpr tile gemm_tile<float>{4, 8, 4};
template <>
inline constexpr tile gemm_tile<double>{2, 8, 4};
template <>
inline constexpr tile gemm_tile<simd::cplx<float>>{2, 4, 4};
template <>
inline constexpr tile gemm_tile<simd::cplx<double>>{1, 4, 4};

// What differs from type to type beside the tile.
struct blocking {
    int m_min, n_min, k_min; // below any of these packing costs more than it saves
    int w_factor;            // room of the work panel, in panels of B
    int mode_mask;           // bits of the partition modes; the complex types lack 4 and 16
    int m_large, m_small;    // rows of an A block; at the full depth of 256, 1.25 MiB and 0.75 MiB of reals, 1 MiB
                             // and 0.625 MiB of complex numbers, which stay in a second-level cache of 2 MiB and
                             // 1 MiB beside the streams of B and C
    int n_cap;               // columns of a B block, 10 MB at the full depth for d: it lives in the last level
};
template <class T>
inline constexpr blocking gemm_blocking{};
template <>
inline constexpr blocking gemm_blocking<float>{4, 4, 4, 2, 126, 1280, 768, 5000};
template <>
inline constexpr blocking gemm_blocking<double>{4, 4, 4, 1, 126, 640, 384, 5000};
template <>
inline constexpr blocking gemm_blocking<simd::cplx<float>>{2, 4, 4, 2, 106, 512, 320, 5000};
template <>
inline constexpr blocking gemm_blocking<simd::cplx<double>>{2, 4, 4, 1, 106, 256, 160, 2000};

// Sides from which and depths up to which the unrolled kernels of tiny products serve; rows and columns up to the
// same 10. A complex vector holds one or two rows: below 3 rows or columns its tiles stay half empty.
inline constexpr int small_largest = 10;
template <class T>
inline constexpr int small_least = simd::element<T>::parts == 1 ? 1 : 3;

// The large row block applies above this size of the cache that the host reports, or when it reports none.
inline constexpr std::int32_t large_cache_bytes = 4194304;

// Slack behind each packed region: the kernels read ahead of the panels' ends.
inline constexpr std::int64_t region_slack_bytes = 512;

// Regions of A and B start on pages, so that their panels keep off each other's cache sets; the work panel
// only has to keep off a neighbour's line pair.
inline constexpr std::int32_t panel_align_exp = 12;
inline constexpr std::int32_t work_align_exp = 7;

// Columns left over behind the full panels are packed as a chain of narrower panels, one behind the other:
// a 4 while at least 3 are left (three columns fill a 4 with a zero column), then a 2, then a 1.
constexpr int chain_width(std::int64_t left) { return left >= 3 ? 4 : static_cast<int>(left); }

constexpr std::int64_t round_up(std::int64_t x, std::int64_t multiple)
{
    return (x + multiple - 1) / multiple * multiple;
}

} // namespace vrn::blas
