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

template <int N, bool Backward>
[[gnu::flatten]] void codelet(const R* in, R* out)
{
    together<R, Backward> x[N];
    unroll<N>([&](auto i) { x[i].v = load_one(in + 2 * i); });
    butterfly<N>(x);
    unroll<N>([&](auto i) { store_one(x[i].v, out + 2 * i); });
}

template <bool Backward>
void copy_one(const R* in, R* out)
{
    const R re = in[0], im = in[1];
    out[0] = re, out[1] = im;
}

template <int... I>
constexpr codelet_tables<R> table_of(std::integer_sequence<int, I...>)
{
    return {{nullptr, copy_one<false>, codelet<I + 2, false>...}, {nullptr, copy_one<true>, codelet<I + 2, true>...}};
}

} // namespace

#define VRN_PASTE(a, b)  a##b
#define VRN_SUFFIX(a, b) VRN_PASTE(a, b)

const codelet_tables<R> VRN_SUFFIX(codelets_, VRN_LETTER) = table_of(std::make_integer_sequence<int, 63>{});

} // namespace vrn::dft
