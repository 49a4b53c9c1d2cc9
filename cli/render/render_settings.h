// What the user can choose about a rendering.
#pragma once

namespace qva {

/// The threshold, cd/m², that the library itself starts with.
constexpr double defaultThreshold = 1.3;

struct RenderSettings {
    bool preview = false;                ///< leave out the device step
    int paperWhite = 100;                ///< cd/m²: 100, 200 or 400
    double threshold = defaultThreshold; ///< cd/m², 0 ... 100
    bool saturation = false;             ///< saturation intent instead of media-relative
    bool blackPointCompensation = true;
};

} // namespace qva
