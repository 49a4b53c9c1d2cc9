// The luminance of linear light with the primaries of ITU-R BT.2020.
#pragma once

namespace qva {

/// @param rgb  three channels, cd/m².
/// @return cd/m²; below 0 for what is no colour.
inline float LuminanceOf(const float* rgb)
{
    // ITU-R BT.2020-2, table 4: the weights of Y'c.
    return 0.2627f * rgb[0] + 0.6780f * rgb[1] + 0.0593f * rgb[2];
}

} // namespace qva
