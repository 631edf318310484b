// tests/core/memory_test.cpp - working memory: alignment, sizes that cannot be served, the pairs that do not mix,
// and the cache of each thread's buffers.

#include "core/services/memory.hpp"
#include "frame/services.hpp"
#include "tests/support/process.hpp"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <malloc.h>
#include <thread>

using namespace vrn::memory;

#ifdef VRN_ASAN
// A refused size is a case to test, not an end.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace {

struct pair {
    const char* name;
    void* (*give)(std::uint64_t, std::int32_t);
    void (*take)(void*);
};
void* calloc_one(std::uint64_t size, std::int32_t alignment) { return vrn_serv_calloc(1, size, alignment); }
constexpr pair pairs[] = {
    {"allocate", vrn_serv_allocate, vrn_serv_deallocate},
    {"malloc", vrn_serv_malloc, vrn_serv_free},
    {"calloc", calloc_one, vrn_serv_free},
};
void PrintTo(const pair& p, std::ostream* out) { *out << p.name; }

class Memory : public testing::TestWithParam<pair> {};

bool is_aligned(const void* p, std::int64_t alignment)
{
    return reinterpret_cast<std::uintptr_t>(p) % static_cast<std::uintptr_t>(alignment) == 0;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Pairs, Memory, testing::ValuesIn(pairs), [](const auto& info) { return info.param.name; });

// Every power of two, around the sizes where the way of serving changes; all bytes are the caller's, and blocks
// that are alive together do not overlap.
TEST_P(Memory, AlignedAndWhole)
{
    const auto [name, give, take] = GetParam();
    constexpr std::uint64_t sizes[] = {0, 1, 15, 16, 17, 100, page - 1, page, page + 1, 3 * page, 1 << 16, 1 << 20};
    for (std::int32_t alignment = 1; alignment <= 1 << 22; alignment *= 2) {
        for (const std::uint64_t size : sizes) {
            auto* a = static_cast<unsigned char*>(give(size, alignment));
            auto* b = static_cast<unsigned char*>(give(size, alignment));
            ASSERT_TRUE(a != nullptr && b != nullptr && a != b) << size << " at " << alignment;
            EXPECT_TRUE(is_aligned(a, alignment) && is_aligned(b, alignment)) << size << " at " << alignment;
            std::memset(a, 0xa5, size);
            std::memset(b, 0x5a, size);
            for (std::uint64_t i = 0; i < size; ++i)
                if (a[i] != 0xa5) FAIL() << size << " at " << alignment << ": byte " << i << " is not the caller's";
            take(a);
            take(b);
        }
    }
}

TEST_P(Memory, NullForWhatCannotBeServed)
{
    const auto [name, give, take] = GetParam();
    for (const std::uint64_t size : {~std::uint64_t{0}, ~std::uint64_t{0} - 31, ~std::uint64_t{0} - 4096,
                                     std::uint64_t{1} << 63, (std::uint64_t{1} << 47) + 1, std::uint64_t{1} << 46})
        for (const std::int32_t alignment : {1, 128, 4096, 1 << 30})
            EXPECT_EQ(give(size, alignment), nullptr) << size << " at " << alignment;
    for (const std::int32_t alignment : {0, -1, -128, INT32_MIN, 3, 24, 129, 4095})
        for (const std::uint64_t size : {std::uint64_t{8}, std::uint64_t{page}, std::uint64_t{1} << 20})
            EXPECT_EQ(give(size, alignment), nullptr) << size << " at " << alignment;
    take(nullptr);
}

TEST(MemoryCalloc, ZeroesAndCounts)
{
    for (const std::uint64_t size : {1, 24, 5000, 1 << 20}) {
        // Dirty the heap first: zeros must come from the service.
        void* dirty = vrn_serv_malloc(3 * size, 64);
        std::memset(dirty, 0xff, 3 * size);
        vrn_serv_free(dirty);
        auto* p = static_cast<unsigned char*>(vrn_serv_calloc(3, size, 256));
        ASSERT_NE(p, nullptr);
        for (std::uint64_t i = 0; i < 3 * size; ++i) ASSERT_EQ(p[i], 0) << i;
        vrn_serv_free(p);
    }
    // The product wraps to something small.
    EXPECT_EQ(vrn_serv_calloc(std::uint64_t{1} << 32, std::uint64_t{1} << 32, 16), nullptr);
    EXPECT_EQ(vrn_serv_calloc((std::uint64_t{1} << 63) + 1, 2, 16), nullptr);
    EXPECT_EQ(vrn_serv_calloc(3, 0x5555555555555556u, 16), nullptr);
    void* none = vrn_serv_calloc(0, 8, 16);
    EXPECT_NE(none, nullptr);
    vrn_serv_free(none);
}

// One line and an abort, at once and with the names of the services.
TEST(MemoryDeath, PairsDoNotMix)
{
    const auto dies = [](void (*work)(), const std::string& line) {
        const auto e = vrn::test::in_child([&] { return work(), 0; });
        EXPECT_TRUE(e.killed_by(SIGABRT)) << e.status;
        EXPECT_EQ(e.err, line);
    };
    dies([] { vrn_serv_free(vrn_serv_allocate(100, 64)); },
         "vrn: vrn_serv_free got a block that vrn_serv_allocate gave\n");
    dies([] { vrn_serv_free(vrn_serv_allocate(1 << 20, 128)); },
         "vrn: vrn_serv_free got a block that vrn_serv_allocate gave\n");
    dies([] { vrn_serv_deallocate(vrn_serv_malloc(100, 64)); },
         "vrn: vrn_serv_deallocate got a block that vrn_serv_malloc or vrn_serv_calloc gave\n");
    dies([] { vrn_serv_deallocate(vrn_serv_calloc(10, 1000, 64)); },
         "vrn: vrn_serv_deallocate got a block that vrn_serv_malloc or vrn_serv_calloc gave\n");
    alignas(64) static double never[16];
    dies([] { vrn_serv_free(never + 8); },
         "vrn: vrn_serv_free got a block that no service gave, or that was given back before\n");
}

TEST(MemoryDeath, GivenBackTwice)
{
    if (sees_addresses) GTEST_SKIP() << "nothing waits in a cache under the address sanitizer";
    const auto e = vrn::test::in_child([] {
        void* block = vrn_serv_allocate(1 << 20, 128);
        vrn_serv_deallocate(block);
        vrn_serv_deallocate(block);
        return 0;
    });
    EXPECT_TRUE(e.killed_by(SIGABRT));
    EXPECT_EQ(e.err, "vrn: vrn_serv_deallocate got a block that was given back before\n");
}

// The sanitizer sees the first byte on either side of a block and any use after it was given back.
TEST(MemoryDeath, SanitizerSeesTheEdges)
{
#ifdef VRN_ASAN
    for (const pair& p : pairs)
        for (const std::uint64_t size : {100, 5000}) {
            EXPECT_DEATH(static_cast<volatile char*>(p.give(size, 64))[size] = 1, "AddressSanitizer") << p.name;
            EXPECT_DEATH(static_cast<volatile char*>(p.give(size, 64))[-1] = 1, "AddressSanitizer") << p.name;
            EXPECT_DEATH(
                {
                    auto* block = static_cast<volatile char*>(p.give(size, 64));
                    p.take(const_cast<char*>(block));
                    block[0] = 1;
                },
                "AddressSanitizer")
                << p.name;
        }
#else
    GTEST_SKIP() << "only in a build with the address sanitizer";
#endif
}

// What waits must be worth it: the rule of the cache.
TEST(MemoryRule, AtMostHalfUnused)
{
    const auto at = [](std::uintptr_t address) { return reinterpret_cast<const std::byte*>(address); };
    EXPECT_TRUE(serves(at(0x10000), 8192, 8192, 4096));
    EXPECT_TRUE(serves(at(0x10000), 8192, 1, 16)) << "at most two pages unused";
    EXPECT_FALSE(serves(at(0x10000), 8191, 8192, 16)) << "too small";
    EXPECT_FALSE(serves(at(0x10000), 3 * page, 1, 16)) << "more than half unused";
    EXPECT_FALSE(serves(at(0x10000), 1 << 20, (1 << 19) - 1, 16));
    EXPECT_TRUE(serves(at(0x10000), 1 << 20, 1 << 19, 16));
    EXPECT_FALSE(serves(at(0x11000), 8192, 8192, 8192)) << "not aligned enough";
}

namespace {

// Runs on a thread of its own, whose cache starts empty.
template <class Work>
void on_a_thread(Work&& work)
{
    std::thread(work).join();
}

// Bytes of the heap in use, mapped blocks included.
std::size_t in_use()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

class MemoryCache : public testing::Test {
  protected:
    void SetUp() override
    {
        if (sees_addresses) GTEST_SKIP() << "off under the address sanitizer";
    }
};

} // namespace

TEST_F(MemoryCache, ServesAgain)
{
    on_a_thread([] {
        void* first = vrn_serv_allocate(1 << 20, 128);
        vrn_serv_deallocate(first);
        void* second = vrn_serv_allocate((1 << 20) - 300, 4096);
        EXPECT_EQ(first, second) << "the waiting block fits";
        void* third = vrn_serv_allocate(1 << 20, 128);
        EXPECT_NE(second, third) << "it is in use";
        // The one that fits closest is taken, whichever came first.
        void* wide = vrn_serv_allocate((1 << 20) + (1 << 19), 128);
        for (const bool wide_last : {false, true}) {
            vrn_serv_deallocate(wide_last ? second : wide);
            vrn_serv_deallocate(wide_last ? wide : second);
            EXPECT_EQ(vrn_serv_allocate(1 << 20, 64), second);
            EXPECT_EQ(vrn_serv_allocate((1 << 20) + 1, 64), wide);
        }
        vrn_serv_deallocate(second);
        vrn_serv_deallocate(wide);
        void* small = vrn_serv_allocate(100 << 10, 64);
        EXPECT_TRUE(small != second && small != wide) << "more than half would be unused";
        vrn_serv_deallocate(small);
        vrn_serv_deallocate(third);
        EXPECT_EQ(vrn_serv_allocate(1 << 20, 3), nullptr) << "no alignment, though one waits at such an address";
    });
}

TEST_F(MemoryCache, IsBounded)
{
    on_a_thread([] {
        const std::size_t before = in_use();
        std::vector<void*> blocks;
        for (int i = 0; i < 2 * cache_blocks; ++i) blocks.push_back(vrn_serv_allocate(1 << 20, 128));
        for (void* block : blocks) vrn_serv_deallocate(block);
        EXPECT_LE(in_use(), before + cache_blocks * ((1 << 20) + 4 * page)) << "too many wait";
        blocks.clear();
        for (int i = 0; i < 3; ++i) blocks.push_back(vrn_serv_allocate(cache_bytes / 2 - 2 * page, 128));
        for (void* block : blocks) vrn_serv_deallocate(block);
        EXPECT_LE(in_use(), before + cache_bytes + (std::size_t{1} << 16)) << "too much waits";
        vrn_serv_deallocate(vrn_serv_allocate(2 * cache_bytes, 128));
        EXPECT_LE(in_use(), before + cache_bytes + (std::size_t{1} << 16)) << "a large one waits";
    });
}

TEST_F(MemoryCache, GivenBackAtThreadEnd)
{
    const std::size_t before = in_use();
    std::size_t during = 0;
    on_a_thread([&] {
        void* block = vrn_serv_allocate(cache_bytes / 2, 128);
        vrn_serv_deallocate(block);
        during = in_use();
    });
    EXPECT_GE(during, before + cache_bytes / 2) << "it did not wait";
    EXPECT_LE(in_use(), before + (1 << 16)) << "it was not given back";
}

// Not of the cache alone: these hold under the sanitizer too.
TEST(MemoryThreads, FreedElsewhere)
{
    std::vector<void*> blocks(64);
    std::thread([&] {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            blocks[i] = vrn_serv_allocate(1000 << (i % 8), 128);
            std::memset(blocks[i], 1, 1000 << (i % 8));
        }
    }).join();
    std::thread([&] {
        for (void* block : blocks) vrn_serv_deallocate(block);
        void* again = vrn_serv_allocate(64000, 128);
        std::memset(again, 2, 64000);
        vrn_serv_deallocate(again);
    }).join();
}

namespace {

// Its destructor runs after that of the cache where it was made first.
struct late {
    void* block = nullptr;
    ~late()
    {
        vrn_serv_deallocate(block);
        void* another = vrn_serv_allocate(1 << 16, 128);
        std::memset(another, 3, 1 << 16);
        vrn_serv_deallocate(another);
    }
};
thread_local late last;

} // namespace

TEST(MemoryThreads, UsedAfterTheThreadsCacheIsGone)
{
    const std::size_t before = in_use();
    for (int i = 0; i < 8; ++i)
        std::thread([] {
            last.block = vrn_serv_allocate(1 << 20, 128);
            vrn_serv_deallocate(vrn_serv_allocate(1 << 20, 128));
        }).join();
    EXPECT_TRUE(sees_addresses || in_use() <= before + (1 << 18)) << "something stayed behind";
}

// Several threads at once, each checking that its blocks are its own.
TEST(MemoryThreads, ManyAtOnce)
{
    std::vector<std::thread> team;
    std::atomic<int> spoilt{0};
    for (int t = 0; t < 4; ++t)
        team.emplace_back([t, &spoilt] {
            for (int round = 0; round < 400; ++round) {
                const std::size_t size = 4096u * static_cast<std::size_t>(1 + (round * 7 + t) % 13);
                auto* p = static_cast<unsigned char*>(vrn_serv_allocate(size, 128));
                std::memset(p, t + 1, size);
                auto* q = static_cast<unsigned char*>(vrn_serv_allocate(size / 2, 64));
                std::memset(q, 99, size / 2);
                spoilt += p[0] != t + 1 || p[size - 1] != t + 1;
                vrn_serv_deallocate(p);
                vrn_serv_deallocate(q);
            }
        });
    for (std::thread& one : team) one.join();
    EXPECT_EQ(spoilt, 0);
}
