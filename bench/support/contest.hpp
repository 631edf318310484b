// bench/support/contest.hpp - ours and the peers in turn, in one process.
//
// The machine is shared and has slow phases, so a time alone says little. Every pass runs each contestant for
// about the same short while, one after the other; figures are medians over the passes, and the ratio is the
// median of the ratios within a pass.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace vrn::bench {

struct contestant {
    std::string name;
    bool sse;
    std::function<void(long calls)> run; // the loop stands inside, so that the indirect call does not count
};

// Runs the contest and sets the counters of `state`:
//   ours, peer    work per second (in units of 1e9) of ours and of the best SSE peer
//   ratio         ours to that peer, ratio_lo and ratio_hi its quartiles over the passes
//   best          the fastest peer of any instruction level
//   peak          share of `peak_per_second` that ours reaches, where one is given: a contestant whose work per
//                 call is known and that runs in the same passes (the SSE peak)
// The label names the best SSE peer. `work` is flop, or bytes, of one call.
struct contest {
    double work = 0;
    std::vector<contestant> all; // the first is ours
    contestant peak{};
    double peak_work = 0;
    int passes = 9;
    double seconds = 0.003; // of one contestant in one pass
};
void hold(benchmark::State& state, const contest& c);

// One turn of independent multiply and add chains that keep both ports busy: the most that 16-byte vectors can
// do. `calls` turns; each is sse_peak_flop<T>() flop.
template <class T>
void sse_peak(long calls);
template <class T>
double sse_peak_flop();

// Prints machine, compiler, the SSE peak and the bandwidths of memory ahead of the table, and runs the
// benchmarks with one counter a column.
int main_with_head(int argc, char** argv);

} // namespace vrn::bench
