// Colour-space codes and luminance ranges.
#pragma once

#include <cstdint>

namespace lumo {

/// Codes of the colour spaces.
enum ColorSpace : int32_t {
    XYZ = 1,
    sRGB = 3,      ///< BT.709 primaries
    BT2020RGB = 6, ///< BT.2020 primaries
    ICtCp = 7,     ///< working space of ITU-R BT.2100
    xyYwithPQ = 8, ///< working space: PQ-coded Y, x, y
};

/// What linear RGB (or XYZ) codes stand for: valueMin ... valueMax for lumiMin ... lumiMax cd/m2.
struct LuminanceRange {
    double valueMax = 0.0;
    double lumiMax = 0.0;
    double valueMin = 0.0;
    double lumiMin = 0.0;
    int32_t colorSpace = 0;
};

/// An input range and an output range.
struct LuminanceRangePair {
    LuminanceRange input;
    LuminanceRange output;
};

} // namespace lumo
