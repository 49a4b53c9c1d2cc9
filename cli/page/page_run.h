// A page of any size in bounded memory: one run over the bands of a page, or of a share of it.
#pragma once

#include "base/progress.h"
#include "colour/printer_profile.h"
#include "formats/row_writer.h"
#include "page/band_plan.h"
#include "page/page_job.h"
#include "page/page_result.h"
#include "render/examination.h"

#include <cstdint>
#include <string>

namespace qva {

/// What a run is asked for.
struct PageRequest {
    std::string photo;
    SizeLimits limits;
    RenderSettings render;
    WriteSettings write;
    std::string output;
    std::string sideBySide; ///< empty: none
    PageCut cut;
    Continuation continuation = Continuation::Refuse;
    ProgressStyle progress = ProgressStyle::Terminal;
};

/// What a run did.
struct PageSummary {
    PageJob job;
    std::string scratchReason; ///< of ScratchReasonOf
    std::int64_t resumed = 0;  ///< bands that an earlier run had done
    double seconds = 0.0;
};

/// Renders band after band and writes the result.
/// @param found   of the picture that the source reads.
/// @param source  opened; its rows may be used up.
PageSummary RunPage(const PageRequest& request, const PrinterProfile& profile,
                    const Examination& found, ImageSource& source);

} // namespace qva
