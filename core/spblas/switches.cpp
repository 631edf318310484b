// core/spblas/switches.cpp - whether index arrays are looked at before they are used, and memory for callers' arrays.

#include "core/spblas/checks.hpp"
#include "vrn/spblas.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int unset = -1;
std::atomic<int> chosen{unset};

int from_environment()
{
    const char* text = std::getenv("VRN_SPBLAS_CHECK");
    return text != nullptr && *text != '\0' && std::strcmp(text, "0") != 0;
}

} // namespace

namespace vrn::spblas::host {

bool checking() noexcept { return vrn_spblas_get_checking() != 0; }

} // namespace vrn::spblas::host

extern "C" void vrn_spblas_set_checking(int on) { chosen.store(on != 0, std::memory_order_relaxed); }
extern "C" int vrn_spblas_get_checking(void)
{
    if (const int mode = chosen.load(std::memory_order_relaxed); mode != unset) return mode;
    static const int mode = from_environment();
    return mode;
}

#define VRN_SPBLAS_MEMORY(prefix, I)                                                                                 \
    extern "C" void* prefix##malloc(I bytes)                                                                         \
    {                                                                                                                \
        return bytes < 0 ? nullptr : vrn::spblas::host::kernels<double, I>::spmalloc()(bytes);                       \
    }                                                                                                                \
    extern "C" void prefix##free(void* block) { vrn::spblas::host::kernels<double, I>::spfree()(&block); }
VRN_SPBLAS_MEMORY(vrn_spblas_, std::int64_t)
VRN_SPBLAS_MEMORY(vrn_spblas_lp64_, std::int32_t)
