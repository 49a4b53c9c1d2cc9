// The header of a Radiance picture.
#pragma once

#include "picture/source_description.h"

#include <array>
#include <cstdio>
#include <string>

namespace qva {

/// What stands before the pixels.
struct HdrHeader {
    ImageSize size; ///< scanlines are its rows
    int orientation = 1;
    /// Factors that bring the stored values back to the original ones: the inverse of all
    /// EXPOSURE and COLORCORR lines together.
    std::array<double, 3> gains = {1.0, 1.0, 1.0};
    std::optional<Chromaticities> primaries;
};

/// Reads the header and leaves the file at the first pixel.
/// @param path  for messages.
/// @throws Failure for a header that is damaged or of the XYZE kind.
HdrHeader ReadHdrHeader(std::FILE* file, const std::string& path);

} // namespace qva
