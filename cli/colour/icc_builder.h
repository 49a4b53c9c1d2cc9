// Writes the ICC profile that goes with a rendered picture.
#pragma once

#include "picture/chromaticities.h"

#include <string>
#include <vector>

namespace qva {

/// Builds a display profile (ICC.1:2010, version 4.3) of three primaries and one power curve for
/// all channels. The primaries are adapted to the D50 of the connection space by the linear
/// Bradford transform, which the tag chad states.
/// @param description  ASCII, shown to users.
/// @param exponent     of the curve from signal to light, 0.01 ... 100.
std::vector<unsigned char> BuildRgbProfile(const Chromaticities& primaries, double exponent,
                                           const std::string& description);

/// The profile of what the library writes: BT.2020 primaries, power 2.2, white is paper white.
std::vector<unsigned char> RenderedProfile();

} // namespace qva
