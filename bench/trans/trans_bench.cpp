// bench/trans/trans_bench.cpp - transposition out of place and in place beside OpenBLAS, Eigen where it is
// installed, and a blocked loop; the column `peak` is the share of a memory copy of the same matrix. Work counts
// every element once read and once written, so rates are GB/s.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "vrn/service.h"
#include "vrn/trans.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#if __has_include(<eigen3/Eigen/Core>)
#include <eigen3/Eigen/Core>
#define HAVE_EIGEN 1
#else
#define HAVE_EIGEN 0
#endif

namespace {

using namespace vrn::bench;

constexpr std::size_t block = 32;

void blocked_copy(std::size_t n, const double* a, double* b)
{
    for (std::size_t i = 0; i < n; i += block)
        for (std::size_t j = 0; j < n; j += block)
            for (std::size_t r = i; r < std::min(i + block, n); ++r)
                for (std::size_t c = j; c < std::min(j + block, n); ++c) b[c * n + r] = a[r * n + c];
}

void blocked_swap(std::size_t n, double* a)
{
    for (std::size_t i = 0; i < n; i += block)
        for (std::size_t j = 0; j <= i; j += block)
            for (std::size_t r = i; r < std::min(i + block, n); ++r)
                for (std::size_t c = j; c < std::min({j + block, n, r}); ++c) std::swap(a[r * n + c], a[c * n + r]);
}

using openblas_copy = void(const char*, const char*, const int*, const int*, const double*, const double*, const int*,
                           double*, const int*);
using openblas_swap = void(const char*, const char*, const int*, const int*, const double*, double*, const int*,
                           const int*);

void row(benchmark::State& state, std::size_t n, bool in_place)
{
    std::vector<double> a(n * n, 1), b(n * n, 2);
    const int order = static_cast<int>(n);
    const double one = 1;
    contest race;
    race.work = 16.0 * static_cast<double>(n) * static_cast<double>(n);
    // Small matrices in turns shorter than a slice of the scheduler, and many; large ones have to warm the caches in
    // theirs.
    if (n <= 300) race.seconds = 0.0004, race.passes = 41;
    else race.passes = 15;
    const auto enter = [&](const std::string& name, auto call) {
        race.all.push_back({name, true, [call](long calls) {
                                while (calls-- > 0) call();
                            }});
    };
    if (in_place) {
        enter("vrn", [&] { vrn_trans_dimatcopy('R', 'T', n, n, 1, a.data(), n, n); });
        enter("loop", [&] { blocked_swap(n, a.data()); });
    } else {
        enter("vrn", [&] { vrn_trans_domatcopy('R', 'T', n, n, 1, a.data(), n, b.data(), n); });
        enter("loop", [&] { blocked_copy(n, a.data(), b.data()); });
    }
    for (const peer& p : peers()) {
        if (auto* f = p.find<openblas_copy>("domatcopy_"); f && !in_place)
            enter(p.name, [&, f] { f("C", "T", &order, &order, &one, a.data(), &order, b.data(), &order); });
        if (auto* f = p.find<openblas_swap>("dimatcopy_"); f && in_place)
            enter(p.name, [&, f] { f("C", "T", &order, &order, &one, a.data(), &order, &order); });
    }
#if HAVE_EIGEN
    using map = Eigen::Map<Eigen::MatrixXd>;
    const auto side = static_cast<Eigen::Index>(n);
    if (in_place) enter("Eigen", [&] { map(a.data(), side, side).transposeInPlace(); });
    else enter("Eigen", [&] { map(b.data(), side, side).noalias() = map(a.data(), side, side).transpose(); });
#endif
    race.peak = {"copy", true, [&](long calls) {
                     while (calls-- > 0) std::memcpy(b.data(), a.data(), n * n * sizeof(double));
                 }};
    race.peak_work = race.work;
    hold(state, race);
}

} // namespace

int main(int argc, char** argv)
{
    vrn_set_num_threads(1);
    for (const bool in_place : {false, true})
        for (const std::size_t n : {8, 16, 32, 64, 100, 200, 300, 500, 1000, 1024, 2000, 2048, 4000, 4096})
            benchmark::RegisterBenchmark(
                (std::string(in_place ? "dimatcopy/" : "domatcopy/") + std::to_string(n)).c_str(), row, n, in_place)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
    return main_with_head(argc, argv);
}
