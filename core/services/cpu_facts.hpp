// core/services/cpu_facts.hpp - what CPUID tells about the processor and its caches.
//
// read_facts takes the instruction as an argument, so that tests can hand it the answers of processors that are
// not at hand. Features decide, not brand names, but for the one line of processors that has its own service.
// Caches: leaf 4, or leaf 0x8000001D, which has the same layout, where the topology extensions are announced.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace vrn::cpu {

struct registers {
    std::uint32_t a, b, c, d;
};

struct cache {
    std::int64_t bytes;    // 0: there is none
    std::int32_t line;     // bytes
    std::int32_t sharers;  // logical processors that share one
};

struct facts {
    int line;                      // vrn_serv_cpu_detect, see frame/services.hpp
    bool bulldozer;
    std::array<cache, 4> level;    // data or unified caches, by level from 1; level[0] is the last level
};

// Which cache decides the row block of GEMM: the one that should hold a packed block of A while the panels of
// B pass by. The last level, for now. This is the one place that says so.
inline const cache& gemm_cache(const facts& f) { return f.level[0]; }

// Which cache the two-dimensional transforms measure their data against: the second level, which belongs to
// the core. The last level serves many cores, and under a virtual machine cores that others use.
inline const cache& transform_cache(const facts& f) { return f.level[2].bytes > 0 ? f.level[2] : f.level[0]; }

template <class Cpuid>
void read_caches(Cpuid&& cpuid, std::uint32_t leaf, facts& f)
{
    constexpr std::uint32_t none = 0, instructions = 2;
    for (std::uint32_t i = 0; i < 16; ++i) {
        const registers r = cpuid(leaf, i);
        const std::uint32_t kind = r.a & 31, level = r.a >> 5 & 7;
        if (kind == none) break;
        if (kind == instructions || level < 1 || level > 3) continue;
        const std::int64_t ways = (r.b >> 22) + 1, parts = (r.b >> 12 & 1023) + 1, line = (r.b & 4095) + 1;
        const std::int64_t sets = std::int64_t{r.c} + 1;
        f.level[level] = {ways * parts * line * sets, static_cast<std::int32_t>(line),
                          static_cast<std::int32_t>((r.a >> 14 & 4095) + 1)};
    }
    for (std::size_t level = 1; level < f.level.size(); ++level)
        if (f.level[level].bytes > 0) f.level[0] = f.level[level];
}

template <class Cpuid>
facts read_facts(Cpuid&& cpuid)
{
    facts f{};
    const registers vendor = cpuid(0, 0), one = cpuid(1, 0);
    const std::uint32_t last = vendor.a, last_extended = cpuid(0x80000000u, 0).a;
    const registers seven = last >= 7 ? cpuid(7, 0) : registers{};
    const auto bit = [](std::uint32_t word, int n) { return (word >> n & 1) != 0; };

    f.line = 0;
    if (bit(one.d, 26)) f.line = 1;                          // SSE2
    if (f.line == 1 && bit(one.c, 9)) f.line = 2;            // SSSE3
    if (f.line == 2 && bit(one.c, 20)) f.line = 3;           // SSE4.2
    if (f.line == 3 && bit(one.c, 28)) f.line = 4;           // AVX
    if (f.line == 4 && bit(seven.b, 5)) f.line = 5;          // AVX2
    if (f.line == 5 && bit(seven.b, 16)) f.line = 6;         // AVX-512 F

    // The family number, extended where the base field is full.
    std::uint32_t family = one.a >> 8 & 15;
    if (family == 15) family += one.a >> 20 & 255;
    char name[12];
    std::memcpy(name, &vendor.b, 4);
    std::memcpy(name + 4, &vendor.d, 4);
    std::memcpy(name + 8, &vendor.c, 4);
    f.bulldozer = family == 0x15 && std::memcmp(name, "AuthenticAMD", sizeof name) == 0;

    const bool topology = last_extended >= 0x8000001Du && bit(cpuid(0x80000001u, 0).c, 22);
    if (topology) read_caches(cpuid, 0x8000001Du, f);
    if (f.level[0].bytes == 0 && last >= 4) read_caches(cpuid, 4, f);
    return f;
}

// The processor's own, read at the first call.
const facts& here() noexcept;

} // namespace vrn::cpu
