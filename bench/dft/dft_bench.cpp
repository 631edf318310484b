// bench/dft/dft_bench.cpp - transforms through the public interface beside FFTW 3 held to SSE2 and planned with
// MEASURE (and, in `best`, as it comes), out of place, one thread, then ours over two threads beside one. Work is 5 N
// log2 N flop, half of it for real data.

#include "bench/dft/fftw.hpp"
#include "bench/support/contest.hpp"

#include "vrn/dft.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;

struct problem {
    std::string name;
    std::vector<std::int64_t> lengths; // the first is the fastest
    bool real = false;
    std::int64_t count = 1;
    bool interleaved = false; // the transforms of a batch
};

template <class R>
R* aligned(std::size_t count)
{
    return static_cast<R*>(std::aligned_alloc(64, (count * sizeof(R) + 127) / 64 * 64));
}

// Elements of one transform on either side.
struct sizes {
    std::int64_t in, out;
    explicit sizes(const problem& p) : in(1), out(1)
    {
        for (std::size_t d = 0; d < p.lengths.size(); ++d) {
            in *= p.lengths[d];
            out *= d == 0 && p.real ? p.lengths[0] / 2 + 1 : p.lengths[d];
        }
    }
};

template <class R>
vrn_dft_handle plan_ours(const problem& p, int threads)
{
    vrn_dft_handle h = nullptr;
    const int rank = static_cast<int>(p.lengths.size());
    const sizes s(p);
    vrn_dft_create(&h, sizeof(R) == 8 ? VRN_DFT_DOUBLE : VRN_DFT_SINGLE, p.real ? VRN_DFT_REAL : VRN_DFT_COMPLEX,
                   rank, p.lengths.data());
    std::vector<std::int64_t> in{0}, out{0};
    std::int64_t a = p.interleaved ? p.count : 1, b = a;
    for (std::size_t d = 0; d < p.lengths.size(); ++d) {
        in.push_back(a), out.push_back(b);
        a *= p.lengths[d];
        b *= d == 0 && p.real ? p.lengths[0] / 2 + 1 : p.lengths[d];
    }
    vrn_dft_set_ints(h, VRN_DFT_INPUT_STRIDES, in.data(), rank + 1);
    vrn_dft_set_ints(h, VRN_DFT_OUTPUT_STRIDES, out.data(), rank + 1);
    vrn_dft_set_int(h, VRN_DFT_TRANSFORMS, p.count);
    vrn_dft_set_int(h, VRN_DFT_INPUT_DISTANCE, p.interleaved ? 1 : s.in);
    vrn_dft_set_int(h, VRN_DFT_OUTPUT_DISTANCE, p.interleaved ? 1 : s.out);
    vrn_dft_set_int(h, VRN_DFT_PLACEMENT, VRN_DFT_NOT_IN_PLACE);
    vrn_dft_set_int(h, VRN_DFT_SPECTRUM_STORAGE, VRN_DFT_COMPLEX_VALUES);
    vrn_dft_set_int(h, VRN_DFT_THREADS, threads);
    return vrn_dft_commit(h) == 0 ? h : nullptr;
}

template <class R>
void row(benchmark::State& state, const problem& p, int against_threads)
{
    const sizes s(p);
    const auto in_reals = static_cast<std::size_t>(s.in * p.count * (p.real ? 1 : 2)),
               out_reals = static_cast<std::size_t>(s.out * p.count * 2);
    R *x = aligned<R>(in_reals), *y = aligned<R>(out_reals);
    using P = fftw<R>;
    using C = typename P::complex;
    std::vector<int> n;
    for (std::size_t d = p.lengths.size(); d-- > 0;) n.push_back(static_cast<int>(p.lengths[d]));
    const int rank = static_cast<int>(n.size()), count = static_cast<int>(p.count),
              stride = p.interleaved ? count : 1;
    const int din = p.interleaved ? 1 : static_cast<int>(s.in), dout = p.interleaved ? 1 : static_cast<int>(s.out);
    const auto plan_of = [&](const P* library) -> typename P::plan {
        if (library == nullptr || against_threads != 0) return nullptr;
        auto* out = reinterpret_cast<C*>(y);
        return p.real ? library->plan_real(rank, n.data(), count, x, nullptr, stride, din, out, nullptr, stride, dout,
                                           FFTW_MEASURE)
                      : library->plan_complex(rank, n.data(), count, reinterpret_cast<C*>(x), nullptr, stride, din,
                                              out, nullptr, stride, dout, FFTW_FORWARD, FFTW_MEASURE);
    };
    const P *held = &P::held(), *unheld = P::unheld();
    const typename P::plan other = plan_of(held), best = plan_of(unheld);
    for (std::size_t i = 0; i < in_reals; ++i) x[i] = static_cast<R>(i % 17) - 8;
    vrn_dft_handle ours = plan_ours<R>(p, against_threads == 0 ? 1 : against_threads),
                   single = against_threads == 0 ? nullptr : plan_ours<R>(p, 1);
    contest race;
    const double total = static_cast<double>(s.in) * static_cast<double>(p.count);
    race.work = (p.real ? 2.5 : 5) * total * std::log2(static_cast<double>(s.in));
    // Turns shorter than a slice of the scheduler, and many: on a shared machine most pairs of turns then go
    // undisturbed. Threads sleep while others have their turn, so theirs are long beside waking up.
    race.seconds = against_threads == 0 ? 0.0004 : 0.02;
    race.passes = race.work > 5e7 || against_threads != 0 ? 9 : 41;
    auto run = [x, y](vrn_dft_handle h) {
        return [h, x, y](long calls) {
            while (calls-- > 0) vrn_dft_forward(h, x, y);
        };
    };
    race.all.push_back({"ours", true, run(ours)});
    const auto run_peer = [](const P* library, typename P::plan plan) {
        return [library, plan](long calls) {
            while (calls-- > 0) library->run(plan);
        };
    };
    if (other != nullptr) race.all.push_back({"FFTW", true, run_peer(held, other)});
    if (best != nullptr) race.all.push_back({"FFTW at its best", false, run_peer(unheld, best)});
    if (single != nullptr) race.all.push_back({"one thread", true, run(single)});
    hold(state, race);
    if (other != nullptr) held->destroy(other);
    if (best != nullptr) unheld->destroy(best);
    vrn_dft_free(&ours);
    vrn_dft_free(&single);
    std::free(x);
    std::free(y);
}

const problem problems[] = {
    {"complex 4", {4}},
    {"complex 16", {16}},
    {"complex 60", {60}},
    {"complex 256", {256}},
    {"complex 1000", {1000}},
    {"complex 65536", {65536}},
    {"complex 1048576", {1 << 20}},
    {"complex 4194304", {1 << 22}},
    {"real 8", {8}, true},
    {"real 15", {15}, true},
    {"real 64", {64}, true},
    {"real 256", {256}, true},
    {"real 1024", {1024}, true},
    {"real 65536", {65536}, true},
    {"rows 64 x 12", {12}, false, 64},
    {"columns 64 x 12", {12}, false, 64, true},
    {"columns 100 x 60", {60}, false, 100, true},
    {"columns 256 x 256", {256}, false, 256, true},
    {"columns 100 x 1000", {1000}, false, 100, true},
    {"real columns 64 x 100", {100}, true, 64, true},
    {"plane 8", {8, 8}},
    {"plane 60", {60, 60}},
    {"plane 256", {256, 256}},
    {"plane 1000", {1000, 1000}},
    {"plane 1024", {1024, 1024}},
    {"real plane 256", {256, 256}, true},
    {"real plane 1000", {1000, 1000}, true},
    {"box 16", {16, 16, 16}},
    {"box 64", {64, 64, 64}},
    {"box 100", {100, 100, 100}},
    {"box 128", {128, 128, 128}},
    {"real box 64", {64, 64, 64}, true},
    {"four 24", {24, 24, 24, 24}},
};

// The least time of one call, over a few passes.
template <class Call>
double least_seconds(Call&& call)
{
    const auto seconds = [&](long calls) {
        const auto start = std::chrono::steady_clock::now();
        while (calls-- > 0) call();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const long calls = 1 + static_cast<long>(1e-3 / (seconds(10) / 10));
    double best = 1e9;
    for (int pass = 0; pass < 15; ++pass) best = std::min(best, seconds(calls) / static_cast<double>(calls));
    return best;
}

// A handle made, set up, committed and freed, beside FFTW's planning without measurements: handles a second, and how
// many computes one costs, both at their least.
void commit_row(benchmark::State& state, std::int64_t n)
{
    double *x = aligned<double>(static_cast<std::size_t>(2 * n)),
           *y = aligned<double>(static_cast<std::size_t>(2 * n));
    std::fill(x, x + 2 * n, 1.0);
    const auto plan = [n] {
        vrn_dft_handle h = nullptr;
        vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 1, &n);
        vrn_dft_set_int(h, VRN_DFT_PLACEMENT, VRN_DFT_NOT_IN_PLACE);
        vrn_dft_set_int(h, VRN_DFT_THREADS, 1);
        vrn_dft_commit(h);
        return h;
    };
    const auto plan_and_free = [plan] {
        vrn_dft_handle h = plan();
        vrn_dft_free(&h);
    };
    contest race;
    race.work = 1e9;
    race.all.push_back({"ours", true, [plan_and_free](long calls) {
                            while (calls-- > 0) plan_and_free();
                        }});
    race.all.push_back(
        {"FFTW", true, [=](long calls) {
             while (calls-- > 0)
                 fftw_destroy_plan(fftw_plan_dft_1d(static_cast<int>(n), reinterpret_cast<fftw_complex*>(x),
                                                    reinterpret_cast<fftw_complex*>(y), FFTW_FORWARD, FFTW_ESTIMATE));
         }});
    hold(state, race);
    vrn_dft_handle h = plan();
    state.counters["computes"] = least_seconds(plan_and_free) / least_seconds([=] { vrn_dft_forward(h, x, y); });
    vrn_dft_free(&h);
    std::free(x);
    std::free(y);
}

} // namespace

int main(int argc, char** argv)
{
    for (const problem& p : problems) {
        benchmark::RegisterBenchmark(("double/" + p.name).c_str(), [&p](benchmark::State& s) {
            row<double>(s, p, 0);
        })->Iterations(1);
        benchmark::RegisterBenchmark(("single/" + p.name).c_str(), [&p](benchmark::State& s) {
            row<float>(s, p, 0);
        })->Iterations(1);
        benchmark::RegisterBenchmark(("threads2/" + p.name).c_str(), [&p](benchmark::State& s) {
            row<double>(s, p, 2);
        })->Iterations(1);
    }
    for (const std::int64_t n :
         {2, 4, 8, 15, 16, 32, 60, 64, 97, 100, 128, 256, 512, 1000, 1009, 1024, 2048, 3000, 4096})
        benchmark::RegisterBenchmark(("commit/complex " + std::to_string(n)).c_str(), [n](benchmark::State& s) {
            commit_row(s, n);
        })->Iterations(1);
    return main_with_head(argc, argv);
}
