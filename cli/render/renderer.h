// The library's part of the work: codes of a scene to codes for paper.
#pragma once

#include "colour/printer_profile.h"
#include "colour/range_choice.h"
#include "picture/rendered_page.h"
#include "render/render_settings.h"

#include <cstdint>
#include <string>

namespace qva {

/// The threshold as the library takes it: inside the range it is used with.
double FitThreshold(double threshold, const RenderRange& range);

/// Renders a page in place: from codes of range to BT.2020 codes with the power 1/2.2, where
/// 65535 is paper white.
/// @throws Failure, naming what to do, where the library refuses or fails. The page's content is
///         then not defined.
void Render(Page& page, const RenderRange& range, const PrinterProfile& profile,
            const RenderSettings& settings, const std::string& name);

/// The same from one place to another.
/// @param source  packed codes; only read. May be the result.
void Render(const std::uint16_t* source, std::uint16_t* result, ImageSize size,
            const RenderRange& range, const PrinterProfile& profile, const RenderSettings& settings,
            const std::string& name);

} // namespace qva
