// blas/level3/tables.hpp - the numbers of the triangular and symmetric drivers, each with its reason.
// Read by the drivers and the tests; nothing else repeats them.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::blas::level3 {

using vrn_int = std::int64_t;

constexpr vrn_int least(vrn_int x, vrn_int y) { return x < y ? x : y; }

// ---- triangular ----

// Cache blocks of the update products (m, n, k of the record). They are set, not asked for: the walk along the
// diagonal fixes the depth of its products, and one set of buffers serves the whole solve.
struct blocks {
    vrn_int m, n, k;
};
inline constexpr blocks trsm_blocks{512, 1000, 256}, trmm_blocks{640, 1000, 128}, ptrmm_blocks{128, 1000, 512};

// Block sizes along the diagonal, outermost first; what is left at the last is done by the kernels of diagonal
// blocks. `slice` is how much of the other dimension goes through the whole walk at a time: 1000 columns (an
// operand B of the updates) or 512 rows (an operand A), so that it stays in cache between the blocks.
struct levels {
    vrn_int block[3];
    int count;
    vrn_int slice;
};
inline constexpr levels trsm_left_levels{{128, 32}, 2, 1000};
// Columns of a wide right-hand triangle go in larger blocks: the updates behind them are long enough to pay.
constexpr levels trsm_right_levels(vrn_int n) { return {{n < 2000 ? 128 : 256, 32}, 2, 512}; }
inline constexpr levels trmm_left_levels{{256, 128, 64}, 3, 1000};
inline constexpr levels trmm_right_levels{{256, 64, 16}, 3, 640};

// Where the walk starts. On the left a block must fit the order, on the right it must be exceeded; what fits
// nowhere starts at the top and falls through the levels as one block.
constexpr int start_level(const levels& l, bool left, vrn_int order)
{
    for (int i = 0; i < l.count; ++i)
        if (left ? order >= l.block[i] : order > l.block[i]) return i;
    return 0;
}

// Rows that the kernels of diagonal blocks take at most, and the rows of a group in their packed triangles.
inline constexpr int diagonal_rows = 64, group_rows = 4;

// Below these a triangular product takes no buffers: left up to 8 rows, right up to 8 columns.
inline constexpr vrn_int trmm_small = 8;

// ---- rank updates ----

// Into how many parts an order n is cut: one more than the number of bounds that n exceeds.
struct parts {
    vrn_int bound[5];
    int count;
};
constexpr int part_count(const parts& p, vrn_int n)
{
    int found = 1;
    for (int i = 0; i < p.count; ++i) found += n > p.bound[i];
    return found;
}
// Off-diagonal rectangles go to the matrix product; the more parts, the less is left on the diagonal. A as stored
// and transposed break even at different sizes.
inline constexpr parts syrk_parts_n{{100, 399, 600, 2000}, 4}, syrk_parts_t{{99, 399, 899, 2048}, 4};
// The finer cut inside a diagonal block.
inline constexpr parts syrk_block_parts_n{{47, 100, 127, 168, 200}, 5},
    syrk_block_parts_t{{47, 71, 127, 199, 247}, 5};

// Columns of a stripe of the _pst form and its scratch: 32 columns of 36 elements of the largest type.
inline constexpr vrn_int pst_stripe = 32, pst_ld = 36, pst_bytes = 18432;
static_assert(pst_stripe * pst_ld * sizeof(simd::cplx<double>) == pst_bytes);

// Diagonal block of SYR2K, whose product lies in a scratch square of that side.
inline constexpr vrn_int syr2k_block = 128;

// ---- the others ----

inline constexpr vrn_int gemmt_leaf = 32;   // the order at which the recursion ends: 8 KiB of doubles
inline constexpr vrn_int symm_block = 256;  // the mirrored diagonal block: 512 KiB of doubles
inline constexpr vrn_int symm_slice = 5000; // along the dimension that is not symmetric
inline constexpr std::int32_t scratch_align = 128, symm_scratch_align = 64;

} // namespace vrn::blas::level3
