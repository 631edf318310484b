// tests/dft/accuracy_test.cpp - our errors beside those of FFTW, in a table: relative, in the 2-norm, in units of
// eps, of forward transforms of noise beside FFTW in long double.

#include "tests/oracle/dft.hpp"
#include "vrn/dft.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace {

using vrn::oracle::wide;

// FFTW in either precision, r2c or complex.
template <class R>
void peer(std::vector<R>& in, std::vector<R>& out, int n, bool real)
{
#define VRN_PEER(F)                                                                                                  \
    const auto plan = real ? F##_plan_dft_r2c_1d(n, in.data(), reinterpret_cast<F##_complex*>(out.data()),           \
                                                 FFTW_ESTIMATE | FFTW_PRESERVE_INPUT)                                \
                           : F##_plan_dft_1d(n, reinterpret_cast<F##_complex*>(in.data()),                           \
                                             reinterpret_cast<F##_complex*>(out.data()), -1, FFTW_ESTIMATE);         \
    F##_execute(plan);                                                                                               \
    F##_destroy_plan(plan);
    if constexpr (std::is_same_v<R, double>) {
        VRN_PEER(fftw)
    } else {
        VRN_PEER(fftwf)
    }
#undef VRN_PEER
}

template <class R>
double ratio(std::int64_t n, bool real)
{
    const auto count = static_cast<std::size_t>(real ? n : 2 * n),
               values = static_cast<std::size_t>(real ? n / 2 + 1 : n);
    std::vector<R> x(count), ours(2 * values), theirs(2 * values);
    long double error[2] = {}, norm = 0;
    std::mt19937 random(static_cast<unsigned>(n));
    std::uniform_real_distribution<double> uniform(-1, 1);
    // Errors of short transforms scatter: the mean of several.
    for (std::int64_t turn = 0; turn < std::max<std::int64_t>(1, 300 / n); ++turn) {
        for (R& v : x) v = static_cast<R>(uniform(random));
        std::vector<wide> input(static_cast<std::size_t>(n));
        for (std::size_t i = 0; i < input.size(); ++i) input[i] = real ? wide(x[i]) : wide(x[2 * i], x[2 * i + 1]);
        const auto want = vrn::oracle::dft(input, -1);
        vrn_dft_handle h = nullptr;
        EXPECT_EQ(vrn_dft_create(&h, std::is_same_v<R, double> ? VRN_DFT_DOUBLE : VRN_DFT_SINGLE,
                                 real ? VRN_DFT_REAL : VRN_DFT_COMPLEX, 1, &n),
                  0);
        vrn_dft_set_int(h, VRN_DFT_PLACEMENT, VRN_DFT_NOT_IN_PLACE);
        if (real) vrn_dft_set_int(h, VRN_DFT_SPECTRUM_STORAGE, VRN_DFT_COMPLEX_VALUES);
        EXPECT_EQ(vrn_dft_commit(h), 0);
        EXPECT_EQ(vrn_dft_forward(h, x.data(), ours.data()), 0);
        vrn_dft_free(&h);
        peer(x, theirs, static_cast<int>(n), real);
        for (std::size_t k = 0; k < values; ++k) {
            error[0] += std::norm(wide(ours[2 * k], ours[2 * k + 1]) - want[k]);
            error[1] += std::norm(wide(theirs[2 * k], theirs[2 * k + 1]) - want[k]);
            norm += std::norm(want[k]);
        }
    }
    double units[2];
    for (int i = 0; i < 2; ++i)
        units[i] =
            static_cast<double>(std::sqrt(error[i] / norm)) / static_cast<double>(std::numeric_limits<R>::epsilon());
    std::printf("%s %s %8ld  %6.3f  %6.3f\n", real ? "real   " : "complex", sizeof(R) == 8 ? "double" : "single",
                static_cast<long>(n), units[0], units[1]);
    // Both exact, or as good as: a sum of two needs no rounding.
    return units[0] < 0.05 && units[1] < 0.05 ? 1 : units[0] / units[1];
}

TEST(DftAccuracy, NotAboveFftw)
{
    std::printf("                          ours    FFTW\n");
    for (const bool real : {false, true})
        for (const bool single : {false, true}) {
            double logs = 0;
            int count = 0;
            for (const std::int64_t n : {2,   3,    4,    5,    7,    8,    9,     12,    13,    15,     16,     30,
                                         32,  60,   64,   91,   97,   100,  128,   211,   256,   298,    302,    360,
                                         512, 1000, 1009, 1024, 4096, 6561, 10000, 65536, 65537, 100000, 1 << 22}) {
                logs += std::log(std::max(single ? ratio<float>(n, real) : ratio<double>(n, real), 1e-3));
                ++count;
            }
            EXPECT_LE(std::exp(logs / count), 1.25)
                << (real ? "real" : "complex") << (single ? " single" : " double");
            std::printf("geometric mean of the ratios %.3f\n", std::exp(logs / count));
        }
}

} // namespace
