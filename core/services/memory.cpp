#include "frame/services.hpp"
#include <cstdlib>

extern "C" void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment)
{
    void* p = nullptr;
    return posix_memalign(&p, alignment < 16 ? 16 : alignment, size) == 0 ? p : nullptr;
}
extern "C" void vrn_serv_deallocate(void* block) { std::free(block); }
