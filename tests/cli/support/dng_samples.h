// Raw pictures as a camera with a Bayer mosaic would write them.
#pragma once

#include "picture/chromaticities.h"
#include "picture/source_description.h"

#include <string>
#include <vector>

namespace qva::samples {

struct DngKind {
    /// XYZ under D65 to the camera's channels.
    Matrix3 fromXyz = {{{0.8, -0.2, -0.1}, {-0.4, 1.3, 0.1}, {-0.05, 0.2, 0.7}}};
    int orientation = 1;
    bool isBigEndian = false;
};

/// A Digital Negative of 16 bits, a mosaic of red, green / green, blue. White (1, 1, 1) fills two
/// thirds of the channel that is filled most, and is the white of the shot.
/// @param rgb  linear light of BT.2020, interleaved.
void WriteDng(const std::string& path, ImageSize size, const std::vector<double>& rgb,
              const DngKind& kind = {});

} // namespace qva::samples
