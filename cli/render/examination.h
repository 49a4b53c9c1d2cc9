// The first look at a picture: what it is, what light it holds, how it will be rendered.
#pragma once

#include "render/scan_load.h"

#include <functional>
#include <memory>
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

/// Whether the samples of a picture are kept in memory, and those that were.
struct Keeping {
    std::function<bool(ImageSize)> isWanted;
    KeptSamples samples;
};

/// Reads a picture once from start to end.
/// @param source   set to the opened source, which stands behind its last row.
/// @param keeping  where given, samples that fit 16 bits are kept when they are wanted.
Examination Examine(const std::string& path, const SourceOptions& options,
                    const LightOptions& light, const SizeLimits& limits, Progress& progress,
                    std::unique_ptr<ImageSource>& source, Keeping* keeping = nullptr);

/// The same of a source that was just opened.
Examination Examine(ImageSource& source, const SourceOptions& options, const LightOptions& light,
                    Progress& progress, Keeping* keeping = nullptr);

} // namespace qva
