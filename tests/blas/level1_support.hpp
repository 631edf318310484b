// tests/blas/level1_support.hpp - vectors with guards, comparison of bits, and the cases that the sweeps run over.
#pragma once

#include "tests/oracle/level1.hpp"
#include "tests/support/backend.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

namespace vrn::test {

using namespace vrn::oracle;

// n elements with a stride, `offset` bytes past a 64-byte boundary, amid bytes that nothing may change: guards on
// both sides and the gaps between elements, where every number is NaN.
template <class E>
class strided {
  public:
    strided(std::int64_t n, std::int64_t inc, int offset, const std::vector<E>& values) : n_(n), inc_(inc)
    {
        const std::int64_t span = n < 1 ? 0 : 1 + (n - 1) * (inc < 0 ? -inc : inc);
        raw_.assign(static_cast<std::size_t>(span) * sizeof(E) + 4 * guard, 0xff);
        const auto at = reinterpret_cast<std::uintptr_t>(raw_.data());
        low_ = raw_.data() + guard + (-at & 63) + offset;
        for (std::int64_t i = 0; i < n; ++i) std::memcpy(place(i), &values[static_cast<std::size_t>(i)], sizeof(E));
        before_ = raw_;
    }
    E* data() { return reinterpret_cast<E*>(low_); }
    E operator[](std::int64_t i) const
    {
        E value;
        std::memcpy(&value, place(i), sizeof(E));
        return value;
    }
    std::vector<E> values() const
    {
        std::vector<E> all;
        for (std::int64_t i = 0; i < n_; ++i) all.push_back((*this)[i]);
        return all;
    }
    bool untouched() const { return raw_ == before_; }
    bool guards_hold() const
    {
        auto now = raw_;
        for (std::int64_t i = 0; i < n_; ++i) {
            const auto at = static_cast<std::size_t>(place(i) - raw_.data());
            std::memcpy(&now[at], &before_[at], sizeof(E));
        }
        return now == before_;
    }

  private:
    static constexpr std::size_t guard = 64;
    unsigned char* place(std::int64_t i) const
    {
        const std::int64_t at = inc_ < 0 ? (i - n_ + 1) * inc_ : i * inc_;
        return low_ + at * static_cast<std::int64_t>(sizeof(E));
    }
    std::int64_t n_, inc_;
    std::vector<unsigned char> raw_, before_;
    unsigned char* low_;
};

// Equal bits; any NaN equals any NaN, since which one survives an addition is the compiler's choice.
template <class R>
bool same(R a, R b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(R)) == 0;
}
template <class R>
bool same(std::complex<R> a, std::complex<R> b)
{
    return same(a.real(), b.real()) && same(a.imag(), b.imag());
}

enum class data { ordinary, special };

template <class R>
R random_real(std::mt19937_64& random, data kind)
{
    using limits = std::numeric_limits<R>;
    static const R special[] = {0, -R(0), limits::denorm_min(), -limits::min() / 2, limits::max(), limits::infinity(),
                                -limits::infinity(), limits::quiet_NaN()};
    if (kind == data::special && random() % 8 == 0) return special[random() % std::size(special)];
    return std::uniform_real_distribution<R>(-2, 2)(random);
}

template <class E>
std::vector<E> random_values(std::int64_t n, unsigned seed, data kind = data::ordinary)
{
    std::mt19937_64 random(seed);
    std::vector<E> v(static_cast<std::size_t>(n < 0 ? 0 : n));
    for (E& e : v) {
        if constexpr (is_complex<E>) {
            const auto re = random_real<part_t<E>>(random, kind);
            e = {re, random_real<part_t<E>>(random, kind)};
        } else {
            e = random_real<E>(random, kind);
        }
    }
    return v;
}

// Around every edge of blocks of 64, 32, 16, 8, 4 and 2 elements behind up to three peeled ones.
inline const std::vector<std::int64_t>& lengths()
{
    static const std::vector<std::int64_t> all = {-1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,  11,  15,  16,  17,  18,
                                                  19, 23, 24, 31, 32, 33, 34, 35, 36, 47, 63, 64,  65,  66,  67,  72,
                                                  79, 95, 96, 97, 99, 111, 127, 128, 129, 131, 191, 192, 259};
    return all;
}

struct stride_pair {
    std::int64_t x, y;
};
inline constexpr stride_pair stride_pairs[] = {{1, 1},  {-1, -1}, {1, -1}, {-1, 1}, {2, 1},  {1, 2},
                                               {2, -3}, {-3, -3}, {0, 1},  {1, 0},  {0, 0},  {2, 0}};

// Byte offsets: every multiple of the real type within 16 bytes, and one place that is not natural. A compiler's
// sanitizer takes the last for a fault of the caller.
template <class E>
std::vector<int> offsets()
{
    const int size = sizeof(part_t<E>);
    std::vector<int> all;
    for (int o = 0; o < 16; o += size) all.push_back(o);
#ifndef __SANITIZE_ADDRESS__
    all.push_back(size / 2);
#endif
    return all;
}

// vrn_blas_s42_ or vrn_blas_s42_x, whichever the name stands under.
template <class F>
F* level1(const std::string& stem)
{
    static void* library = dlopen(VRN_LIBRARY_DIR "/libvrn_s42.so", RTLD_NOW | RTLD_LOCAL);
    const std::string bare = "vrn_blas_s42_" + stem;
    return kernel<F>(library != nullptr && dlsym(library, bare.c_str()) != nullptr ? bare : "vrn_blas_s42_x" + stem);
}

template <class E>
constexpr char letter()
{
    return std::is_same_v<E, float>                 ? 's'
           : std::is_same_v<E, double>              ? 'd'
           : std::is_same_v<E, std::complex<float>> ? 'c'
                                                    : 'z';
}

template <class E, class F>
F* level1_of(const char* routine)
{
    return level1<F>(letter<E>() + std::string(routine));
}

using four_types = ::testing::Types<float, double, std::complex<float>, std::complex<double>>;

// Calls body(n, incx, incy, x offset, y offset, kind of data) for every length, stride and alignment; not every
// stride at every alignment, since other strides do not look at it.
template <class E, class Body>
void sweep_two(Body body)
{
    const auto offs = offsets<E>();
    for (const auto n : lengths())
        for (const auto [incx, incy] : stride_pairs)
            for (const int ox : offs)
                for (const int oy : offs)
                    if (incx * incy == 1 || ox == oy)
                        for (const data kind : {data::ordinary, data::special}) {
                            body(n, incx, incy, ox, oy, kind);
                            if (::testing::Test::HasFailure()) {
                                ADD_FAILURE() << "n " << n << " incx " << incx << " incy " << incy << " offsets " << ox
                                              << ' ' << oy << " special data " << (kind == data::special);
                                return;
                            }
                        }
}

template <class E, class Body>
void sweep_one(Body body, const std::vector<std::int64_t>& more_lengths = {})
{
    auto all = lengths();
    all.insert(all.end(), more_lengths.begin(), more_lengths.end());
    for (const auto n : all)
        for (const std::int64_t inc : {1, -1, 2, -3, 0})
            for (const int offset : offsets<E>())
                for (const data kind : {data::ordinary, data::special}) {
                    body(n, inc, offset, kind);
                    if (::testing::Test::HasFailure()) {
                        ADD_FAILURE() << "n " << n << " inc " << inc << " offset " << offset << " special data "
                                      << (kind == data::special);
                        return;
                    }
                }
}

} // namespace vrn::test
