// dft/codelets/batch_kernels.hpp - transforms of neighbouring columns where they lie, a vector holding one column
// (double) or two (single): no gather, no scatter.
//
//     one pass:    lengths up to longest_base
//     two passes:  n = n1 n2, x[j1 n2 + j2], X[k1 + n1 k2] (Cooley and Tukey 1965), both at most longest_base
//                  first  for each j2 a butterfly of n1, times w_n^(j2 k1), to the work: n rows as wide as the block
//                  last   for each k1 a butterfly of n2, from the work to the output
//
// One body serves both directions: the inverse is the forward transform with outputs 1 to n - 1 in reverse, so the
// last pass begins behind the end and steps down. Called by the column driver, the cubes and the batch plans.
#pragma once

#include <cstdint>

namespace vrn::dft {

inline constexpr int longest_base = 16;

// Value j of the first column at in + j * in_step, output 0 at `first`, output k at out + k * step; each further
// vector of columns is in_distance and out_distance away. All count reals. A double is a vector by itself, so that
// the columns of its passes may as well be rows.
template <class R>
using plain_pass = void(const R* in, std::int64_t in_step, std::int64_t in_distance, R* first, R* out,
                        std::int64_t step, std::int64_t out_distance, std::int64_t columns);
// Neighbouring columns, with output k at out + k * step times twiddle k - 1 of a row of them; output 0 has none.
template <class R>
using twiddled_pass = void(const R* in, std::int64_t in_step, R* out, std::int64_t step, std::int64_t columns,
                           const R* twiddles);

// By length; 0 and 1 are null. Columns are even for single, but for the tables of one column.
template <class R>
struct pass_pair {
    plain_pass<R>* plain[longest_base + 1];
    twiddled_pass<R>* twiddled[longest_base + 1];
};
template <class R>
struct batch_tables {
    pass_pair<R> columns, one;
    plain_pass<R>* row_pairs[longest_base + 1]; // an even number of contiguous rows; null for double
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

// How a length goes. `n2` is 1 where one pass does; else `twiddles` has n2 - 1 rows, for j2 from 1 on, of n1 - 1.
template <class R>
struct passes {
    std::int64_t n1, n2;
    const R* twiddles;
};
template <class R>
constexpr std::int64_t twiddle_reals(std::int64_t n1, std::int64_t n2)
{
    return 2 * batch_lanes<R> * (n1 - 1) * (n2 - 1);
}

// The split into two bases that lie nearest to each other, the larger first; {0, 0} where there is none.
struct base_pair {
    std::int64_t n1, n2;
};
constexpr base_pair two_bases(std::int64_t n)
{
    for (std::int64_t b = 1; b <= longest_base; ++b)
        if (b * b >= n && n % b == 0 && n / b > 1) return {b, n / b};
    return {0, 0};
}

// Fills a table of twiddles; root(k, n) gives cos and sin.
template <class R, class Root>
constexpr void put_twiddles(R* w, std::int64_t n1, std::int64_t n2, Root root)
{
    for (std::int64_t j2 = 1; j2 < n2; ++j2)
        for (std::int64_t k1 = 1; k1 < n1; ++k1, w += 2 * batch_lanes<R>) {
            const auto t = root(j2 * k1, n1 * n2);
            for (int i = 0; i < batch_lanes<R>; ++i) {
                w[i] = static_cast<R>(t.cos);
                w[batch_lanes<R> + i] = static_cast<R>(i % 2 == 0 ? t.sin : -t.sin);
            }
        }
}

// Two passes for a composite length of 9 to 64, or a power of 2 up to 256, from tables of the library; n1 is 0 where
// there is none.
template <class R>
passes<R> two_passes(std::int64_t n);

// Rows a page apart share one set of the first-level cache, which holds 8 or 12 lines.
inline constexpr std::int64_t most_lines_of_a_set = 8;

// `columns` of them, forward or backward, out of place or in place. Strides count reals. The work holds
// n1 n2 * `width` complex values; one pass needs none.
template <class R>
void run_columns(const passes<R>& p, bool forward, const R* in, std::int64_t in_stride, R* out,
                 std::int64_t out_stride, std::int64_t columns, std::int64_t width, R* work, R scale);

} // namespace vrn::dft
