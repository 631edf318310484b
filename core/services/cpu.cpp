// core/services/cpu.cpp - processor and cache facts as kernels ask for them. CPUID is slow, under a virtual
// machine by thousands of cycles, and is asked once a process.

#include "core/services/cpu_facts.hpp"

#include "frame/services.hpp"

#include <cpuid.h>
#include <limits>

namespace vrn::cpu {

const facts& here() noexcept
{
    static const facts f = read_facts([](std::uint32_t leaf, std::uint32_t part) {
        registers r{};
        __cpuid_count(leaf, part, r.a, r.b, r.c, r.d);
        return r;
    });
    return f;
}

} // namespace vrn::cpu

namespace {

std::int32_t saturated(std::int64_t bytes)
{
    return static_cast<std::int32_t>(std::min<std::int64_t>(bytes, std::numeric_limits<std::int32_t>::max()));
}

} // namespace

using namespace vrn::cpu;

extern "C" std::int32_t vrn_serv_cpu_detect() { return here().line; }

// 66 is the code that GEMM asks for. Its second kernel trades a shuffle for a load, which pays where loads are
// plenty; on such a processor whose shuffles share ports with the arithmetic it was measured 4 to 5 % faster.
extern "C" std::int32_t vrn_serv_get_microarchitecture() { return here().line >= 5 ? 66 : 60 + here().line; }

extern "C" std::int32_t vrn_serv_cpuisbulldozer() { return here().bulldozer; }

extern "C" void vrn_serv_cache_info(std::int32_t info[6])
{
    const facts& f = here();
    info[0] = f.level[0].bytes > 0;
    info[1] = saturated(f.level[1].bytes);
    info[2] = saturated(f.level[2].bytes);
    info[3] = saturated(gemm_cache(f).bytes);
    info[4] = f.level[0].line;
    info[5] = f.level[0].sharers;
}

extern "C" std::int32_t vrn_serv_get_cache_size(std::int32_t which)
{
    return which == 0 ? saturated(transform_cache(here()).bytes) : 0;
}
