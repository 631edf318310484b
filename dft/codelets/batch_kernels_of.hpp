// dft/codelets/batch_kernels_of.hpp - the batch kernels of one type (VRN_REAL), their tables and the loop over blocks
// of columns; compiled once for each.

#include "dft/codelets/batch_kernels.hpp"
#include "dft/codelets/butterfly.hpp"

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace vrn::dft {
namespace {

using R = VRN_REAL;
using C = together<R>;

// ---- kernels ----

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

// Rows j * step of a pass by the addresses that the processor forms for nothing: 1, 3, 5 and 7 steps are in
// registers, even multiples are scaled ones, and rows from 8 on have a base of their own. Left alone, g++ keeps a
// pointer a row and moves half of them in memory.
template <int N, class P>
struct rows {
    std::int64_t one, three, five, seven; // bytes
    char *base, *upper;

    VRN_INLINE rows(P p, std::int64_t step)
        : one(step * static_cast<std::int64_t>(sizeof(R))), three(3 * one), five(5 * one), seven(7 * one)
    {
        base = reinterpret_cast<char*>(const_cast<R*>(p));
        upper = base + 8 * one;
    }
    template <int J>
    VRN_INLINE P at() const
    {
        char* p = J >= 8 ? upper : base;
        constexpr int j = J % 8;
        if constexpr (j == 1 || j == 2 || j == 4) p += j * one;
        else if constexpr (j == 3 || j == 6) p += j / 3 * three;
        else if constexpr (j == 5) p += five;
        else if constexpr (j == 7) p += seven;
        return reinterpret_cast<P>(p);
    }
    // The next vector of columns. The steps look as if they changed, or their multiples would take registers too.
    VRN_INLINE void next(std::int64_t distance)
    {
        base += distance;
        if constexpr (N > 8) upper += distance;
        asm("" : "+r"(base), "+r"(one));
        if constexpr (N > 8) asm("" : "+r"(upper));
        if constexpr (N > 3) asm("" : "+r"(three));
        if constexpr (N > 5) asm("" : "+r"(five));
        if constexpr (N > 7) asm("" : "+r"(seven));
    }
};

template <int N, bool One>
[[gnu::noinline]] void plain(const R* in, std::int64_t in_step, std::int64_t in_distance, R* first, R* out,
                             std::int64_t step, std::int64_t out_distance, std::int64_t columns)
{
    rows<N, const R*> from(in, in_step);
    rows<N, R*> to(out, step);
    in_distance *= static_cast<std::int64_t>(sizeof(R));
    out_distance *= static_cast<std::int64_t>(sizeof(R));
    for (std::int64_t left = 2 * columns; left > 0; left -= batch_lanes<R>) {
        transform<N, C>([&](auto j) VRN_HERE { return C{load_columns<One>(from.template at<decltype(j)::value>())}; },
                        [&](auto k, C x) VRN_HERE {
                            if constexpr (k == 0) store_columns<One>(x.v, first);
                            else store_columns<One>(x.v, to.template at<decltype(k)::value>());
                        });
        from.next(in_distance), to.next(out_distance);
        first = reinterpret_cast<R*>(reinterpret_cast<char*>(first) + out_distance);
    }
}

template <int N, bool One>
[[gnu::noinline]] void twiddled(const R* in, std::int64_t in_step, R* out, std::int64_t step, std::int64_t columns,
                                const R* twiddles)
{
    rows<N, const R*> from(in, in_step);
    rows<N, R*> to(out, step);
    for (std::int64_t left = 2 * columns; left > 0; left -= batch_lanes<R>) {
        transform<N, C>([&](auto j) VRN_HERE { return C{load_columns<One>(from.template at<decltype(j)::value>())}; },
                        [&](auto k, C x) VRN_HERE {
                            constexpr int index = decltype(k)::value;
                            if constexpr (index > 0) {
                                const R* w = twiddles + 2 * batch_lanes<R> * (index - 1);
                                x = times(x, vec<R>::load(w), vec<R>::load(w + batch_lanes<R>));
                            }
                            store_columns<One>(x.v, to.template at<index>());
                        });
        from.next(16), to.next(16);
    }
}

// Contiguous rows of singles, two to a vector: in_distance and out_distance lie between those two.
template <int N>
[[gnu::noinline]] void row_pairs(const float* in, std::int64_t, std::int64_t in_distance, float* first, float* out,
                                 std::int64_t step, std::int64_t out_distance, std::int64_t count)
{
    rows<N, float*> to(out, step);
    for (; count > 0; count -= 2, in += 2 * in_distance, first += 2 * out_distance) {
        transform<N, together<float>>(
            [&](auto j)
                VRN_HERE { return together<float>{vec<float>::halves(in + 2 * j, in + in_distance + 2 * j)}; },
            [&](auto k, together<float> x) VRN_HERE {
                float* p = first;
                if constexpr (k != 0) p = to.template at<decltype(k)::value>();
                x.v.store2(p);
                _mm_storeh_pi(reinterpret_cast<__m64*>(p + out_distance), x.v.v);
            });
        to.next(2 * out_distance * static_cast<std::int64_t>(sizeof(float)));
    }
}

// Doubles have theirs among the columns.
template <int N>
constexpr plain_pass<double>* rows_of_type(const double*)
{
    return nullptr;
}
template <int N>
constexpr plain_pass<float>* rows_of_type(const float*)
{
    return row_pairs<N>;
}
template <bool One, int... I>
constexpr pass_pair<R> pair_of(std::integer_sequence<int, I...>)
{
    return {{nullptr, nullptr, plain<I + 2, One>...}, {nullptr, nullptr, twiddled<I + 2, One>...}};
}
template <int... I>
constexpr batch_tables<R> tables_of(std::integer_sequence<int, I...> all)
{
    return {pair_of<false>(all),
            pair_of<std::is_same_v<R, float>>(all),
            {nullptr, nullptr, rows_of_type<I + 2>(static_cast<const R*>(nullptr))...}};
}
using all_bases = std::make_integer_sequence<int, longest_base - 1>;

// ---- twiddles of short lengths ----

template <int N1, int N2>
struct alignas(64) short_twiddles {
    R value[twiddle_reals<R>(N1, N2)];
    constexpr short_twiddles() : value()
    {
        put_twiddles(value, N1, N2, [](std::int64_t k, std::int64_t n) { return constant_root(k, n); });
    }
};
template <int N1, int N2>
inline constexpr short_twiddles<N1, N2> twiddles_of{};

template <int N>
constexpr passes<R> short_passes()
{
    constexpr base_pair b = two_bases(N);
    if constexpr (N < 9 || b.n1 == 0 || (N > 64 && (N & (N - 1)) != 0)) return {0, 0, nullptr};
    else return {b.n1, b.n2, twiddles_of<static_cast<int>(b.n1), static_cast<int>(b.n2)>.value};
}
template <int... N>
constexpr std::array<passes<R>, sizeof...(N)> ways_of(std::integer_sequence<int, N...>)
{
    return {short_passes<N>()...};
}
constexpr auto short_ways = ways_of(std::make_integer_sequence<int, 65>{});

// Rows this far apart are in another page each: what fetches lines ahead by itself stops at a page's end.
inline constexpr std::int64_t pages_apart = 2048;
void ask_for(const R* p, std::int64_t rows, std::int64_t step, std::int64_t columns)
{
    for (std::int64_t j = 0; j < rows; ++j, p += step)
        for (std::int64_t c = 0; c < 2 * columns; c += 64 / static_cast<std::int64_t>(sizeof(R)))
            __builtin_prefetch(p + c);
}

// Rows a multiple of a page apart meet in one set of the first-level cache: a pass over more of them than it holds
// would lose each line before the next column of it comes, so such rows are copied aside first, line by line, and
// back.
inline constexpr std::int64_t widest_aside = 16;
bool crowded(std::int64_t rows, std::int64_t step)
{
    return rows > most_lines_of_a_set && step * static_cast<std::int64_t>(sizeof(R)) % 4096 == 0;
}
void copy_rows(const R* from, std::int64_t from_step, R* to, std::int64_t to_step, std::int64_t count,
               std::int64_t reals)
{
    constexpr std::int64_t lanes = batch_lanes<R>;
    for (std::int64_t j = 0; j < count; ++j, from += from_step, to += to_step) {
        std::int64_t c = 0;
        for (; c + lanes <= reals; c += lanes) vec<R>::loadu(from + c).storeu(to + c);
        for (; c < reals; ++c) to[c] = from[c];
    }
}

// One block, as wide as the work's rows.
void run_block(const passes<R>& p, const pass_pair<R>& k, bool forward, const R* in, std::int64_t in_stride, R* out,
               std::int64_t stride, std::int64_t columns, R* work)
{
    constexpr std::int64_t lanes = batch_lanes<R>;
    const std::int64_t n1 = p.n1, n2 = p.n2, n = n1 * n2;
    R* const end = out + n * stride;
    if (n2 == 1)
        return forward ? k.plain[n1](in, in_stride, lanes, out, out, stride, lanes, columns)
                       : k.plain[n1](in, in_stride, lanes, out, end, -stride, lanes, columns);
    alignas(64) R aside[longest_base * 2 * widest_aside];
    const std::int64_t row = 2 * columns;
    const auto far = [](std::int64_t s) {
        return (s < 0 ? -s : s) * static_cast<std::int64_t>(sizeof(R)) >= pages_apart;
    };
    const bool far_in = far(in_stride), far_out = far(stride);
    const bool copied_in = crowded(n1, n2 * in_stride), copied_out = crowded(n2, n1 * stride);
    const R* w = p.twiddles;
    for (std::int64_t j = 0; j < n2; ++j, in += in_stride) {
        if (far_in && j + 1 < n2) ask_for(in + in_stride, n1, n2 * in_stride, columns);
        if (copied_in) copy_rows(in, n2 * in_stride, aside, row, n1, row);
        const R* from = copied_in ? aside : in;
        const std::int64_t step = copied_in ? row : n2 * in_stride;
        R* to = work + j * row;
        if (j == 0) {
            k.plain[n1](from, step, lanes, to, to, n2 * row, lanes, columns);
        } else {
            k.twiddled[n1](from, step, to, n2 * row, columns, w);
            w += 2 * batch_lanes<R> * (n1 - 1);
        }
    }
    const std::int64_t step = forward ? stride : -stride;
    for (std::int64_t k1 = 0; k1 < n1; ++k1) {
        const R* from = work + k1 * n2 * row;
        R* to = (forward ? out : end) + k1 * step;
        R* first = k1 == 0 ? out : to;
        if (far_out && k1 + 1 < n1) ask_for(to + step, n2, n1 * step, columns);
        if (copied_out) {
            k.plain[n2](from, row, lanes, aside, aside, row, lanes, columns);
            copy_rows(aside, 0, first, 0, 1, row);
            copy_rows(aside + row, row, to + n1 * step, n1 * step, n2 - 1, row);
        } else {
            k.plain[n2](from, row, lanes, first, to, n1 * step, lanes, columns);
        }
    }
}

} // namespace

#define VRN_PASTE(a, b)  a##b
#define VRN_SUFFIX(a, b) VRN_PASTE(a, b)

const batch_tables<R> VRN_SUFFIX(batch_tables_, VRN_LETTER) = tables_of(all_bases{});

template <>
passes<R> two_passes<R>(std::int64_t n)
{
    if (n < static_cast<std::int64_t>(short_ways.size())) return short_ways[static_cast<std::size_t>(n)];
    return n == 128 ? short_passes<128>() : n == 256 ? short_passes<256>() : passes<R>{0, 0, nullptr};
}

template <>
void run_columns<R>(const passes<R>& p, bool forward, const R* in, std::int64_t in_stride, R* out,
                    std::int64_t out_stride, std::int64_t columns, std::int64_t width, R* work, R scale)
{
    const auto& k = batch_kernels<R>();
    constexpr std::int64_t each = batch_lanes<R> / 2;
    if (p.n2 > 1 && p.n1 > most_lines_of_a_set) width = std::min(width, widest_aside);
    for (std::int64_t done = 0; done < columns;) {
        std::int64_t now = std::min(columns - done, width);
        const bool one = now < each;
        if (!one) now -= now % each;
        R* to = out + 2 * done;
        run_block(p, one ? k.one : k.columns, forward, in + 2 * done, in_stride, to, out_stride, now, work);
        if (scale != R{1})
            for (std::int64_t j = 0; j < p.n1 * p.n2; ++j)
                for (std::int64_t c = 0; c < 2 * now; ++c) to[j * out_stride + c] *= scale;
        done += now;
    }
}

} // namespace vrn::dft
