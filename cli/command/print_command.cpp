// qva print and qva preview
#include "base/errors.h"
#include "base/memory_limit.h"
#include "command/page_command.h"
#include "command/print_support.h"
#include "command/report.h"
#include "page/band_plan.h"
#include "render/side_by_side.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

Page Load(ImageSource& source, const Examination& found, const PrintOptions& options,
          Progress& progress)
{
    source.Open(options.photo, options.limits);
    const SceneDecoder decoder(found.meaning, options.photo);
    Page page = LoadPage(source, decoder, found.range, progress);
    source.Close();
    return page;
}

/// A page that does not fit goes the way of qva page.
PageOptions InBands(const PrintOptions& options)
{
    PageOptions page;
    page.print = options;
    page.maxMemory = options.maxMemory.value_or(std::min(page.maxMemory, MemoryLimit()));
    page.continuation = Continuation::Any;
    page.progress = options.quiet ? ProgressStyle::None : ProgressStyle::Terminal;
    return page;
}

bool FitsMemory(const PrintOptions& options, ImageSize size)
{
    return options.render.preview || PrintMemory(size) <= options.maxMemory.value_or(MemoryLimit());
}

} // namespace

void RunPrint(const PrintOptions& options)
{
    CheckNames(options);
    SetThreads(options.render.threads);
    const PrinterProfile profile = ProfileOf(options);
    // Before the work, so that a folder that cannot be written is known at once.
    std::optional<OutputFile> output(options.output);
    std::optional<OutputFile> sheet;
    if (!options.sideBySide.empty()) {
        sheet.emplace(options.sideBySide);
    }
    Progress progress(options.quiet ? ProgressStyle::None : ProgressStyle::Terminal);
    std::unique_ptr<ImageSource> source;
    const Examination found =
        Examine(options.photo, options.source, options.limits, progress, source);
    if (!FitsMemory(options, source->Size())) {
        progress.Clear();
        TellRemarks(options, {"does not fit memory at once: printed in bands, as by qva page"});
        output.reset();
        sheet.reset();
        RunPageOf(InBands(options), profile, found, *source);
        return;
    }
    Page page = Load(*source, found, options, progress);
    Panel clipped;
    if (sheet) {
        clipped = ReducePage(page, ClippedLight(found.range, options.render.paperWhite));
    }
    progress.Show("rendering", -1.0);
    Render(page, found.range, profile, options.render, options.photo);
    if (sheet) {
        WriteSideBySide(*sheet, clipped, ReducePage(page, RenderedLight()));
    }
    WritePage(*output, page, SettingsFor(options, found.description), progress);
    output->Commit();
    if (sheet) {
        sheet->Commit();
    }
    progress.Clear();
    if (options.verbose) {
        Say(fmt::format("{}  {:<13}{}\n", ReportText(found, options.render.threshold), "paper",
                        profile.description));
    }
    TellRemarks(options, AllRemarks(options, profile, found));
}

} // namespace qva
