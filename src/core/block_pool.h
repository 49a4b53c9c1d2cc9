// Memory of the calls that are under way: blocks freed by one stage serve the next.
#pragma once

#include <cstdint>

namespace lumo {

/// While one of these lives, buffers of 64 kB to 32 MB come from large chunks on large pages and go
/// back to them, instead of being mapped, faulted in and unmapped by every stage. With the last one
/// the chunks are returned to the system, but for what outlives the call.
class CallMemory {
public:
    CallMemory();
    CallMemory(const CallMemory&) = delete;
    CallMemory& operator=(const CallMemory&) = delete;
    ~CallMemory();
};

namespace pool {

/// A block aligned to 64 kB, or null where the heap has to serve: no call under way, a size outside
/// the limits, no chunk to be had.
void* Take(uint64_t bytes) noexcept;

/// Takes a block back. @returns false if it is none of the pool's.
bool Give(void* block) noexcept;

} // namespace pool

} // namespace lumo
