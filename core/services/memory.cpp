// core/services/memory.cpp - working memory for every kernel: two pairs of services that do not mix.
//
//     allocate, deallocate     buffers of a call; a block given back waits in a small cache of its thread
//     malloc, calloc, free     records that live longer; straight from the heap and back to it
//
// A header before the block remembers where it began and which pair gave it. A block that comes back through the
// wrong pair, or twice while its header still stands, ends in one line and an abort: going on would corrupt the
// heap. Nothing here throws; null is the answer to a size or an alignment that cannot be served.

#include "core/services/memory.hpp"

#include "frame/services.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace vrn::memory {
namespace {

// Values that do not occur by chance in text, small integers, addresses or floating-point data.
enum class tag : std::uint64_t {
    buffer = 0x9d5c'76b1'e2a8'4f13,
    record = 0xb38e'1fd4'96c7'5a21,
    idle = 0xc6f1'08a3'7de9'b245,
    dead = 0xe41b'93c5'2a7f'd067,
};

struct header {
    std::byte* base;      // what the heap gave
    std::size_t total;    // and how much of it
    std::size_t capacity; // bytes from the block to the end of that
    tag mark;
};
static_assert(sizeof(header) % smallest_alignment == 0);

header* header_of(void* block) { return static_cast<header*>(block) - 1; }

// The heap's bytes around a block are closed to the address sanitizer, header included, so that a kernel that
// runs over either edge of its buffer is seen at the first byte.
VRN_NO_ASAN tag mark_of(void* block) { return header_of(block)->mark; }
VRN_NO_ASAN header copy_of_header(void* block) { return *header_of(block); }
VRN_NO_ASAN void set_mark(void* block, tag mark) { header_of(block)->mark = mark; }

bool is_alignment(std::int32_t value)
{
    return value > 0 && (value & (value - 1)) == 0; // counting bits would be a call below SSE4.2
}

void* create(std::size_t size, std::int32_t alignment, tag mark, bool zeroed)
{
    if (!is_alignment(alignment) || size > largest_size) return nullptr;
    auto step = std::max<std::size_t>(static_cast<std::size_t>(alignment), smallest_alignment);
    if (mark == tag::buffer && size >= page) {
        // Blocks that can wait in the cache begin on a page and end on one: any alignment in use then finds
        // them, and so does a request that differs by a few bytes.
        step = std::max(step, page);
        if (!sees_addresses) size = (size + page - 1) / page * page;
    }
    const std::size_t total = size + sizeof(header) + step - 1;
    auto* base = static_cast<std::byte*>(zeroed ? std::calloc(1, total) : std::malloc(total));
    if (base == nullptr) return nullptr;
    const auto first = reinterpret_cast<std::uintptr_t>(base) + sizeof(header);
    std::byte* block = base + sizeof(header) + (-first & (step - 1));
    const auto capacity = static_cast<std::size_t>(base + total - block);
    new (header_of(block)) header{base, total, capacity, mark};
    close_region(base, static_cast<std::size_t>(block - base));
    close_region(block + size, capacity - size);
    return block;
}

void destroy(void* block)
{
    const header h = copy_of_header(block);
    set_mark(block, tag::dead);
    open_region(h.base, h.total);
    std::free(h.base);
}

[[noreturn]] void refuse(const char* service, tag found)
{
    const char* what = "no service gave, or that was given back before";
    if (found == tag::buffer) what = "vrn_serv_allocate gave";
    if (found == tag::record) what = "vrn_serv_malloc or vrn_serv_calloc gave";
    if (found == tag::idle || found == tag::dead) what = "was given back before";
    std::fprintf(stderr, "vrn: %s got a block that %s\n", service, what);
    std::abort();
}

// The blocks that wait on one thread, oldest first. No constructor and no destructor: it can be used before
// the first and after the last of the thread's other objects.
struct cache {
    struct entry {
        std::byte* block;
        std::size_t capacity;
    };
    entry entries[cache_blocks];
    int count;
    std::size_t bytes;
    enum : unsigned char { fresh, open, closed } state;

    void* take(std::size_t size, std::size_t alignment)
    {
        int best = -1;
        for (int i = 0; i < count; ++i)
            if (serves(entries[i].block, entries[i].capacity, size, alignment) &&
                (best < 0 || entries[i].capacity < entries[best].capacity))
                best = i;
        return best < 0 ? nullptr : remove(best);
    }

    void put(void* block, std::size_t capacity)
    {
        while (count == cache_blocks || bytes + capacity > cache_bytes) destroy(remove(0));
        entries[count++] = {static_cast<std::byte*>(block), capacity};
        bytes += capacity;
    }

    std::byte* remove(int i)
    {
        const entry gone = entries[i];
        std::copy(entries + i + 1, entries + count, entries + i);
        --count;
        bytes -= gone.capacity;
        return gone.block;
    }
};
constinit thread_local cache waiting{};

// Its destructor runs at the thread's end and gives everything back; what is freed on the thread after that
// goes straight to the heap.
struct last_word {
    ~last_word()
    {
        waiting.state = cache::closed;
        while (waiting.count > 0) destroy(waiting.remove(waiting.count - 1));
    }
    void registered() const {}
};
thread_local last_word at_thread_end;

bool keep(void* block)
{
    const std::size_t capacity = header_of(block)->capacity;
    cache& c = waiting;
    if (capacity < page || capacity > cache_bytes || c.state == cache::closed) return false;
    if (c.state == cache::fresh) [[unlikely]] {
        at_thread_end.registered();
        c.state = cache::open;
    }
    set_mark(block, tag::idle);
    c.put(block, capacity);
    return true;
}

} // namespace
} // namespace vrn::memory

using namespace vrn::memory;

extern "C" void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment)
{
    if (!sees_addresses && size >= page && size <= cache_bytes && is_alignment(alignment)) {
        if (void* block = waiting.take(size, static_cast<std::size_t>(alignment))) {
            set_mark(block, tag::buffer);
            return block;
        }
    }
    return create(size, alignment, tag::buffer, false);
}

extern "C" void vrn_serv_deallocate(void* block)
{
    if (block == nullptr) return;
    if (const tag mark = mark_of(block); mark != tag::buffer) refuse("vrn_serv_deallocate", mark);
    if (sees_addresses || !keep(block)) destroy(block);
}

extern "C" void* vrn_serv_malloc(std::uint64_t size, std::int32_t alignment)
{
    return create(size, alignment, tag::record, false);
}

extern "C" void* vrn_serv_calloc(std::uint64_t count, std::uint64_t size, std::int32_t alignment)
{
    std::uint64_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) return nullptr;
    return create(bytes, alignment, tag::record, true);
}

extern "C" void vrn_serv_free(void* block)
{
    if (block == nullptr) return;
    if (const tag mark = mark_of(block); mark != tag::record) refuse("vrn_serv_free", mark);
    destroy(block);
}
