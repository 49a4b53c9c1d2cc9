// The colour tables before and after the tone curves.
#pragma once

#include "colorspace/color_space.h"
#include "colorspace/lut3d.h"

namespace lumo {

/// Pulls saturated colours of the 1/2.2-encoded rendering inward, reds most: a constant table of 16
/// nodes an axis over codes 0 ... 65535.
class HtrColorCompression : public Lut3D {
public:
    HtrColorCompression();
};

/// Adjusts the linear image before tone reproduction: a constant table blended with the identity by
/// t = log2(input.lumiMax / output.lumiMax) / 3 within [0, 1], luminances below 1 taken as 1.
class HtrColorCorrection : public Lut3D {
public:
    explicit HtrColorCorrection(const LuminanceRangePair& ranges);
};

} // namespace lumo
