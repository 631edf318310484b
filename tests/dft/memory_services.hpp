// tests/dft/memory_services.hpp - the program's own memory services: they count, refuse one request, and hand out
// memory that is not numbers. Included once in an executable.
#pragma once

#include "frame/services.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vrn::test {

inline std::atomic<long> asked{0}, live{0};
inline long refused_number = -1; // counted from 0; -1 none

inline void* take(std::uint64_t size, std::int32_t alignment)
{
    if (asked++ == refused_number) return nullptr;
    void* block = nullptr;
    const auto a = static_cast<std::size_t>(alignment < 16 ? 16 : alignment);
    if (posix_memalign(&block, a, size + 1) != 0) return nullptr;
    std::memset(block, 0xff, size);
    ++live;
    return block;
}
inline void give(void* block)
{
    if (block == nullptr) return;
    --live;
    std::free(block);
}

} // namespace vrn::test

extern "C" {
void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment) { return vrn::test::take(size, alignment); }
void* vrn_serv_malloc(std::uint64_t size, std::int32_t alignment) { return vrn::test::take(size, alignment); }
void* vrn_serv_calloc(std::uint64_t count, std::uint64_t size, std::int32_t alignment)
{
    void* block = vrn::test::take(count * size, alignment);
    if (block != nullptr) std::memset(block, 0, count * size);
    return block;
}
void vrn_serv_deallocate(void* block) { vrn::test::give(block); }
void vrn_serv_free(void* block) { vrn::test::give(block); }
}
