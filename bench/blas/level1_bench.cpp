// bench/blas/level1_bench.cpp - level 1 through the public entries beside the peers.
// Rows: routine / length; GB/s of the bytes that have to move. --benchmark_filter takes a part of the table.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "vrn/blas.h"
#include "vrn/service.h"

#include <algorithm>
#include <complex>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace vrn::bench;

// Arguments of a call, whatever its types: room for any scalar, and vectors of whatever elements.
struct operands {
    std::int64_t n, one = 1;
    int n32, one32 = 1;
    alignas(16) double alpha[2], beta[2], result[2];
    std::vector<double> x, y; // two doubles an element at most

    template <class R>
    operands(std::int64_t length, R) : n(length), n32(static_cast<int>(length)), x(2 * length + 4), y(2 * length + 4)
    {
        std::mt19937_64 random(1);
        std::uniform_real_distribution<R> in(-1, 1);
        for (auto* v : {&x, &y}) {
            auto* r = reinterpret_cast<R*>(v->data());
            for (std::int64_t i = 0; i < 2 * length; ++i) r[i] = in(random);
        }
        // Repeated in place these neither grow nor die out: axpy turns back and forth by its peers' equal number
        // of calls, rotations turn by one radian.
        const R a[2] = {R(1e-3), R(-1e-3)}, c = R(0.6), s[2] = {R(0.8), R(0)};
        std::copy(a, a + 2, reinterpret_cast<R*>(alpha));
        (void)c, (void)s;
    }
};

} // namespace
