// dft/primitive/run_of.hpp - runs the stages of a plan for one type (VRN_REAL); the kernels are instantiated here.
//
// Depth first: a stage on more values than `limit` has its parts transformed one after the other before it runs, so
// that they are still in the cache; a part at or below it takes all its passes in turn. Powers of 2 read all of the
// input in a first pass of its own: their parts would each touch every line of it.

#include "dft/primitive/plan.hpp"

#include <algorithm>

namespace vrn::dft {
namespace {

using R = VRN_REAL;

template <layout L>
using stage_kernel = void (*)(const stage_call<R, L>&);
template <layout L>
using leaf_kernel = void (*)(const leaf_call<R, L>&);

// Kernels by radix; the first entry serves every radix without its own. Powers of 2 have but 4 and 8.
inline constexpr int kernel_room = 17;
template <layout L, bool Last, bool Exchange>
constexpr stage_kernel<L> stage_of(int radix)
{
    if constexpr (L == layout::blocked)
        return radix == 4 ? stage_blocked<4, Last, Exchange, R> : stage_blocked<8, Last, Exchange, R>;
    else switch (radix) {
        case 2:
            return stage<2, Last, Exchange, R>;
        case 3:
            return stage<3, Last, Exchange, R>;
        case 4:
            return stage<4, Last, Exchange, R>;
        case 5:
            return stage<5, Last, Exchange, R>;
        case 7:
            return stage<7, Last, Exchange, R>;
        case 11:
            return stage<11, Last, Exchange, R>;
        case 13:
            return stage<13, Last, Exchange, R>;
        default:
            return stage<0, Last, Exchange, R>;
        }
}
template <bool Exchange>
constexpr leaf_kernel<layout::planar> leaf_of(int radix)
{
    switch (radix) {
    case 2:
        return leaf<2, Exchange, R>;
    case 3:
        return leaf<3, Exchange, R>;
    case 4:
        return leaf<4, Exchange, R>;
    case 5:
        return leaf<5, Exchange, R>;
    case 6:
        return leaf<6, Exchange, R>;
    case 7:
        return leaf<7, Exchange, R>;
    case 8:
        return leaf<8, Exchange, R>;
    case 11:
        return leaf<11, Exchange, R>;
    case 13:
        return leaf<13, Exchange, R>;
    case 16:
        return leaf<16, Exchange, R>;
    default:
        return leaf<0, Exchange, R>;
    }
}

prime_roots<R> roots_of(const stage_record& s)
{
    return s.prime_table == nullptr ? prime_roots<R>{} : prime_roots_at<R>(s.prime_table, s.radix);
}

template <layout L, bool Inverse>
struct runner {
    const stage_record* stages;
    int last;
    const std::int32_t* permutation;
    int limit;
    const R* in;
    R* out;
    field<R, L> data;

    void run() const
    {
        if constexpr (L == layout::blocked) {
            const stage_record& s = stages[last];
            const bool aligned = reinterpret_cast<std::uintptr_t>(in) % 16 == 0;
            const auto kernel = aligned ? leaf_blocked<8, Inverse, true, R> : leaf_blocked<8, Inverse, false, R>;
            kernel({in, s.product, permutation, data, s.product, {}, stages[0].radix});
        }
        run(0, {0, 1, 0});
    }
    // Stretches of the data that go through the same passes together.
    struct stretches {
        std::int32_t begin, count, distance;
    };
    // Passes s .. last on stretches of radix * remaining values of stage s. The outermost parts go `batching` at a
    // time: neighbours of the input, they share its lines.
    void run(int s, stretches at) const
    {
        const stage_record& top = stages[s];
        const std::int32_t size = top.radix * top.remaining;
        const auto each = [at](auto&& pass) {
            for (std::int32_t i = 0; i < at.count; ++i) pass(at.begin + i * at.distance);
        };
        if (s == last || size <= limit) {
            each([&](std::int32_t begin) { leaves(begin, size); });
            each([&](std::int32_t begin) {
                for (int t = last - 1; t >= s; --t) combine(t, begin, size);
            });
            return;
        }
        const std::int32_t together = s == 0 ? std::max(top.batching, 1) : 1;
        for (std::int32_t i = 0; i < top.radix; i += together) {
            const std::int32_t begin = at.begin + i * top.remaining;
            if (s == 0) run(1, {begin, std::min(together, top.radix - i), top.remaining});
            else run(s + 1, {begin, at.count, at.distance});
        }
        each([&](std::int32_t begin) { combine(s, begin, size); });
    }
    void leaves(std::int32_t begin, std::int32_t size) const
    {
        const stage_record& s = stages[last];
        if constexpr (L == layout::planar)
            leaf_of<Inverse>(s.radix)(
                {in, s.product, permutation + begin / s.radix, data.at(begin), size / s.radix, roots_of(s), s.radix});
    }
    void combine(int t, std::int32_t begin, std::int32_t size) const
    {
        const stage_record& s = stages[t];
        // Divisions cost short lengths some percent of their time.
        const auto block = static_cast<std::uint32_t>(s.radix * s.remaining);
        const std::int32_t count = L == layout::blocked ? size >> std::countr_zero(block)
                                   : t == 0             ? 1
                                                        : size / static_cast<std::int32_t>(block);
        const stage_call<R, L> call{data.at(begin), s.remaining, count, static_cast<const R*>(s.twiddles),
                                    roots_of(s),    s.radix,     out};
        if (t == 0) stage_of<L, true, Inverse>(s.radix)(call);
        else stage_of<L, false, false>(s.radix)(call);
    }
};

} // namespace

template <class T, layout L>
void run_stages(const stage_record* stages, int last, const std::int32_t* permutation, int limit, direction d,
                const T* in, T* out, T* work)
{
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(stages[0].radix) * stages[0].remaining;
    // Blocks lie where their interleaved values will: apart from `in`, the output holds them from the first pass on,
    // and a first-level cache has one array less to hold.
    const bool in_output = L == layout::blocked && in != out && reinterpret_cast<std::uintptr_t>(out) % 16 == 0;
    const field<R, L> data{in_output ? out : work, n};
    if (d == direction::forward) runner<L, false>{stages, last, permutation, limit, in, out, data}.run();
    else runner<L, true>{stages, last, permutation, limit, in, out, data}.run();
}
template void run_stages<R, layout::planar>(const stage_record*, int, const std::int32_t*, int, direction, const R*,
                                            R*, R*);
template void run_stages<R, layout::blocked>(const stage_record*, int, const std::int32_t*, int, direction, const R*,
                                             R*, R*);

} // namespace vrn::dft
