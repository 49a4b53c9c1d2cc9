// How small the copy of a page is that gets analysed.
#pragma once

#include "picture/source_description.h"

namespace qva {

/// The longer side of the copy, in pixels.
constexpr std::int64_t analysisSide = 1200;

/// The size of a copy: unchanged up to the given longer side, else reduced to it.
ImageSize ReducedSize(ImageSize page, std::int64_t longerSide);

} // namespace qva
