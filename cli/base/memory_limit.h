// How much memory there is, and giving some back.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qva {

/// Bytes this program may need: four fifths of what the machine has, or its container or its
/// resource limits allow.
std::uint64_t MemoryLimit();

/// The largest resident size this program has had so far, in bytes.
std::uint64_t PeakMemory();

/// Gives the whole pages of a piece of memory back before it is freed; what stood there is lost.
void GiveBack(void* begin, std::size_t bytes);

} // namespace qva
