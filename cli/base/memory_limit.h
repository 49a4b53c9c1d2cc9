// How much memory there is.
#pragma once

#include <cstdint>

namespace qva {

/// Bytes this program may need: four fifths of what the machine has, or its container or its
/// resource limits allow.
std::uint64_t MemoryLimit();

/// The largest resident size this program has had so far, in bytes.
std::uint64_t PeakMemory();

} // namespace qva
