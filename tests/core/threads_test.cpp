// tests/core/threads_test.cpp - how many threads work gets, and where it stays on one.

#include "core/threads/threads.hpp"
#include "tests/support/process.hpp"
#include "vrn/service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <set>
#include <thread>

using namespace vrn::test;
namespace threads = vrn::threads;

namespace {

struct Threads : testing::Test {
    // Whatever the caller's environment says, the tests start from the default.
    void SetUp() override
    {
        if (std::getenv("VRN_TEST_PRINT_THREADS") == nullptr) unsetenv("VRN_NUM_THREADS");
    }
    void TearDown() override { vrn_set_num_threads(0); }
};

// Which thread numbers ran, and of how many.
struct team {
    std::atomic<int> runs{0}, size{0};
    std::atomic<unsigned> seen{0};
    void operator()(int thread, int of)
    {
        ++runs;
        size = of;
        seen |= 1u << thread;
    }
};

} // namespace

TEST_F(Threads, SetAndGot)
{
    for (const int n : {1, 2, 7, 64}) {
        vrn_set_num_threads(n);
        EXPECT_EQ(vrn_get_max_threads(), n);
        int elsewhere = 0;
        std::thread([&] { elsewhere = vrn_get_max_threads(); }).join();
        EXPECT_EQ(elsewhere, n) << "for the whole process";
    }
    vrn_set_num_threads(1 << 30);
    EXPECT_EQ(vrn_get_max_threads(), threads::most);
    for (const int n : {0, -3}) {
        vrn_set_num_threads(n);
        EXPECT_EQ(vrn_get_max_threads(), omp_get_max_threads()) << "back to the default";
    }
}

TEST_F(Threads, EachNumberRunsOnce)
{
    for (const int wanted : {-1, 0, 1, 2, 3, 5}) {
        team t;
        threads::run(wanted, [&](int thread, int of) { t(thread, of); });
        EXPECT_EQ(t.runs, t.size);
        EXPECT_EQ(t.seen, (1u << t.size) - 1);
        EXPECT_LE(t.size, std::max(wanted, 1));
        EXPECT_GE(t.size, 1);
    }
}

TEST_F(Threads, BarrierWaitsForTheTeam)
{
    std::atomic<int> before{0};
    std::atomic<bool> early{false};
    threads::run(4, [&](int, int of) {
        for (int round = 1; round <= 50; ++round) {
            ++before;
            threads::barrier();
            if (before != round * of) early = true;
            threads::barrier();
        }
    });
    EXPECT_FALSE(early);
}

// A call from inside a region stays on its caller, and its barrier is not the region's.
TEST_F(Threads, NestedIsOne)
{
    vrn_set_num_threads(4);
    omp_set_max_active_levels(4);
    std::atomic<int> wrong{0}, inner{0};
    threads::run(3, [&](int thread, int of) {
        if (of > 1 && (vrn_get_max_threads() != 1 || !threads::single())) ++wrong;
        const std::thread::id caller = std::this_thread::get_id();
        // Only one thread of the team goes inside: a barrier that waited for the others would hang.
        if (thread == 0)
            threads::run(of > 1 ? 4 : 1, [&](int, int inner_of) {
                ++inner;
                if (inner_of != 1 || std::this_thread::get_id() != caller) ++wrong;
                threads::barrier();
            });
        threads::barrier();
    });
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(vrn_get_max_threads(), 4) << "outside again";
}

// Read once a process: the program runs itself, and each child asks.
TEST_F(Threads, Environment)
{
    if (std::getenv("VRN_TEST_PRINT_THREADS") != nullptr) {
        std::fprintf(stderr, "threads %d", vrn_get_max_threads());
        vrn_set_num_threads(3);
        std::fprintf(stderr, " %d", vrn_get_max_threads());
        vrn_set_num_threads(0);
        std::fprintf(stderr, " %d\n", vrn_get_max_threads());
        return;
    }
    struct row {
        const char *ours, *openmp, *told;
    };
    constexpr row rows[] = {{"5", "2", "threads 5 3 5\n"},    {nullptr, "2", "threads 2 3 2\n"},
                            {"0", "2", "threads 2 3 2\n"},    {"-4", "2", "threads 2 3 2\n"},
                            {"many", "2", "threads 2 3 2\n"}, {"5x", "2", "threads 2 3 2\n"},
                            {"", "2", "threads 2 3 2\n"},     {"99999999999", "2", "threads 4096 3 4096\n"}};
    for (const auto& [ours, openmp, told] : rows) {
        const auto e = run_program({"/proc/self/exe", "--gtest_filter=Threads.Environment"},
                                   {{"VRN_NUM_THREADS", ours}, {"OMP_NUM_THREADS", openmp},
                                    {"OMP_THREAD_LIMIT", nullptr}, {"VRN_TEST_PRINT_THREADS", "1"}});
        EXPECT_TRUE(e.exited(0));
        EXPECT_EQ(e.err, told) << (ours ? ours : "unset");
    }
}

// The child of a process that has used its threads: they are gone there, and waiting for them would hang.
TEST_F(Threads, ChildOfAFork)
{
    vrn_set_num_threads(4);
    threads::run(4, [](int, int) {});
    const auto e = in_child(
        [] {
            if (vrn_get_max_threads() != 1) return 1;
            vrn_set_num_threads(4);
            if (vrn_get_max_threads() != 1) return 2;
            team t;
            threads::run(4, [&](int thread, int of) {
                t(thread, of);
                threads::barrier();
            });
            if (t.runs != 1 || t.size != 1) return 3;
            // And so in its own child.
            return in_child([] { return vrn_get_max_threads(); }).exited(1) ? 0 : 4;
        },
        20);
    EXPECT_TRUE(e.exited(0)) << e.status;
    EXPECT_EQ(vrn_get_max_threads(), 4) << "the parent keeps its threads";
    team t;
    threads::run(4, [&](int thread, int of) { t(thread, of); });
    EXPECT_EQ(t.runs, t.size);
}
