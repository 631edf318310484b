// dft/codelets/codelets.cpp - direct codelets of one type (VRN_REAL) and their tables.
// Compiled once for each type, so that two compilers share the work.

#include "dft/codelets/codelets.hpp"
#include "dft/codelets/butterfly.hpp"

namespace vrn::dft {
namespace {

using R = VRN_REAL;

VRN_INLINE vec<double> load_one(const double* p) { return vec<double>::loadu(p); }
VRN_INLINE void store_one(vec<double> v, double* p) { v.storeu(p); }
// The upper half idles; arithmetic on zeros costs nothing.
VRN_INLINE vec<float> load_one(const float* p) { return vec<float>::load2(p); }
VRN_INLINE void store_one(vec<float> v, float* p) { v.store2(p); }

// Output k goes to out + k * step. The inverse transform is the forward one with outputs 1 to N-1 in reverse, so one
// body serves both directions: the backward codelet begins behind the end and steps down.
template <int N>
[[gnu::noinline]] void outputs(const R* in, R* first, R* out, std::ptrdiff_t step)
{
    using C = together<R>;
    transform<N, C>([&](auto j) VRN_HERE { return C{load_one(in + 2 * j)}; },
                    [&](auto k, C x) VRN_HERE { store_one(x.v, k == 0 ? first : out + k * step); });
}
template <int N>
void forward(const R* in, R* out)
{
    outputs<N>(in, out, out, 2);
}
template <int N>
void backward(const R* in, R* out)
{
    outputs<N>(in, out, out + 2 * N, -2);
}

void copy_one(const R* in, R* out)
{
    const R re = in[0], im = in[1];
    out[0] = re, out[1] = im;
}

template <int... I>
constexpr codelet_tables<R> table_of(std::integer_sequence<int, I...>)
{
    return {{nullptr, copy_one, forward<I + 2>...}, {nullptr, copy_one, backward<I + 2>...}};
}

} // namespace

#define VRN_PASTE(a, b)  a##b
#define VRN_SUFFIX(a, b) VRN_PASTE(a, b)

const codelet_tables<R> VRN_SUFFIX(codelets_, VRN_LETTER) = table_of(std::make_integer_sequence<int, 63>{});

} // namespace vrn::dft
