// tests/core/cpu_test.cpp - what the host makes of CPUID: written-down answers of several processors, and this one
// against what the system says.

#include "core/services/cpu_facts.hpp"
#include "frame/services.hpp"

#include <climits>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>

using namespace vrn::cpu;

namespace {

using answers = std::map<std::pair<std::uint32_t, std::uint32_t>, registers>;

facts facts_of(const answers& known)
{
    return read_facts([&](std::uint32_t leaf, std::uint32_t part) {
        const auto at = known.find({leaf, part});
        return at == known.end() ? registers{} : at->second;
    });
}

constexpr std::uint32_t bit(int n) { return 1u << n; }
constexpr std::uint32_t sse2 = bit(26), ssse3 = bit(9), sse42 = bit(20), avx = bit(28);
constexpr std::uint32_t avx2 = bit(5), avx512f = bit(16);

// A row of the cache leaves: kind 1 data, 2 instructions, 3 unified.
registers cache_row(std::uint32_t kind, std::uint32_t level, std::uint32_t sharers, std::uint32_t ways,
                    std::uint32_t line, std::uint32_t sets)
{
    return {kind | level << 5 | (sharers - 1) << 14, (ways - 1) << 22 | (line - 1), sets - 1, 0};
}

constexpr registers intel_name{0, 0x756e6547, 0x6c65746e, 0x49656e69};
constexpr registers amd_name{0, 0x68747541, 0x444d4163, 0x69746e65};

registers named(registers name, std::uint32_t last_leaf)
{
    name.a = last_leaf;
    return name;
}

// Four levels of instructions and 32 KiB, 256 KiB and 8 MiB of cache.
const answers four_core{
    {{0, 0}, named(intel_name, 13)},
    {{1, 0}, {0x206a7, 0, ssse3 | sse42 | avx, sse2}},
    {{4, 0}, cache_row(1, 1, 2, 8, 64, 64)},
    {{4, 1}, cache_row(2, 1, 2, 8, 64, 128)},
    {{4, 2}, cache_row(3, 2, 2, 8, 64, 512)},
    {{4, 3}, cache_row(3, 3, 16, 16, 64, 8192)},
    {{0x80000000u, 0}, {0x80000008u, 0, 0, 0}},
};

} // namespace

TEST(Cpu, LinesByFeature)
{
    struct row {
        std::uint32_t d1, c1, b7;
        int line;
    };
    constexpr row rows[] = {{0, 0, 0, 0},
                            {sse2, 0, 0, 1},
                            {sse2, ssse3, 0, 2},
                            {sse2, ssse3 | sse42, 0, 3},
                            {sse2, sse42, 0, 1}, // no real one, but no more than it says
                            {sse2, ssse3 | sse42 | avx, 0, 4},
                            {sse2, ssse3 | sse42, avx2, 3}, // AVX masked off
                            {sse2, ssse3 | sse42 | avx, avx2, 5},
                            {sse2, ssse3 | sse42 | avx, avx2 | avx512f, 6},
                            {sse2, ssse3 | sse42 | avx, avx512f, 4}};
    for (const auto& [d1, c1, b7, line] : rows)
        EXPECT_EQ(facts_of({{{0, 0}, named(intel_name, 7)}, {{1, 0}, {0, 0, c1, d1}}, {{7, 0}, {0, b7, 0, 0}}}).line,
                  line);
    // Leaf 7 is not asked where it does not exist: the answer would be that of another leaf.
    EXPECT_EQ(facts_of({{{0, 0}, named(intel_name, 5)},
                        {{1, 0}, {0, 0, ssse3 | sse42 | avx, sse2}},
                        {{7, 0}, {0, avx2, 0, 0}}})
                  .line,
              4);
}

TEST(Cpu, CachesOfLeaf4)
{
    const facts f = facts_of(four_core);
    EXPECT_EQ(f.level[1].bytes, 32 << 10);
    EXPECT_EQ(f.level[2].bytes, 256 << 10);
    EXPECT_EQ(f.level[3].bytes, 8 << 20);
    EXPECT_EQ(f.level[0].bytes, 8 << 20);
    EXPECT_EQ(f.level[0].line, 64);
    EXPECT_EQ(f.level[0].sharers, 16);
    EXPECT_FALSE(f.bulldozer);
    EXPECT_EQ(gemm_cache(f).bytes, 8 << 20);
    EXPECT_EQ(transform_cache(f).bytes, 256 << 10);
}

TEST(Cpu, CachesOfTheExtendedLeaf)
{
    answers a{{{0, 0}, named(amd_name, 13)},
              {{1, 0}, {0x800f12, 0, ssse3 | sse42 | avx, sse2}},
              {{4, 0}, {}},
              {{0x80000000u, 0}, {0x8000001fu, 0, 0, 0}},
              {{0x80000001u, 0}, {0, 0, bit(22), 0}},
              {{0x8000001Du, 0}, cache_row(1, 1, 2, 8, 64, 64)},
              {{0x8000001Du, 1}, cache_row(3, 2, 2, 8, 64, 1024)},
              {{0x8000001Du, 2}, cache_row(3, 3, 8, 16, 64, 1 << 22)}};
    const facts f = facts_of(a);
    EXPECT_EQ(f.level[2].bytes, 512 << 10);
    EXPECT_EQ(f.level[0].bytes, std::int64_t{1} << 32) << "4 GiB: no 32-bit product on the way";
    EXPECT_FALSE(f.bulldozer) << "family 17h";
    a[{0x80000001u, 0}] = {};
    EXPECT_EQ(facts_of(a).level[0].bytes, 0) << "not announced, not read";
}

TEST(Cpu, Bulldozer)
{
    const auto of = [](registers name, std::uint32_t signature) {
        return facts_of({{{0, 0}, named(name, 13)}, {{1, 0}, {signature, 0, 0, sse2}}}).bulldozer;
    };
    EXPECT_TRUE(of(amd_name, 0x600f12)) << "base family 15 and 6 more: 15h";
    EXPECT_FALSE(of(intel_name, 0x600f12));
    EXPECT_FALSE(of(amd_name, 0x500f10)) << "14h";
    EXPECT_FALSE(of(amd_name, 0x000f10)) << "0fh";
    EXPECT_FALSE(of(amd_name, 0x1000512)) << "the extension counts only where the base is full";
}

TEST(Cpu, SilentProcessor)
{
    const facts f = facts_of({});
    EXPECT_EQ(f.line, 0);
    EXPECT_EQ(f.level[0].bytes, 0);
    EXPECT_EQ(transform_cache(f).bytes, 0);
    // A machine that never ends its list is cut off.
    EXPECT_EQ(read_facts([](std::uint32_t, std::uint32_t) { return registers{~0u, 0, 0, 0}; }).level[0].bytes, 0);
}

namespace {

// What the system found for a level of data cache, from the same leaves by its own code; 0 where it says nothing.
std::int64_t system_says(int level)
{
    for (int i = 0; i < 8; ++i) {
        const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + "/";
        int found = 0;
        std::string kind;
        std::int64_t kibibytes = 0;
        std::ifstream(folder + "level") >> found;
        std::ifstream(folder + "type") >> kind;
        std::ifstream(folder + "size") >> kibibytes;
        if (found == level && kind != "Instruction") return kibibytes * 1024;
    }
    return 0;
}

} // namespace

TEST(Cpu, ThisOne)
{
    const int line = vrn_serv_cpu_detect();
    EXPECT_GE(line, 3);
    EXPECT_LE(line, 6);
    EXPECT_EQ(line >= 3, __builtin_cpu_supports("sse4.2") != 0);
    EXPECT_EQ(vrn_serv_get_microarchitecture(), line >= 5 ? 66 : 60 + line);
    EXPECT_TRUE(vrn_serv_cpuisbulldozer() == 0 || vrn_serv_cpuisbulldozer() == 1);

    std::int32_t info[8];
    std::fill(std::begin(info), std::end(info), -7);
    vrn_serv_cache_info(info);
    EXPECT_EQ(info[6], -7) << "more than six written";
    if (info[0] == 0) GTEST_SKIP() << "this processor tells nothing of its caches";
    for (int level = 1; level <= 3; ++level)
        if (const std::int64_t bytes = system_says(level); bytes > 0) {
            EXPECT_EQ(info[level], std::min<std::int64_t>(bytes, INT_MAX)) << "level " << level;
        }
    EXPECT_GE(info[3], info[2]);
    EXPECT_GT(info[4], 0);
    EXPECT_GT(info[5], 0);
    EXPECT_EQ(vrn_serv_get_cache_size(0), info[2] > 0 ? info[2] : info[3]);
    EXPECT_EQ(vrn_serv_get_cache_size(1), 0);
}
