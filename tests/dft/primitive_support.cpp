// tests/dft/primitive_support.cpp - the host's memory for the engine, found ahead of the host's own.

#include "tests/dft/primitive_support.hpp"

#include <cstdlib>
#include <cstring>
#include <deque>

vrn::test::heap_state vrn::test::heap;
std::int32_t vrn::test::few_ways = 0;
using vrn::test::heap;

// Blocks that were given back wait a while, so that a second free of a plan meets what the first one left of it.
static struct waiting : std::deque<void*> {
    ~waiting()
    {
        for (void* block : *this) std::free(block);
    }
} given_back;

extern "C" std::int32_t vrn_serv_cpuisbulldozer() { return vrn::test::few_ways; }
extern "C" void* vrn_dft_kprMalloc(std::int64_t size)
{
    if (heap.asked++ >= heap.refuse_from) return nullptr;
    const auto bytes = static_cast<std::size_t>(size);
    void* block = nullptr;
    if (posix_memalign(&block, 64, bytes + 16) != 0) return nullptr;
    std::memset(block, 0xff, bytes + 16);
    ++heap.live;
    return static_cast<char*>(block) + 16;
}
extern "C" void vrn_dft_kprFree(void* block)
{
    --heap.live;
    given_back.push_back(static_cast<char*>(block) - 16);
    if (given_back.size() > 64) {
        std::free(given_back.front());
        given_back.pop_front();
    }
}
