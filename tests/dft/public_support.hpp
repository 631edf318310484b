// tests/dft/public_support.hpp - one transform through the public interface beside the direct sum, in any layout.
//
// A side of a transform is a list of places: which array, which real of it, and the value that belongs there. What
// stands outside the places is NaN before the call and must be the same NaN after it.
#pragma once

#include "tests/oracle/dft_ranks.hpp"
#include "vrn/dft.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <string>

namespace vrn::test {

struct transform {
    std::string what;
    std::vector<std::int64_t> lengths;
    int domain = VRN_DFT_COMPLEX;
    std::int64_t count = 1;
    int placement = VRN_DFT_IN_PLACE, storage = VRN_DFT_COMPLEX_VALUES, spectrum = VRN_DFT_PACKED,
        format = VRN_DFT_CCS;
    // Offset and strides by side, time first; empty: contiguous, padded where a packed or in-place layout needs it.
    std::vector<std::int64_t> time{}, frequency{};
    std::int64_t time_distance = 0, frequency_distance = 0;
    double forward = 1, backward = 1;
    int threads = 1, workspace = VRN_DFT_WORKSPACE_DEFAULT, user_threads = 1;

    int rank() const { return static_cast<int>(lengths.size()); }
    bool real() const { return domain == VRN_DFT_REAL; }
    bool cce() const { return real() && spectrum == VRN_DFT_COMPLEX_VALUES; }
    bool split() const { return !real() && storage == VRN_DFT_SPLIT; }
    std::int64_t total() const
    {
        return std::accumulate(lengths.begin(), lengths.end(), std::int64_t{1}, std::multiplies<>());
    }
    std::int64_t packed(std::size_t d) const { return format == VRN_DFT_CCS ? 2 * (lengths[d] / 2 + 1) : lengths[d]; }
};

// Contiguous layouts where none are given.
inline transform laid_out(transform t)
{
    const bool inplace = t.placement == VRN_DFT_IN_PLACE;
    const std::int64_t half = t.lengths[0] / 2 + 1;
    // Reals of a row on the time side, elements of a row on the frequency side.
    const std::int64_t f0 = t.cce() ? half : t.real() ? t.packed(0) : t.lengths[0];
    const std::int64_t t0 = t.real() && inplace ? (t.cce() ? 2 * half : f0) : t.lengths[0];
    auto lay = [&](std::vector<std::int64_t>& s, std::int64_t& distance, std::int64_t first, bool packed) {
        if (!s.empty()) return;
        s = {0};
        std::int64_t product = 1;
        for (std::size_t d = 0; d < t.lengths.size(); ++d) {
            s.push_back(product);
            product *= d == 0 ? first : packed ? t.packed(d) : t.lengths[d];
        }
        if (distance == 0) distance = product;
    };
    const bool packed = t.real() && !t.cce();
    lay(t.time, t.time_distance, t0, packed && inplace);
    lay(t.frequency, t.frequency_distance, f0, packed);
    return t;
}

struct place {
    int array;
    std::int64_t index;
    long double value;
};

class sides {
    const transform& t_;

    std::int64_t at(bool time, std::int64_t b, const std::vector<std::int64_t>& position) const
    {
        const auto& s = time ? t_.time : t_.frequency;
        std::int64_t i = s[0] + b * (time ? t_.time_distance : t_.frequency_distance);
        for (std::size_t d = 0; d < position.size(); ++d) i += position[d] * s[d + 1];
        return i;
    }
    // Calls each(position, element) in order, with the first length as given.
    template <class Each>
    void positions(std::int64_t first, Each&& each) const
    {
        auto lengths = t_.lengths;
        lengths[0] = first;
        std::vector<std::int64_t> p(lengths.size(), 0);
        for (;;) {
            std::int64_t element = 0;
            for (std::size_t d = p.size(); d-- > 0;) element = element * t_.lengths[d] + p[d];
            each(p, static_cast<std::size_t>(element));
            std::size_t d = 0;
            while (d < p.size() && ++p[d] == lengths[d]) p[d++] = 0;
            if (d == p.size()) return;
        }
    }
    // One conjugate-even line in the packed format.
    std::vector<long double> pack(const std::vector<oracle::wide>& x) const
    {
        const std::size_t n = x.size();
        const bool even = n % 2 == 0, zeros = t_.format == VRN_DFT_CCS;
        std::vector<long double> p{x[0].real()};
        if (zeros) p.push_back(0);
        if (t_.format == VRN_DFT_PERM && even) p.push_back(x[n / 2].real());
        for (std::size_t k = 1; 2 * k < n; ++k) p.push_back(x[k].real()), p.push_back(x[k].imag());
        if (even && t_.format != VRN_DFT_PERM) p.push_back(x[n / 2].real());
        if (even && zeros) p.push_back(0);
        return p;
    }

  public:
    explicit sides(const transform& t) : t_(t) {}

    void put(std::vector<place>& list, bool time, std::int64_t b, const std::vector<oracle::wide>& x,
             long double scale) const
    {
        if (t_.real() && !time && !t_.cce()) return put_packed(list, b, x, scale);
        const bool halved = t_.cce() && !time, complex = !t_.real() || halved;
        positions(halved ? t_.lengths[0] / 2 + 1 : t_.lengths[0], [&](const auto& p, std::size_t element) {
            const std::int64_t i = at(time, b, p);
            const oracle::wide v = x[element] * scale;
            if (!complex) list.push_back({0, i, v.real()});
            else if (t_.split()) list.push_back({0, i, v.real()}), list.push_back({1, i, v.imag()});
            else list.push_back({0, 2 * i, v.real()}), list.push_back({0, 2 * i + 1, v.imag()});
        });
    }
    void put_packed(std::vector<place>& list, std::int64_t b, const std::vector<oracle::wide>& x,
                    long double scale) const
    {
        const auto n = static_cast<std::size_t>(t_.lengths[0]),
                   m = t_.rank() > 1 ? static_cast<std::size_t>(t_.lengths[1]) : 1;
        for (std::size_t j = 0; j < m; ++j) {
            const auto row = pack({x.begin() + static_cast<std::ptrdiff_t>(j * n),
                                   x.begin() + static_cast<std::ptrdiff_t>((j + 1) * n)});
            for (std::size_t i = 0; i < row.size(); ++i) {
                // The real columns are packed downwards below.
                const bool last =
                    n % 2 == 0 &&
                    i == (t_.format == VRN_DFT_PERM ? 1 : row.size() - (t_.format == VRN_DFT_CCS ? 2 : 1));
                if (t_.rank() > 1 && (i == 0 || last)) continue;
                std::vector<std::int64_t> p{static_cast<std::int64_t>(i)};
                if (t_.rank() > 1) p.push_back(static_cast<std::int64_t>(j));
                list.push_back({0, at(false, b, p), row[i] * scale});
            }
        }
        if (t_.rank() < 2) return;
        for (const std::size_t k : {std::size_t{0}, n / 2}) {
            if (k != 0 && n % 2 != 0) continue;
            std::vector<oracle::wide> column;
            for (std::size_t j = 0; j < m; ++j) column.push_back(x[j * n + k]);
            const auto packed = pack(column);
            const std::int64_t i = k == 0                      ? 0
                                   : t_.format == VRN_DFT_PERM ? 1
                                   : t_.format == VRN_DFT_CCS  ? t_.lengths[0]
                                                               : t_.lengths[0] - 1;
            for (std::size_t j = 0; j < packed.size(); ++j)
                list.push_back({0, at(false, b, {i, static_cast<std::int64_t>(j)}), packed[j] * scale});
        }
    }
};

template <class R>
struct buffers {
    std::vector<R> array[2];
    static R guard()
    {
        R g;
        std::memset(&g, 0xff, sizeof g);
        return g;
    }
    void reserve(const std::vector<place>& list)
    {
        for (const place& p : list)
            if (const auto size = static_cast<std::size_t>(p.index) + 9; array[p.array].size() < size)
                array[p.array].resize(size, guard());
    }
    void write(const std::vector<place>& list)
    {
        for (const place& p : list) array[p.array][static_cast<std::size_t>(p.index)] = static_cast<R>(p.value);
    }
    R* data(int i) { return array[i].empty() ? nullptr : array[i].data(); }
    bool same_bits(const buffers& other) const
    {
        const auto same = [](const std::vector<R>& x, const std::vector<R>& y) {
            return x.size() == y.size() && (x.empty() || std::memcmp(x.data(), y.data(), sizeof(R) * x.size()) == 0);
        };
        return same(array[0], other.array[0]) && same(array[1], other.array[1]);
    }
};

// Sets everything that is not as it was created.
inline void configure(vrn_dft_handle h, const transform& t, bool to_frequency)
{
    auto set = [&](int key, std::int64_t value) {
        EXPECT_EQ(vrn_dft_set_int(h, key, value), 0) << t.what << " key " << key;
    };
    set(VRN_DFT_TRANSFORMS, t.count);
    set(VRN_DFT_PLACEMENT, t.placement);
    set(VRN_DFT_COMPLEX_STORAGE, t.storage);
    set(VRN_DFT_SPECTRUM_STORAGE, t.spectrum);
    set(VRN_DFT_PACKED_FORMAT, t.format);
    set(VRN_DFT_THREADS, t.threads);
    set(VRN_DFT_USER_THREADS, t.user_threads);
    set(VRN_DFT_WORKSPACE, t.workspace);
    EXPECT_EQ(vrn_dft_set_double(h, VRN_DFT_FORWARD_SCALE, t.forward), 0);
    EXPECT_EQ(vrn_dft_set_double(h, VRN_DFT_BACKWARD_SCALE, t.backward), 0);
    const auto &in = to_frequency ? t.time : t.frequency, &out = to_frequency ? t.frequency : t.time;
    EXPECT_EQ(vrn_dft_set_ints(h, VRN_DFT_INPUT_STRIDES, in.data(), t.rank() + 1), 0);
    EXPECT_EQ(vrn_dft_set_ints(h, VRN_DFT_OUTPUT_STRIDES, out.data(), t.rank() + 1), 0);
    set(VRN_DFT_INPUT_DISTANCE, to_frequency ? t.time_distance : t.frequency_distance);
    set(VRN_DFT_OUTPUT_DISTANCE, to_frequency ? t.frequency_distance : t.time_distance);
}

inline vrn_dft_handle configured(const transform& t, int precision, bool to_frequency)
{
    vrn_dft_handle h = nullptr;
    EXPECT_EQ(vrn_dft_create(&h, precision, t.domain, t.rank(), t.lengths.data()), 0) << t.what;
    configure(h, t, to_frequency);
    return h;
}

template <class R>
std::int32_t computed(vrn_dft_handle h, const transform& t, bool to_frequency, buffers<R>& in, buffers<R>& out)
{
    if (t.split())
        return (to_frequency ? vrn_dft_forward_split : vrn_dft_backward_split)(h, in.data(0), in.data(1), out.data(0),
                                                                               out.data(1));
    return (to_frequency ? vrn_dft_forward : vrn_dft_backward)(h, in.data(0), out.data(0));
}

// Values for a configuration, their transforms, and what a compute makes of them.
template <class R>
class trial {
    const transform& t_;
    std::vector<place> lists_[2], back_; // frequency, time; time after both ways

  public:
    explicit trial(const transform& t, unsigned seed = 7) : t_(t)
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> uniform(-1, 1);
        const sides s(t);
        for (std::int64_t b = 0; b < t.count; ++b) {
            std::vector<oracle::wide> x(static_cast<std::size_t>(t.total()));
            for (auto& v : x) {
                const R re = static_cast<R>(uniform(random)), im = static_cast<R>(t.real() ? 0 : uniform(random));
                v = {re, im};
            }
            s.put(lists_[1], true, b, x, 1);
            s.put(back_, true, b, x, static_cast<long double>(t.backward) * static_cast<long double>(t.total()));
            s.put(lists_[0], false, b, oracle::dft(x, t.lengths, -1), 1);
        }
    }
    // The status that the compute returned. Where it is not 0 the result is not looked at, but what surrounds it is.
    std::int32_t run(vrn_dft_handle h, bool forward) const
    {
        auto expected = forward ? lists_[0] : back_;
        if (forward)
            for (auto& p : expected) p.value *= static_cast<long double>(t_.forward);
        const auto& input = forward ? lists_[1] : lists_[0];
        buffers<R> in, out;
        const bool inplace = t_.placement == VRN_DFT_IN_PLACE;
        in.reserve(input);
        (inplace ? in : out).reserve(expected);
        in.write(input);
        const buffers<R> before_in = in, before_out = out;
        const std::int32_t done = computed(h, t_, forward, in, out);

        buffers<R>& result = inplace ? in : out;
        long double error = 0, norm = 0;
        for (const place& p : expected) {
            const long double got = result.array[p.array][static_cast<std::size_t>(p.index)], d = got - p.value;
            error += d * d, norm += p.value * p.value;
        }
        // Rounding errors of a fast transform grow with the logarithm of its length (Gentleman and Sande 1966); short
        // primes and the chirp, whose length is four times as long and more, set the factor.
        const long double bound =
            5 * std::numeric_limits<R>::epsilon() * (2 + std::log2(static_cast<long double>(t_.total())));
        if (done == 0) {
            EXPECT_LE(std::sqrt(error), bound * std::sqrt(norm)) << (forward ? "forward" : "backward");
        }

        // What is no place keeps its bits: of the result, and out of place all of the input.
        buffers<R> mended = result;
        const buffers<R>& before = inplace ? before_in : before_out;
        auto mend = [&](const std::vector<place>& list) {
            for (const place& p : list) {
                const auto i = static_cast<std::size_t>(p.index);
                mended.array[p.array][i] = before.array[p.array][i];
            }
        };
        mend(expected);
        if (inplace) mend(input);
        EXPECT_TRUE(mended.same_bits(before)) << "outside";
        EXPECT_TRUE(inplace || in.same_bits(before_in)) << "input";
        return done;
    }
};

// Both directions of a configuration; `plan` receives the forward plan's line.
template <class R>
void check_transform(const transform& given, std::string* plan = nullptr)
{
    const transform t = laid_out(given);
    SCOPED_TRACE(t.what + (sizeof(R) == 8 ? " double" : " single"));
    const trial<R> values(t);
    for (const bool forward : {true, false}) {
        vrn_dft_handle h = configured(t, sizeof(R) == 8 ? VRN_DFT_DOUBLE : VRN_DFT_SINGLE, forward);
        const std::int32_t status = vrn_dft_commit(h);
        ASSERT_EQ(status, 0) << vrn_dft_message(status);
        if (plan != nullptr && forward) {
            char line[400];
            ASSERT_EQ(vrn_dft_describe(h, line, sizeof line), 0);
            *plan = line;
        }
        const std::int32_t done = values.run(h, forward);
        EXPECT_EQ(done, 0) << vrn_dft_message(done);
        EXPECT_EQ(vrn_dft_free(&h), 0);
    }
}

} // namespace vrn::test
