// The library's part of the work: codes of a scene to codes for paper.
#pragma once

#include "colour/printer_profile.h"
#include "colour/range_choice.h"
#include "picture/rendered_page.h"

#include <cstdint>

namespace qva {

/// The threshold, cd/m², that the library itself starts with.
constexpr double defaultThreshold = 1.3;

/// More threads than these are not asked of a system.
constexpr int mostThreads = 1024;

/// What the user can choose about a rendering.
struct RenderSettings {
    bool preview = false;                ///< leave out the device step
    int paperWhite = 100;                ///< cd/m²: 100, 200 or 400
    double threshold = defaultThreshold; ///< cd/m², 0 ... 100
    bool saturation = false;             ///< saturation intent instead of media-relative
    bool blackPointCompensation = true;
};

/// Sets how many threads the library and the readers work with; 0: one per core.
void SetThreads(int threads);

/// The threshold as the library takes it: inside the range it is used with.
double FitThreshold(double threshold, const RenderRange& range);

/// Renders a page in place: from codes of range to BT.2020 codes with the power 1/2.2, where
/// 65535 is paper white.
/// @throws Failure, naming what to do, where the library refuses or fails. The page's content is
///         then not defined.
void Render(Page& page, const RenderRange& range, const PrinterProfile& profile,
            const RenderSettings& settings, const std::string& name);

} // namespace qva
