// What decides the bytes of a page's result, as text that runs and machines can compare.
#pragma once

#include "base/digest.h"
#include "base/json_text.h"
#include "colour/printer_profile.h"
#include "colour/range_choice.h"
#include "formats/row_writer.h"
#include "formats/tiff_strips.h"
#include "light/light_plan.h"
#include "page/band_plan.h"
#include "render/render_settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

/// The work on one page, as every machine that takes part in it sees it.
struct PageJob {
    BandPlan plan;
    LightPlan light;
    RenderRange range;
    RenderSettings render;
    WriteSettings write;
    std::uint64_t profileDigest = 0;
    std::uint64_t pageDigest = 0; ///< of all light of the page
    Share share;                  ///< of this run; not part of JobText
};

/// Writes the members of a job into an object that is open.
void WriteJob(JsonWriter& json, const PageJob& job);

/// One line of JSON; equal for equal work on one page, and only then.
std::string JobText(const PageJob& job);

/// One line of JSON about one share of the work.
std::string ShareText(const PageJob& job);

/// The same with the CRC-32 of the share's strips and the metadata of the page: what its file says
/// about itself.
std::string ShareText(const PageJob& job, std::uint32_t checksum);

/// A share's file, as its description has it.
struct ShareRecord {
    Share share;
    BandPlan plan;
    std::string job; ///< of JobText
    std::uint32_t checksum = 0;
    Metadata metadata; ///< of the page
};

/// @throws Failure where the text is not that of ShareText.
/// @param name  of the file, for messages.
ShareRecord ParseShare(const std::string& text, const std::string& name);

/// The first thing two jobs differ in, for people.
std::string DifferenceOf(const std::string& firstJob, const std::string& secondJob);

/// The strips of a share: lines are rows, or the columns of the page.
TiffPage StripsOf(const BandPlan& plan, const LineRun& lines, const WriteSettings& settings);

} // namespace qva
