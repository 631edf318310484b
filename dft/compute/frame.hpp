// dft/compute/frame.hpp - the scratch memory of one compute call.
//
// Most small transforms work within 16 KiB of the call's own frame, on a page of it, and never meet the allocator. A
// buffer must end below the frame's last byte; one of the full size goes to the heap.
#pragma once

#include "dft/commit/engine.hpp"

namespace vrn::dft {

inline constexpr std::uint64_t frame_bytes = 16384;

// Calls route(work), with work null where the plan needs none. Status 1 where there is no memory.
template <class Route>
dft_status with_work(std::uint64_t size, Route&& route)
{
    if (size == 0) return route(nullptr);
    if (size < frame_bytes) {
        alignas(4096) std::byte frame[frame_bytes];
        return route(static_cast<void*>(frame));
    }
    const buffer heap(size, 4096);
    return heap ? route(heap.block) : no_memory;
}

} // namespace vrn::dft
