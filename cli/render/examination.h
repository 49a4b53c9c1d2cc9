// The first look at a picture: what it is, what light it holds, how it will be rendered.
#pragma once

#include "render/scan_load.h"

#include <cstdint>
#include <string>

namespace qva {

/// Everything found out about a picture and decided for it.
struct Examination {
    SourceDescription description;
    Interpretation meaning;
    Interpretation rows; ///< of what the source hands out: meaning, unless it is resampled
    PictureStatistics statistics;
    SampleCounts counts;
    LightPlan light; ///< meaning, statistics and range are those of the exposed picture
    RenderRange range;
};

/// Reads a picture once from start to end.
/// @param source  set to the opened source, which stands behind its last row.
Examination Examine(const std::string& path, const SourceOptions& options,
                    const LightOptions& light, const SizeLimits& limits, Progress& progress,
                    std::unique_ptr<ImageSource>& source);

} // namespace qva
