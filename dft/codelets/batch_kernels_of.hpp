// dft/codelets/batch_kernels_of.hpp - the batch kernels of one type (VRN_REAL) and their tables; compiled once for
// each.

#include "dft/codelets/butterfly.hpp"
#include "dft/codelets/batch_kernels.hpp"

#include <type_traits>
#include <utility>

namespace vrn::dft {
namespace {

using R = VRN_REAL;
using C = together<R>;

// The one column of a vector's lower half; the whole of a double's.
VRN_INLINE vec<double> load_one(const double* p) { return vec<double>::loadu(p); }
VRN_INLINE vec<float> load_one(const float* p) { return vec<float>::load2(p); }
VRN_INLINE void store_one(vec<double> v, double* p) { v.storeu(p); }
VRN_INLINE void store_one(vec<float> v, float* p) { v.store2(p); }

template <bool One>
VRN_INLINE vec<R> load_columns(const R* p)
{
    if constexpr (One) return load_one(p);
    else return vec<R>::loadu(p);
}
template <bool One>
VRN_INLINE void store_columns(vec<R> v, R* p)
{
    if constexpr (One) store_one(v, p);
    else v.storeu(p);
}

template <int N, bool One>
[[gnu::noinline]] void first(const R* in, std::int64_t step, R* work, std::int64_t out_step, std::int64_t width,
                             const R* twiddles)
{
    constexpr std::int64_t lanes = batch_lanes<R>;
    for (std::int64_t c = 0; c < 2 * width; c += lanes)
        transform<N, C>([&](auto j) VRN_HERE { return C{load_columns<One>(in + j * step + c)}; },
                        [&](auto k, C x) VRN_HERE {
                            const R* w = twiddles + 2 * lanes * k;
                            store_columns<One>(times(x, vec<R>::load(w), vec<R>::load(w + lanes)).v,
                                               work + k * out_step + c);
                        });
}

template <int N, bool One>
[[gnu::noinline]] void second(const R* in, std::int64_t step, R* out, const std::int64_t* offsets, std::int64_t width,
                              R scale)
{
    constexpr std::int64_t lanes = batch_lanes<R>;
    const vec<R> by = vec<R>::all(scale);
    for (std::int64_t c = 0; c < 2 * width; c += lanes)
        transform<N, C>([&](auto j) VRN_HERE { return C{load_columns<One>(in + j * step + c)}; },
                        [&](auto k, C x) VRN_HERE { store_columns<One>(by * x.v, out + offsets[k] + c); });
}

template <int... I>
constexpr batch_tables<R> table_of(std::integer_sequence<int, I...>)
{
    return {{nullptr, nullptr, first<I + 2, false>...},
            {nullptr, nullptr, second<I + 2, false>...},
            {nullptr, nullptr, first<I + 2, std::is_same_v<R, float>>...},
            {nullptr, nullptr, second<I + 2, std::is_same_v<R, float>>...}};
}

} // namespace

#define VRN_PASTE(a, b)  a##b
#define VRN_SUFFIX(a, b) VRN_PASTE(a, b)

const batch_tables<R> VRN_SUFFIX(batch_tables_,
                                 VRN_LETTER) = table_of(std::make_integer_sequence<int, longest_base - 1>{});

} // namespace vrn::dft
