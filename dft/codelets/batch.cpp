// dft/codelets/batch.cpp - passes across columns, and the plans of one or two of them.

#include "dft/codelets/batch.hpp"
#include "dft/codelets/butterfly.hpp"

#include <cstring>

namespace vrn::dft {
namespace {

constexpr int composites[] = {18, 20, 21, 22, 24, 25, 26, 27, 28, 30, 32, 33, 35, 36, 39,
                              40, 42, 44, 45, 48, 49, 50, 52, 54, 55, 56, 60, 63, 64, 128};
constexpr int longest_base = 16;

// length = first * second, both up to 16, as near to each other as can be; first 0 where there is none.
constexpr int first_of(std::int64_t length)
{
    if (length >= 2 && length <= longest_base) return 1;
    for (int c : composites)
        if (c == length)
            for (int a = longest_base; a > 1; --a)
                if (length % a == 0 && a * a <= length) return a;
    return 0;
}

// One pass over `columns` columns: N values `in_step` apart, output k at out + k * out_step and output 0 at `first`.
template <class R>
struct pass_call {
    const R* in;
    std::ptrdiff_t in_step;
    R *first, *out;
    std::ptrdiff_t out_step; // steps in reals
    std::int64_t columns;
    const R* twiddles; // for j = 1 .. N-1: (c c) and (s -s) in full vectors; null in a first pass
};

VRN_INLINE vec<double> load_columns(const double* p, std::int64_t) { return vec<double>::loadu(p); }
VRN_INLINE void store_columns(vec<double> v, double* p, std::int64_t) { v.storeu(p); }
VRN_INLINE vec<float> load_columns(const float* p, std::int64_t count)
{
    return count > 1 ? vec<float>::loadu(p) : vec<float>::load2(p);
}
VRN_INLINE void store_columns(vec<float> v, float* p, std::int64_t count)
{
    if (count > 1) v.storeu(p);
    else v.store2(p);
}

template <int N, bool Twiddled, class R>
void pass(const pass_call<R>& call)
{
    using C = together<R>;
    using V = vec<R>;
    constexpr int each = C::lanes;
    const pass_call<R> c = call;
    for (std::int64_t column = 0; column < c.columns; column += each) {
        const std::int64_t have = c.columns - column;
        const std::ptrdiff_t at = 2 * column;
        transform<N, C>(
            [&](auto j) VRN_HERE {
                const C x{load_columns(c.in + at + j * c.in_step, have)};
                if constexpr (!Twiddled || j == 0) return x;
                else {
                    const R* w = c.twiddles + (j - 1) * 2 * V::lanes;
                    return times(x, V::loadu(w), V::loadu(w + V::lanes));
                }
            },
            [&](auto k, C x)
                VRN_HERE { store_columns(x.v, (k == 0 ? c.first : c.out + k * c.out_step) + at, have); });
    }
}

template <bool Twiddled, class R>
void pass_of(int length, const pass_call<R>& c)
{
    [&]<int... I>(std::integer_sequence<int, I...>)
    {
        using kernel = void (*)(const pass_call<R>&);
        static constexpr kernel by_length[] = {pass<I + 2, Twiddled, R>...};
        by_length[length - 2](c);
    }
    (std::make_integer_sequence<int, longest_base - 1>{});
}

std::int64_t rounded(std::int64_t bytes) { return (bytes + batch_alignment - 1) / batch_alignment * batch_alignment; }
char* rounded(char* p)
{
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    return p + (batch_alignment - at % batch_alignment) % batch_alignment;
}

template <class R>
std::int64_t twiddle_bytes(int first, int second)
{
    return rounded(static_cast<std::int64_t>(first) * (second - 1) * 32);
}

} // namespace

int batch_base_index(int length)
{
    switch (length) {
    case 20:
        return 16;
    case 25:
        return 17;
    case 32:
        return 18;
    case 64:
        return 19;
    default:
        return length >= 2 && length <= longest_base ? length - 1 : 0;
    }
}

int batch_kind(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width)
{
    const int first = first_of(length);
    if (first == 0 || in_stride != 1 || width < 1) return 9;
    if (out_stride == 1) return first > 1 ? 4 : 5;
    return out_stride > 1 && out_stride < 33 ? (first > 1 ? 1 : 7) : 9;
}

template <class R>
std::int32_t batch_size(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width,
                        std::int64_t* bytes)
{
    if (batch_kind(length, in_stride, out_stride, width) == 9) return 7;
    const int first = first_of(length), second = static_cast<int>(length / first);
    *bytes = rounded(static_cast<std::int64_t>(sizeof(batch_plan)));
    if (first > 1)
        *bytes +=
            twiddle_bytes<R>(first, second) + rounded(length * width * static_cast<std::int64_t>(2 * sizeof(R)));
    return 0;
}

template <class R>
std::int32_t batch_build(std::int64_t length, std::int64_t in_stride, std::int64_t out_stride, std::int64_t width,
                         void* block, batch_plan** plan_out)
{
    if (batch_kind(length, in_stride, out_stride, width) == 9) return 7;
    const int first = first_of(length), second = static_cast<int>(length / first);
    char* at = rounded(static_cast<char*>(block));
    auto* plan = reinterpret_cast<batch_plan*>(at);
    *plan = {static_cast<std::int32_t>(length), first, second, out_stride, width, nullptr, nullptr};
    if (first > 1) {
        at += rounded(static_cast<std::int64_t>(sizeof(batch_plan)));
        plan->twiddles = at, plan->buffer = at + twiddle_bytes<R>(first, second);
        auto* w = reinterpret_cast<R*>(at);
        constexpr int lanes = vec<R>::lanes;
        for (int k = 0; k < first; ++k)
            for (int j = 1; j < second; ++j, w += 2 * lanes) {
                const root r = table_root(k * j, length);
                for (int l = 0; l < lanes; ++l)
                    w[l] = static_cast<R>(r.cos), w[lanes + l] = static_cast<R>(l % 2 == 0 ? r.sin : -r.sin);
            }
    }
    *plan_out = plan;
    return 0;
}

// The inverse transform is the forward one with outputs 1 to n-1 in reverse: the last pass steps down from the end.
template <class R>
void batch_run(const batch_plan& plan, bool backward, const R* in, R* out)
{
    const std::ptrdiff_t n = plan.length, a = plan.first, b = plan.second, step = 2 * plan.stride;
    if (a == 1) {
        pass_of<false, R>(plan.length, {in, step, out, backward ? out + n * step : out, backward ? -step : step,
                                        plan.width, nullptr});
        return;
    }
    // j = b j1 + j2 and k = k1 + a k2: row k1 of the buffer holds the b values that make outputs k1, k1 + a, ..
    auto* buffer = static_cast<R*>(plan.buffer);
    const std::ptrdiff_t row = 2 * plan.width;
    for (std::ptrdiff_t j = 0; j < b; ++j) {
        R* to = buffer + j * row;
        pass_of<false, R>(plan.first, {in + j * step, b * step, to, to, b * row, plan.width, nullptr});
    }
    const auto* w = static_cast<const R*>(plan.twiddles);
    for (std::ptrdiff_t k = 0; k < a; ++k, w += (b - 1) * 2 * vec<R>::lanes) {
        R* to = backward ? out + (n - k) * step : out + k * step;
        R* first = k == 0 ? out : to;
        pass_of<true, R>(plan.second,
                         {buffer + k * b * row, row, first, to, backward ? -a * step : a * step, plan.width, w});
    }
}

#define BATCH(R)                                                                                                     \
    template std::int32_t batch_size<R>(std::int64_t, std::int64_t, std::int64_t, std::int64_t, std::int64_t*);      \
    template std::int32_t batch_build<R>(std::int64_t, std::int64_t, std::int64_t, std::int64_t, void*,              \
                                         batch_plan**);                                                              \
    template void batch_run<R>(const batch_plan&, bool, const R*, R*);
BATCH(double)
BATCH(float)
#undef BATCH

} // namespace vrn::dft
