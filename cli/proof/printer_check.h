// What a printer's profile will do to pictures, measured.
#pragma once

#include "colour/device_profile.h"

#include <array>
#include <string>
#include <vector>

namespace qva {

/// A saturated colour of sRGB as the paper gives it.
struct StrongColour {
    const char* name;        ///< for people: "red"
    double chromaLost = 0.0; ///< percent of C*ab
    double hueTurned = 0.0;  ///< degrees, towards yellow, green, blue, red where positive
};

struct PrinterMeasures {
    Lab white;                    ///< of the paper, absolute
    Lab black;                    ///< the darkest that is printed, absolute
    double contrast = 0.0;        ///< luminance of white over that of black
    double gamutVolume = 0.0;     ///< cubic units of CIELAB, relative to the paper
    double roundTripMedian = 0.0; ///< ΔE 2000 of printed colours that are asked for and printed
    double roundTripMost = 0.0;   ///< of 99 % of them
    double mostInk = 0.0;         ///< percent of all inks together; 0 without inks
    std::array<StrongColour, 6> strong;
};

/// Measures by the media-relative intent without black-point compensation.
/// @param name  of the profile, for messages.
/// @throws Failure as DeviceProfile.
PrinterMeasures MeasurePrinter(const PrinterProfile& profile, const std::string& name);

/// What the measures mean for pictures, a sentence each.
std::vector<std::string> WordsFor(const PrinterMeasures& measures);

} // namespace qva
