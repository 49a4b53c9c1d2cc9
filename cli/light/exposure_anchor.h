// The exposure of a picture that does not say how bright it was.
#pragma once

#include "colour/colour_interpretation.h"
#include "colour/picture_statistics.h"

#include <optional>

namespace qva {

/// Finds the exposure that a picture needs where neither its file nor an option says what light a
/// value stands for. The same picture multiplied by any factor gets the same light.
class ExposureAnchor {
public:
    /// The log-mean luminance that stays as it is, cd/m²: from a room by night to an overcast noon.
    /// Values of a picture that mean something on the usual scale lie inside; docs/light.md has
    /// what was tried.
    static constexpr double darkest = 4.0;
    static constexpr double brightest = 150.0;

    /// @return stops to a hundredth, 0 where the light already lies inside.
    double operator()(const PictureStatistics& statistics) const;
};

/// Multiplies the light that a picture stands for, and what is known of it.
/// @param stops  a factor of 2 each.
/// @throws Misuse for PQ and HLG, which say themselves what light they are.
void Expose(double stops, Interpretation& meaning, PictureStatistics& statistics);

} // namespace qva
