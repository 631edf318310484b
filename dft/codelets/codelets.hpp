// dft/codelets/codelets.hpp - the kernel families that do the arithmetic, as tables for those who call them.
//
// Direct codelets: one transform of length 2 to 64, contiguous and interleaved; in and out are the same or apart.
// Table kernels, real kernels and batch kernels stand on the same butterflies. None allocates or decides anything.
// A descriptor's used scale goes in as `scale`; wrap a codelet in a function of (in, out, descriptor) to install it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vrn::dft {

// ---- direct codelets ----
// The plain form does not scale; the scaled form multiplies each output.
template <class R>
using plain_codelet = void(const R* in, R* out);
template <class R>
using scaled_codelet = void(const R* in, R* out, R scale);

inline constexpr int longest_codelet = 64;

// By length; entries 0 is null, 1 copies.
template <class R>
struct codelet_tables {
    plain_codelet<R>* forward[longest_codelet + 1];
    plain_codelet<R>* backward[longest_codelet + 1];
};
extern const codelet_tables<double> codelets_d;
extern const codelet_tables<float> codelets_s;

template <class R>
const codelet_tables<R>& codelets();
template <>
inline const codelet_tables<double>& codelets<double>()
{
    return codelets_d;
}
template <>
inline const codelet_tables<float>& codelets<float>()
{
    return codelets_s;
}

// A codelet and then the factor on each output.
template <class R>
void run_scaled(plain_codelet<R>* codelet, int n, const R* in, R* out, R scale)
{
    codelet(in, out);
    for (int i = 0; i < 2 * n; ++i) out[i] *= scale;
}

// ---- direct table kernels ----
// Rows end with length 0. In place takes the data twice.
template <class R>
struct direct_row {
    std::int64_t length;
    plain_codelet<R>*forward, *backward;
};
template <class R>
struct direct_tables {
    direct_row<R> first[6];  // 8 16 32 64 128
    direct_row<R> second[7]; // 2 4 8 16 32 64
};
extern const direct_tables<double> direct_tables_d;
extern const direct_tables<float> direct_tables_s;
template <class R>
const direct_tables<R>& direct_tables_of();
template <>
inline const direct_tables<double>& direct_tables_of<double>()
{
    return direct_tables_d;
}
template <>
inline const direct_tables<float>& direct_tables_of<float>()
{
    return direct_tables_s;
}

// ---- real direct kernels ----
// By length: 2 to 16, 25, 32 and 64, null elsewhere. `format` is 54 (CCS), 55 (PACK), 56 (PERM) or 57 (CCE); 54 and
// 57 have n + 2 reals on the packed side of even lengths, n + 1 of odd ones. in and out are the same or apart.
template <class R>
using real_codelet = void(const R* in, R* out, std::int32_t format, R scale);
template <class R>
struct real_tables {
    real_codelet<R>* forward[longest_codelet + 1];
    real_codelet<R>* backward[longest_codelet + 1];
};
extern const real_tables<double> real_codelets_d;
extern const real_tables<float> real_codelets_s;
template <class R>
const real_tables<R>& real_codelets();
template <>
inline const real_tables<double>& real_codelets<double>()
{
    return real_codelets_d;
}
template <>
inline const real_tables<float>& real_codelets<float>()
{
    return real_codelets_s;
}

} // namespace vrn::dft
