// A picture in memory, upright, in the 16-bit codes the library takes.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <memory>

namespace qva {

/// Packed rows of interleaved R, G, B.
struct Page {
    ImageSize size;
    std::unique_ptr<std::uint16_t[]> codes;
};

} // namespace qva
