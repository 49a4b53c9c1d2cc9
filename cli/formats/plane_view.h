// Planes of samples that lie in memory of somebody else.
#pragma once

#include <array>
#include <cstddef>

namespace qva {

/// Samples of one byte, or of two in the machine's order where there are more than 8 bits.
struct PlaneView {
    const unsigned char* first = nullptr;
    std::ptrdiff_t stride = 0; ///< bytes from a row to the next
};

/// Luma and two chroma planes.
using PlaneSet = std::array<PlaneView, 3>;

} // namespace qva
