// Tells people and programs what was found in a picture and chosen for it.
#pragma once

#include "base/json_text.h"
#include "render/examination.h"

#include <string>
#include <vector>

namespace qva {

/// @param threshold  cd/m², as the user asked for it.
/// @return lines for people, each with its line end.
std::string ReportText(const Examination& found, double threshold);

/// Adds the same to a JSON object that is open.
void WriteReport(JsonWriter& json, const Examination& found, double threshold);

/// @return the same as one JSON object over several lines, with a line end.
std::string ReportJson(const Examination& found, double threshold);

/// Sentences about what the user should know after a print: samples that were no light, notes of
/// the interpretation, a lowered threshold.
std::vector<std::string> Remarks(const Examination& found, double threshold);

} // namespace qva
