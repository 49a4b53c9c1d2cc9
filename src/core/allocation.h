// Where images and tables get their memory.
#pragma once

#include "core/exception.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace lumo {

/// One thread at a time is in the heap on this library's behalf: what takes memory or gives it back
/// holds this. A constructor or destructor that does so in turn may be run under it.
extern std::recursive_mutex allocLock;

/// Bytes that one request may be about.
constexpr uint64_t maxDataSize = 60'000'000'000;

/// @throws Exception code 1 above maxDataSize.
void EnsureDataSize(uint64_t bytes);

/// Product of three sizes; the largest value of the type where it would not fit.
uint64_t SaturatingProduct(uint64_t a, uint64_t b, uint64_t c);

/// From the heap; 0 bytes are null. For Free.
/// @throws Exception code 1 above the limit, then code 0 when memory runs out.
void* Alloc(uint64_t bytes);

/// A block aligned to 16 bytes at least, or null for 0 bytes. Released by FreeAligned.
/// Large blocks are aligned to large pages and ask the kernel for them: their first touch costs a
/// fifth.
/// @throws Exception code 1 above the limit, then code 0 when memory runs out.
void* AllocAligned(uint64_t bytes);

void Free(void* block) noexcept;
void FreeAligned(void* block) noexcept;

/// A block for an array of numbers or plain records. Released by FreeArray.
/// @throws std::bad_alloc above the limit or when memory runs out.
void* AllocArray(uint64_t bytes);
void FreeArray(void* block) noexcept;

/// Copies min(srcCount, dstCount) elements; nothing where src is null or the count is 0.
/// @throws Exception code 0 if there is something to copy and dst is null.
template <typename T>
void CloneMemory(const T* src, uint64_t srcCount, T* dst, uint64_t dstCount)
{
    const uint64_t count = std::min(srcCount, dstCount);
    if (src == nullptr || count == 0) {
        return;
    }
    if (dst == nullptr) {
        throw Exception(exceptionResource, "Error in CloneMemory, failed copy");
    }
    std::copy(src, src + count, dst);
}

} // namespace lumo
