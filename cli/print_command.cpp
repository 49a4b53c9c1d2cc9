// qva print and qva preview
#include "errors.h"
#include "options.h"
#include "report.h"
#include "side_by_side.h"

#include <cstdio>
#include <fmt/format.h>
#include <optional>

namespace qva {

namespace {

void RefuseSameFile(const std::string& output, const std::string& other, const char* what)
{
    if (!output.empty() && !other.empty() && AreSameFile(output, other)) {
        throw Misuse(output, fmt::format("is {} by another name, or the same", what));
    }
}

void CheckNames(const PrintOptions& options)
{
    for (const std::string& output : {options.output, options.sideBySide}) {
        RefuseSameFile(output, options.photo, "the photograph");
        RefuseSameFile(output, options.profile, "the profile");
    }
    RefuseSameFile(options.sideBySide, options.output, "the result");
}

void Tell(const PrintOptions& options, const std::vector<std::string>& remarks)
{
    for (const std::string& remark : remarks) {
        if (!options.quiet) {
            fmt::print(stderr, "qva: {}: {}\n", OneLine(options.photo), remark);
        }
    }
}

Page Load(ImageSource& source, const Examination& found, const PrintOptions& options,
          Progress& progress)
{
    source.Open(options.photo, options.maxPixels);
    const SceneDecoder decoder(found.meaning, options.photo);
    Page page = LoadPage(source, decoder, found.range, progress);
    source.Close();
    return page;
}

std::vector<std::string> AllRemarks(const PrintOptions& options, const PrinterProfile& profile,
                                    const Examination& found)
{
    std::vector<std::string> remarks = Remarks(found, options.render.threshold);
    if (profile.isBuiltIn) {
        remarks.push_back("no --profile: rendered for a generic photo paper");
    } else if (!profile.isPrinter) {
        remarks.push_back(fmt::format("{}: is the profile of a display or a colour space, not of "
                                      "a printer",
                                      options.profile));
    }
    return remarks;
}

} // namespace

void RunPrint(const PrintOptions& options)
{
    CheckNames(options);
    SetThreads(options.render.threads);
    const PrinterProfile profile =
        options.profile.empty() ? BuiltInProfile() : ReadPrinterProfile(options.profile);
    // Before the work, so that a folder that cannot be written is known at once.
    OutputFile output(options.output);
    std::optional<OutputFile> sheet;
    if (!options.sideBySide.empty()) {
        sheet.emplace(options.sideBySide);
    }
    Progress progress(!options.quiet);
    std::unique_ptr<ImageSource> source;
    const Examination found =
        Examine(options.photo, options.source, options.maxPixels, progress, source);
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
    WritePage(output, page, options.write, progress);
    output.Commit();
    if (sheet) {
        sheet->Commit();
    }
    progress.Clear();
    if (options.verbose) {
        fmt::print(stderr, "{}  {:<13}{}\n", ReportText(found, options.render.threshold), "paper",
                   profile.description);
    }
    Tell(options, AllRemarks(options, profile, found));
}

} // namespace qva
