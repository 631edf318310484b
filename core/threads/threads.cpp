// core/threads/threads.cpp - how many threads: the program's number, else VRN_NUM_THREADS, else OpenMP's.

#include "core/threads/threads.hpp"

#include "vrn/service.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <pthread.h>

namespace {

// 0: no number set by the program; the environment or OpenMP decides.
std::atomic<int> chosen{0};
std::atomic<bool> forked{false};

int within_limits(long count) { return static_cast<int>(std::clamp<long>(count, 0, vrn::threads::most)); }

// VRN_NUM_THREADS, read once; 0 when unset or not a positive number.
int from_environment()
{
    static const int n = [] {
        const char* text = std::getenv("VRN_NUM_THREADS");
        if (text == nullptr) return 0;
        char* end = nullptr;
        const long value = std::strtol(text, &end, 10);
        return end != text && *end == '\0' ? within_limits(value) : 0;
    }();
    return n;
}

[[gnu::constructor]] void watch_forks()
{
    pthread_atfork(nullptr, nullptr, [] { forked.store(true, std::memory_order_relaxed); });
}

} // namespace

namespace vrn::threads {

bool single() noexcept { return forked.load(std::memory_order_relaxed) || omp_in_parallel(); }

int available() noexcept
{
    if (single()) return 1;
    if (const int n = chosen.load(std::memory_order_relaxed); n > 0) return n;
    if (const int n = from_environment(); n > 0) return n;
    return omp_get_max_threads();
}

} // namespace vrn::threads

extern "C" void vrn_set_num_threads(int count) { chosen.store(within_limits(count), std::memory_order_relaxed); }
extern "C" int vrn_get_max_threads(void) { return vrn::threads::available(); }
