// From finished strips to the picture a user asked for.
#pragma once

#include "base/output_file.h"
#include "base/progress.h"
#include "formats/strip_reader.h"
#include "page/band_plan.h"

#include <string>
#include <vector>

namespace qva {

/// Whether the strips of a page are the strips of its result; if not they are decoded and written
/// anew.
/// @param output  the result's name.
bool StripsAreResult(const BandPlan& plan, const WriteSettings& settings,
                     const std::string& output);

/// Writes the result of a page from the strips of its shares, which are complete and in order.
void Assemble(std::vector<StripReader>& shares, const BandPlan& plan, const WriteSettings& settings,
              const OutputFile& file, Progress& progress);

} // namespace qva
