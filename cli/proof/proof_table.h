// What a proof has to know of every pixel, as one table over the codes of a result.
#pragma once

#include "colour/colour_table.h"
#include "colour/viewer_space.h"

#include <cstddef>

namespace qva {

/// Where the values of a pixel lie.
namespace proof {
constexpr std::size_t rgb = 0;       ///< signals of the viewer's display, three of them
constexpr std::size_t deltaE = 3;    ///< CIE ΔE 2000 between asked and printed
constexpr std::size_t lightness = 4; ///< printed less asked, in L*
constexpr std::size_t chroma = 5;    ///< printed less asked, in C*ab
constexpr std::size_t hue = 6;       ///< ΔH*ab, not signed
constexpr std::size_t ink = 7;       ///< percent of total area coverage; 0 without inks
constexpr std::size_t count = 8;
} // namespace proof

/// CIE ΔE 2000 of two colours.
double DeltaE2000(const Lab& first, const Lab& second);

/// One colour, as it was asked for and as it is printed; both relative to the paper.
struct PrintedColour {
    Lab asked;
    Lab printed;
    double deltaE = 0.0;
};

PrintedColour PrintedColourOf(const DeviceProfile& device, const std::uint16_t* codes);

/// Computes the values of packed colours; any number of threads may ask at once.
void ProofValues(const DeviceProfile& device, const ViewerSpace& viewer, PaperWhite white,
                 const std::uint16_t* codes, std::size_t count, float* values);

/// The same as a table.
ColourTable MakeProofTable(const DeviceProfile& device, const ViewerSpace& viewer,
                           PaperWhite white);

} // namespace qva
