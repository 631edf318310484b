// core/services/memory.hpp - the numbers of the memory services, and the rule of the cache.
// Read by memory.cpp and by the tests; nothing else repeats them.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define VRN_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VRN_ASAN 1
#endif
#endif
#ifdef VRN_ASAN
#include <sanitizer/asan_interface.h>
#define VRN_NO_ASAN [[gnu::no_sanitize_address, gnu::noinline]]
#else
#define VRN_NO_ASAN
#endif

namespace vrn::memory {

// What the heap gives anyway, and the width of a vector.
inline constexpr std::size_t smallest_alignment = 16;

// Blocks below a page are not cached: the heap's own free lists serve them as fast, without fresh pages.
inline constexpr std::size_t page = 4096;

// The user half of the address space. No sum below this can overflow.
inline constexpr std::size_t largest_size = std::size_t{1} << 47;

// A level-3 call holds two buffers at most beside those of a kernel that it calls back into: four blocks.
inline constexpr int cache_blocks = 4;

// The panels of the largest packed product take about 12 MiB (640 + 5000 vectors of 256 doubles). Two such blocks
// may wait; more would be memory that the program misses elsewhere.
inline constexpr std::size_t cache_bytes = std::size_t{32} << 20;

// Whether a waiting block may serve a request: it is large and aligned enough, and at most half of it, or of
// two pages, stays unused, since a small block can live long and would hold the large one's memory.
inline bool serves(const std::byte* block, std::size_t capacity, std::size_t size, std::size_t alignment)
{
    const std::size_t wanted = size < page ? page : size;
    return capacity >= size && capacity / 2 <= wanted && reinterpret_cast<std::uintptr_t>(block) % alignment == 0;
}

// Under the address sanitizer nothing is cached, so that it sees every use after a free.
#ifdef VRN_ASAN
inline constexpr bool sees_addresses = true;
inline void close_region(const void* from, std::size_t bytes) { ASAN_POISON_MEMORY_REGION(from, bytes); }
inline void open_region(const void* from, std::size_t bytes) { ASAN_UNPOISON_MEMORY_REGION(from, bytes); }
#else
inline constexpr bool sees_addresses = false;
inline void close_region(const void*, std::size_t) {}
inline void open_region(const void*, std::size_t) {}
#endif

} // namespace vrn::memory
