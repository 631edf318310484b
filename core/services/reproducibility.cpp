// core/services/reproducibility.cpp - whether a kernel's rounding may depend on the addresses of its data.
// The call decides if there was one, else the environment variable VRN_CBWR, read at the first question.

#include "frame/services.hpp"
#include "vrn/service.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <strings.h>

namespace {

constexpr int unset = 0;
std::atomic<int> chosen{unset};

int from_environment()
{
    const char* text = std::getenv("VRN_CBWR");
    if (text == nullptr || *text == '\0') return VRN_CBWR_OFF;
    for (const char* fast : {"OFF", "AUTO"})
        if (strcasecmp(text, fast) == 0) return VRN_CBWR_OFF;
    for (const char* strict : {"STRICT", "COMPATIBLE"})
        if (strcasecmp(text, strict) == 0) return VRN_CBWR_STRICT;
    // Whoever sets the variable to anything cares for equal bits: err on that side, and say so.
    std::fprintf(stderr, "vrn: VRN_CBWR is \"%.64s\", not OFF, AUTO, STRICT or COMPATIBLE; taken as STRICT\n", text);
    return VRN_CBWR_STRICT;
}

} // namespace

extern "C" int vrn_get_cbwr(void)
{
    if (const int mode = chosen.load(std::memory_order_relaxed); mode != unset) [[likely]] return mode;
    static const int mode = from_environment();
    int expected = unset;
    return chosen.compare_exchange_strong(expected, mode, std::memory_order_relaxed) ? mode : expected;
}

extern "C" int vrn_set_cbwr(int mode)
{
    if (mode != VRN_CBWR_OFF && mode != VRN_CBWR_STRICT) return 1;
    chosen.store(mode, std::memory_order_relaxed);
    return 0;
}

extern "C" std::int32_t vrn_serv_cbwr_get(std::int32_t which) { return which == 1 ? vrn_get_cbwr() : 0; }
