// A report as one HTML file that needs nothing else.
#pragma once

#include "picture/source_description.h"
#include "proof/light_curve.h"
#include "proof/proof_figures.h"

#include <string>
#include <utility>
#include <vector>

namespace qva {

/// Packed 8-bit sRGB.
struct ReportPicture {
    ImageSize size;
    std::vector<unsigned char> rgb;
};

using ReportRows = std::vector<std::pair<std::string, std::string>>; ///< label and text

struct ReportContent {
    std::string title;
    ReportPicture before; ///< cut at paper white
    ReportPicture after;  ///< the result
    ReportPicture proof;
    ReportPicture gamutMap;
    ProofFigures figures{{1, 1}, 0.0};
    LightCurve scene;
    LightCurve result;
    LightCurve paper;
    ReportRows found; ///< in the file, and chosen
    ReportRows proofed;
    std::vector<std::string> remarks;
};

/// The bytes of the file, UTF-8.
std::string ReportHtml(const ReportContent& content);

std::string Base64(const std::vector<unsigned char>& bytes);

} // namespace qva
