// examples/sse_peak.hpp - the most that 16-byte vectors of double can do on this machine, measured.
#pragma once

#include <chrono>
#include <thread>
#include <vector>

namespace sse_peak {

inline constexpr double flop_per_turn = 2 * 16;

// Eight multiply and eight add chains fill all sixteen registers: enough to hide a latency of four cycles with
// two ports busy. In assembly, since a compiler would keep some of them in memory. Zeros stay zeros.
inline void run(long turns)
{
    asm volatile(".irp r, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15\n"
                 "  xorps %%xmm\\r, %%xmm\\r\n"
                 ".endr\n"
                 "1:\n"
                 ".irp r, 0,1,2,3,4,5,6,7\n"
                 "  mulpd %%xmm\\r, %%xmm\\r\n"
                 ".endr\n"
                 ".irp r, 8,9,10,11,12,13,14,15\n"
                 "  addpd %%xmm\\r, %%xmm\\r\n"
                 ".endr\n"
                 "  dec %0\n"
                 "  jnz 1b\n"
                 : "+r"(turns)
                 :
                 : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
                   "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
}

// GFLOP/s of so many threads together, one pass of a few hundredths of a second.
inline double gflops(int threads)
{
    constexpr long turns = 8'000'000;
    const auto start = std::chrono::steady_clock::now();
    {
        std::vector<std::jthread> team;
        for (int t = 1; t < threads; ++t) team.emplace_back(run, turns);
        run(turns);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return 1e-9 * flop_per_turn * static_cast<double>(turns) * threads / seconds.count();
}

} // namespace sse_peak
