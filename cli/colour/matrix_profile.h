// ICC profiles of three curves and a matrix, taken apart.
#pragma once

#include "picture/chromaticities.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace qva {

struct MatrixProfile {
    Chromaticities primaries; ///< adapted to the white D65
    /// Linear light of equally spaced signals from 0 to 1, for red, green and blue.
    std::array<std::vector<float>, 3> curves;
};

/// @param profile  bytes of an ICC profile.
/// @param codes    signals in a curve, at least 2.
/// @return nothing where the profile is damaged, not for RGB, or made in another way.
std::optional<MatrixProfile> TakeApart(const std::vector<unsigned char>& profile,
                                       std::size_t codes);

} // namespace qva
