// From finished strips to the picture a user asked for.
#pragma once

#include "base/progress.h"
#include "formats/image_writer.h"
#include "formats/tiff_strips.h"
#include "page/band_plan.h"

#include <vector>

namespace qva {

/// Whether the strips of a page are the strips of its result; if not they are decoded and written
/// anew.
bool StripsAreResult(const BandPlan& plan, const WriteSettings& settings);

/// Writes the result of a page from the strips of its shares, which are complete and in order.
void Assemble(std::vector<StripReader>& shares, const BandPlan& plan, const WriteSettings& settings,
              const OutputFile& file, Progress& progress);

} // namespace qva
