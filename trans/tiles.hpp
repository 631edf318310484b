// trans/tiles.hpp - the height of the bands in which a matrix is transposed, and whether the result is streamed.
#pragma once

#include <cstdint>

namespace vrn::trans {

inline constexpr std::uint64_t page_bytes = 4096, line_bytes = 64;

// Rows of the source that are walked together, column by column, from the byte strides of source and result. A band
// spans few pages of the source, so that its lines stay in the first-level cache for the columns that share them:
// where rows are shorter than a page p of them make one, and a result with short rows asks for eight such groups
// alone. Long rows of the result leave room for 62 pages of both, of which the result takes (q + 7) / q.
// A band whose rows all meet in one set of the cache (strides of 32 KiB) is not allowed to grow.
constexpr std::uint64_t band_height(std::uint64_t source_stride, std::uint64_t result_stride)
{
    const std::uint64_t p = (source_stride + page_bytes - 1) / source_stride;
    std::uint64_t height = 8 * p;
    // Rows of no length, which store over each other, count as short ones: q has no value for them.
    if (result_stride > page_bytes) {
        const std::uint64_t q = (result_stride + page_bytes - 1) / result_stride;
        height = (62 - (q + 7) / q) * p;
    }
    if ((source_stride * p & 0x7fff) == 0 && height > 8 * p) height = 8 * p;
    return height;
}

// A result that does not stay in the second-level cache is written past the caches: a store would fetch its line
// first, and lines at large strides push each other out before they are full. Measured for doubles on a processor
// with 2 MiB: from n = 400 streamed bands run at 1.6 to 5 times the speed of the others, below they lose.
inline constexpr std::uint64_t streamed_from_bytes = 1 << 20;

} // namespace vrn::trans
