// Chooses the luminance range and the codes that a picture is handed to the library in.
#pragma once

#include "colour/colour_interpretation.h"
#include "colour/picture_statistics.h"

#include <cstdint>
#include <lumo/qva.h>
#include <string>

namespace qva {

/// What the library's gammaType says about codes.
constexpr std::uint32_t gammaLinear = QVA_GAMMA_LINEAR;
constexpr std::uint32_t gamma22 = QVA_GAMMA_2_2;
constexpr std::uint32_t gammaPq = QVA_GAMMA_PQ;

/// Codes 0 ... codeMax stand for bottom ... top; codes above codeMax are cut.
struct RenderRange {
    std::uint32_t gammaType = gammaLinear;
    double bottom = 0.0; ///< cd/m²
    double top = 0.0;    ///< cd/m², at most 10000
    std::uint32_t codeMax = 65535;
    bool passThrough = false; ///< the file's codes are handed over untouched
    std::string topFrom;      ///< for people: why this top
};

/// The lowest top chosen by itself, cd/m². Well above the black of any paper (about 2 at most
/// under 100 cd/m²), so that a black picture can be rendered.
constexpr double lowestTop = 10.0;

/// The light that a picture's range has to reach, cd/m²: its peak, or its 99.99th percentile where
/// the peak is more than twice that.
double BrightestOf(const PictureStatistics& statistics);

/// Tells whether the codes of a picture are codes that the library knows.
bool PassesCodes(const Interpretation& meaning);

/// Chooses a range. The top is options.top where given; else that of BrightestOf; at least
/// lowestTop, at most 10000 and what the codes can say.
///
/// A high top costs shadows, because the library works on 65,536 equal steps of light below it.
/// For the same reason scene light is handed over in linear codes: they are those steps,
/// correctly rounded, where PQ codes would first be rounded on their own scale and then truncated
/// to the steps. 16-bit BT.2020 codes in an encoding the library knows (linear, gamma 2.2, PQ)
/// pass untouched; the top then only moves codeMax.
RenderRange ChooseRange(const Interpretation& meaning, const PictureStatistics& statistics,
                        const SourceOptions& options);

/// Light of a code under a range, in cd/m².
double CodeToLuminance(const RenderRange& range, std::uint32_t code);

/// For people: "linear", "gamma 2.2", "PQ".
std::string NameOfGammaType(std::uint32_t gammaType);

} // namespace qva
