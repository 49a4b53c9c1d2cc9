#include "command/remarks.h"

#include "base/errors.h"
#include "base/output_file.h"
#include "base/pipe_ends.h"
#include "base/temporary_name.h"
#include "command/report.h"
#include "formats/pdf_page.h"
#include "formats/writer_table.h"

#include <algorithm>
#include <fmt/format.h>

namespace qva {

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
    if (options.device.isWanted && !OutputFormatOf(options.output).hasCodes &&
        SettingsFor(options, found.description).dpi <= 0.0)
    {
        remarks.push_back(fmt::format("no resolution is stated: the PDF's page has {} pixels per "
                                      "inch, see --dpi",
                                      assumedDpi));
    }
    return remarks;
}

void TellRemarks(const PrintOptions& options, const std::vector<std::string>& remarks)
{
    for (const std::string& remark : remarks) {
        if (!options.quiet) {
            Say(fmt::format("qva: {}: {}\n", OneLine(ForPeople(options.photo.path)), remark));
        }
    }
}

void TellRemark(const PrintOptions& options, const std::string& remark)
{
    if (!remark.empty()) {
        TellRemarks(options, {remark});
    }
}

void TellScratch(const PrintOptions& options, const std::string& reason)
{
    TellRemark(options, reason.empty() ? "" : "decoded once into a temporary file: " + reason);
}

void TellPrint(const PrintOptions& options, const PrinterProfile& profile, const Examination& found)
{
    if (options.verbose) {
        Say(fmt::format("{}  {:<13}{}\n", ReportText(found, options.render.threshold), "paper",
                        profile.description));
    }
    TellRemarks(options, AllRemarks(options, profile, found));
}

void TellLeftovers(const std::vector<std::string>& outputs, bool quiet)
{
    std::vector<std::string> folders;
    for (const std::string& output : outputs) {
        const std::string folder = FolderOf(output);
        const bool isKnown =
            std::any_of(folders.begin(), folders.end(),
                        [&](const std::string& other) { return AreSameFile(folder, other); });
        if (quiet || output.empty() || isKnown) {
            continue;
        }
        folders.push_back(folder);
        for (const std::string& path : LeftoversIn(folder)) {
            Say(fmt::format("qva: {}: was left behind by a run that was killed; nothing needs it, "
                            "it can be removed\n",
                            OneLine(path)));
        }
    }
}

} // namespace qva
