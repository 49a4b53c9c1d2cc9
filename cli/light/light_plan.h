// What is done to a picture's light before it is handed to the library.
#pragma once

#include "colour/colour_interpretation.h"
#include "colour/picture_statistics.h"

#include <optional>
#include <string>
#include <vector>

namespace qva {

/// What the user asked for.
struct LightOptions {
    std::optional<double> exposure; ///< stops; not given: chosen where choosesExposure
    bool choosesExposure = true;    ///< only where neither file nor option states the scale
    bool repairs = true;
    bool fitsColour = true;
    bool mixesRims = true;
    bool bendsHighlights = true;
};

/// What is done, chosen once for a whole picture; it decides the bytes of a print.
struct LightPlan {
    double exposure = 0.0;         ///< stops, part of the interpretation already
    std::string exposureFrom;      ///< for people: why
    bool exposureIsChosen = false; ///< by us
    bool repairs = false;
    bool fitsColour = false;
    bool mixesRims = false;
    double shoulderEnd = 0.0;     ///< cd/m² that becomes the top; 0 for no shoulder
    double shoulderTop = 10000.0; ///< cd/m²
    std::vector<std::string> off; ///< options that turned a step off
};

/// Chooses for a picture that has been measured, and exposes it. Codes that are handed over
/// untouched get no other step.
/// @param top  cd/m² that the user wants to be the brightest, if any.
/// @throws Misuse where the exposure that is asked for does not fit the picture.
LightPlan PlanLight(const LightOptions& options, std::optional<double> top, Interpretation& meaning,
                    PictureStatistics& statistics);

/// For people: "colours outside BT.2020 moved in".
std::vector<std::string> StepsOf(const LightPlan& plan);

/// "+1.50 EV", "+0.001 EV", or "none".
std::string ExposureText(const LightPlan& plan);

} // namespace qva
