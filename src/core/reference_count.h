// The shared count of a buffer: a heap-allocated 32-bit integer that is changed atomically.
#pragma once

#include "core/allocation.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace lumo {

/// A new count of 1.
/// @throws what Alloc throws.
inline int32_t* NewCount()
{
    auto* count = static_cast<int32_t*>(Alloc(sizeof(int32_t)));
    *count = 1;
    return count;
}

/// Adds a holder. `refLock` belongs to the header that gains the reference.
inline void RaiseCount(int32_t* count, std::mutex& refLock)
{
    const std::lock_guard<std::mutex> hold(refLock);
    std::atomic_ref<int32_t>(*count).fetch_add(1, std::memory_order_relaxed);
}

/// Takes a holder away.
/// @returns the holders that remain, never below 0; at 0 the caller frees buffer and count.
inline int32_t LowerCount(int32_t* count, std::mutex& refLock)
{
    const std::lock_guard<std::mutex> hold(refLock);
    const int32_t before = std::atomic_ref<int32_t>(*count).fetch_sub(1, std::memory_order_acq_rel);
    return before > 1 ? before - 1 : 0;
}

} // namespace lumo
