// dft/codelets/batch_kernels.hpp - butterflies over neighbouring columns, a vector holding one (double) or two
// (single).
//
//     n = n1 n2, x[j1 n2 + j2], X[k1 + n1 k2] (Cooley and Tukey 1965), both at most longest_base
//     first pass:  for each j2 a butterfly of n1, times w_n^(j2 k1), to the work
//     second pass: for each k1 a butterfly of n2, to the output
//
// Data is loaded where it lies: no gather, no scatter. One body serves both directions, since the inverse is the
// forward transform with outputs 1 to n - 1 reversed, and outputs go by a table of offsets.
#pragma once

#include <cstdint>

namespace vrn::dft {

inline constexpr int longest_base = 16;

// `width` columns. Input j at in + j * step, columns 2 reals apart; output k at work + k * out_step, times twiddle k.
template <class R>
using first_pass = void(const R* in, std::int64_t step, R* work, std::int64_t out_step, std::int64_t width,
                        const R* twiddles);
// Input j at in + j * step; output k at out + offsets[k], times the scale.
template <class R>
using second_pass = void(const R* in, std::int64_t step, R* out, const std::int64_t* offsets, std::int64_t width,
                         R scale);

// By length; 0 and 1 are null. Widths are even for single, but for the tables of one column.
template <class R>
struct batch_tables {
    first_pass<R>* first[longest_base + 1];
    second_pass<R>* second[longest_base + 1];
    first_pass<R>* first_one[longest_base + 1];
    second_pass<R>* second_one[longest_base + 1];
};
extern const batch_tables<double> batch_tables_d;
extern const batch_tables<float> batch_tables_s;

template <class R>
const batch_tables<R>& batch_kernels();
template <>
inline const batch_tables<double>& batch_kernels<double>()
{
    return batch_tables_d;
}
template <>
inline const batch_tables<float>& batch_kernels<float>()
{
    return batch_tables_s;
}

// Reals of a vector: one twiddle is two of them, (c c ..) and (s -s ..).
template <class R>
inline constexpr int batch_lanes = 16 / static_cast<int>(sizeof(R));

} // namespace vrn::dft
