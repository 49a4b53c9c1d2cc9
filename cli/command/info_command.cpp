// qva info
#include "command/options.h"
#include "command/report.h"
#include "render/renderer.h"

#include <fmt/format.h>

namespace qva {

void RunInfo(const InfoOptions& options)
{
    SetThreads(0);
    Progress progress(ProgressStyle::Terminal);
    std::unique_ptr<ImageSource> source;
    const Examination found =
        Examine(options.photo, options.source, options.limits, progress, source);
    progress.Clear();
    fmt::print("{}", options.json ? ReportJson(found, options.threshold)
                                  : ReportText(found, options.threshold));
}

} // namespace qva
