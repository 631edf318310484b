#include "bench/support/contest.hpp"

#include "bench/support/peers.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <nmmintrin.h>

namespace vrn::bench {
namespace {

double seconds_of(const contestant& c, long calls)
{
    const auto start = std::chrono::steady_clock::now();
    c.run(calls);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// How many calls fill the time of one pass. The first call, which may load a library, does not count.
long calibrate(const contestant& c, double seconds)
{
    c.run(1);
    long calls = 1;
    for (;;) {
        const double t = seconds_of(c, calls);
        if (t >= seconds / 4) return std::max(1L, static_cast<long>(static_cast<double>(calls) * seconds / t));
        calls *= 4;
    }
}

double quantile(std::vector<double> v, double q)
{
    std::sort(v.begin(), v.end());
    return v[static_cast<std::size_t>(q * static_cast<double>(v.size() - 1) + 0.5)];
}

} // namespace

void hold(benchmark::State& state, const contest& c)
{
    std::vector<contestant> all = c.all;
    if (c.peak.run) all.push_back(c.peak);
    for ([[maybe_unused]] auto _ : state) {
        std::vector<long> calls;
        for (const auto& one : all) calls.push_back(calibrate(one, c.seconds));
        std::vector<std::vector<double>> times(all.size());
        for (int pass = 0; pass < c.passes; ++pass)
            for (std::size_t i = 0; i < all.size(); ++i)
                times[i].push_back(seconds_of(all[i], calls[i]) / static_cast<double>(calls[i]));

        const double ours = quantile(times[0], 0.5);
        std::size_t best_sse = 0, best = 0;
        const auto faster = [&](std::size_t i, std::size_t j) {
            return j == 0 || quantile(times[i], 0.5) < quantile(times[j], 0.5);
        };
        for (std::size_t i = 1; i < c.all.size(); ++i) {
            if (all[i].sse && faster(i, best_sse)) best_sse = i;
            if (faster(i, best)) best = i;
        }
        state.SetIterationTime(ours);
        state.counters["ours"] = c.work / ours * 1e-9;
        if (best_sse != 0) {
            std::vector<double> ratios;
            for (int pass = 0; pass < c.passes; ++pass)
                ratios.push_back(times[best_sse][static_cast<std::size_t>(pass)] /
                                 times[0][static_cast<std::size_t>(pass)]);
            state.counters["peer"] = c.work / quantile(times[best_sse], 0.5) * 1e-9;
            state.counters["ratio"] = quantile(ratios, 0.5);
            state.counters["ratio_lo"] = quantile(ratios, 0.25);
            state.counters["ratio_hi"] = quantile(ratios, 0.75);
            state.counters["best"] = c.work / quantile(times[best], 0.5) * 1e-9;
            state.SetLabel(all[best_sse].name);
        }
        if (c.peak.run) {
            const double peak = c.peak_work / quantile(times.back(), 0.5);
            state.counters["peak"] = c.work / ours / peak;
        }
    }
}

// Sixteen chains, eight of each kind: latency 4 at two a cycle. Ones stay ones and zeros zeros.
template <class T>
void sse_peak(long calls)
{
    static constexpr long turns = 2000;
#define STEP(op, r)   op " %%xmm" #r ", %%xmm" #r "\n\t"
#define PAIR(t, r, q) STEP("mul" t, r) STEP("add" t, q)
#define TURN(t)                                                                                                      \
    PAIR(t, 0, 8)                                                                                                    \
    PAIR(t, 1, 9) PAIR(t, 2, 10) PAIR(t, 3, 11) PAIR(t, 4, 12) PAIR(t, 5, 13) PAIR(t, 6, 14) PAIR(t, 7, 15)
#define ZERO(r) "xorps %%xmm" #r ", %%xmm" #r "\n\t"
    for (long call = 0; call < calls; ++call) {
        long n = turns / 4;
        asm volatile(ZERO(0) ZERO(1) ZERO(2) ZERO(3) ZERO(4) ZERO(5) ZERO(6) ZERO(7) ZERO(8) ZERO(9) ZERO(10) ZERO(11)
                         ZERO(12) ZERO(13) ZERO(14) ZERO(15)::
                             : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                               "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
        if constexpr (sizeof(T) == 8)
            asm volatile("1:\n\t" TURN("pd") TURN("pd") TURN("pd") TURN("pd") "dec %0\n\tjnz 1b" : "+r"(n)::"cc");
        else asm volatile("1:\n\t" TURN("ps") TURN("ps") TURN("ps") TURN("ps") "dec %0\n\tjnz 1b" : "+r"(n)::"cc");
    }
#undef ZERO
#undef TURN
#undef PAIR
#undef STEP
}
template void sse_peak<float>(long);
template void sse_peak<double>(long);

template <class T>
double sse_peak_flop()
{
    return 2000.0 * 16.0 * 16.0 / sizeof(T);
}
template double sse_peak_flop<float>();
template double sse_peak_flop<double>();

namespace {

template <class T>
double peak_rate()
{
    double best = 0;
    for (int pass = 0; pass < 20; ++pass)
        best = std::max(best, sse_peak_flop<T>() * 100 / seconds_of({"", true, sse_peak<T>}, 100) * 1e-9);
    return best;
}

// Bytes per second read by four chains of 16-byte sums.
double read_rate(std::size_t bytes, int turns)
{
    const auto data = std::make_unique<double[]>(bytes / sizeof(double));
    const auto pass = [&](long calls) {
        for (long call = 0; call < calls; ++call) {
            __m128d a = _mm_setzero_pd(), b = a, c = a, d = a;
            for (std::size_t i = 0; i + 8 <= bytes / sizeof(double); i += 8) {
                a = _mm_add_pd(a, _mm_loadu_pd(&data[i]));
                b = _mm_add_pd(b, _mm_loadu_pd(&data[i + 2]));
                c = _mm_add_pd(c, _mm_loadu_pd(&data[i + 4]));
                d = _mm_add_pd(d, _mm_loadu_pd(&data[i + 6]));
            }
            benchmark::DoNotOptimize(_mm_cvtsd_f64(_mm_add_pd(_mm_add_pd(a, b), _mm_add_pd(c, d))));
        }
    };
    double best = 0;
    for (int i = 0; i < 5; ++i)
        best = std::max(best, static_cast<double>(bytes) * turns / seconds_of({"", true, pass}, turns) * 1e-9);
    return best;
}

std::string processor()
{
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown";
}

} // namespace

int main_with_head(int argc, char** argv)
{
    char text[64];
    benchmark::AddCustomContext("processor", processor());
    benchmark::AddCustomContext("compiler", __VERSION__);
    std::string names;
    for (const auto& p : peers()) names += (names.empty() ? "" : ", ") + p.name;
    benchmark::AddCustomContext("peers", names);
    std::snprintf(text, sizeof text, "%.1f double, %.1f single", peak_rate<double>(), peak_rate<float>());
    benchmark::AddCustomContext("SSE peak, GFLOP/s", text);
    std::snprintf(text, sizeof text, "%.0f L1, %.0f L2, %.0f memory", read_rate(1 << 14, 20000),
                  read_rate(1 << 19, 500), read_rate(std::size_t{1} << 29, 1));
    benchmark::AddCustomContext("read bandwidth, GB/s", text);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace vrn::bench
