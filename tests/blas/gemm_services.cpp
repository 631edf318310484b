// tests/blas/gemm_services.cpp - services of the host as the tests of the matrix product answer them. The program's
// own definitions are found ahead of the host's.

#include "frame/services.hpp"
#include "tests/blas/gemm_support.hpp"

vrn::test::host_services vrn::test::host;
using vrn::test::host;

namespace {
// What stands ahead of a block: what the heap gave.
struct before {
    void* heap;
};
} // namespace

// No better aligned than asked for, and full of NaN, so that neither luck with addresses nor with old contents
// hides a fault. The end is the heap block's end, which the address sanitizer watches.
extern "C" void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment)
{
    host.size = size, host.alignment = alignment, host.block = nullptr;
    const long number = host.asked++;
    if (number >= host.refuse_from && number < host.refuse_to) {
        ++host.refused;
        return nullptr;
    }
    const auto step = static_cast<std::size_t>(alignment < 16 ? 16 : alignment);
    void* heap = nullptr;
    if (posix_memalign(&heap, 2 * step < 8192 ? 8192 : 2 * step, size + step) != 0) return nullptr;
    char* block = static_cast<char*>(heap) + step;
    std::memset(block, 0xff, size);
    reinterpret_cast<before*>(block)[-1].heap = heap;
    ++host.live;
    host.block = block;
    return block;
}

extern "C" void vrn_serv_deallocate(void* block)
{
    if (block == nullptr) return;
    --host.live;
    std::free(static_cast<before*>(block)[-1].heap);
}

extern "C" std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char* routine, ...)
{
    if (block != nullptr) return 0;
    ++host.warnings;
    host.warned = routine;
    return 1;
}

extern "C" std::int32_t vrn_serv_get_microarchitecture() { return host.microarchitecture; }

extern "C" void vrn_serv_cache_info(std::int32_t info[6])
{
    info[0] = host.cache_valid;
    info[1] = info[2] = info[4] = info[5] = 1;
    info[3] = host.cache_bytes;
}
