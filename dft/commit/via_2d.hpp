// dft/commit/via_2d.hpp - one long transform as rows times cols short ones (Bailey 1990; Gentleman and Sande 1966).
//
//     n = rows * cols, x[r * cols + c], X[j + rows * k]
//     phase 1 and 2:  W[c * rows + j] = w_n^(j c) * sum over r of x[r * cols + c] w_rows^(r j)     columns
//     phase 3:        X[j + rows * k] = sum over c of W[c * rows + j] w_cols^(c k)                rows
//
// 4 j c = (j + c)^2 - (j - c)^2, so w_n^(j c) = w(j + c) conj(w(j - c)) with w(k) = exp(-2 pi i k^2 / 4n): a table of
// rows + cols values instead of n. Both phases go in blocks of 8 columns and may be dealt out to threads.
#pragma once

#include "dft/commit/engine.hpp"

namespace vrn::dft {

struct via_2d_record {
    std::int64_t rows, cols;               // rows <= cols
    std::int64_t rows_padded, cols_padded; // an odd multiple of 4: columns of a block start in different sets
    descriptor* inner_rows;
    descriptor* inner_cols; // the same one where the lengths are equal
    void* twiddles;         // complex values of the precision; w(0) at index twiddle_zero
    std::int32_t policy;    // 1: in place means without a second matrix
};

inline constexpr std::int64_t twiddle_zero = 4;
inline constexpr std::int64_t four_step_block = 8;

// 0; 102 where no useful factors exist; else what went wrong. On 0 node->via_2d and its release are set.
template <class R>
dft_status init_via_2d(descriptor* node, const descriptor* head);

// Columns first to last - 1 of phase 1 and 2, from x (row-major, or transposed already: in == matrix) to the matrix.
template <class R>
dft_status four_step_columns(const descriptor* d, const cplx<R>* in, cplx<R>* matrix, std::int64_t first,
                             std::int64_t last, bool forward);
// Rows first to last - 1 of phase 3, from the matrix to X, which may be the same.
template <class R>
dft_status four_step_rows(const descriptor* d, const cplx<R>* matrix, cplx<R>* out, std::int64_t first,
                          std::int64_t last, bool forward);

// The kernel of a node that goes this way.
template <class R, bool Forward>
dft_status via_2d_kernel(const void* in, void* out, const descriptor* node, void* work);

} // namespace vrn::dft
