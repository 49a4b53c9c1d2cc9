#include "command/print_support.h"

#include "base/errors.h"
#include "command/report.h"

#include <cstdio>
#include <fmt/format.h>

namespace qva {

namespace {

void RefuseSameFile(const std::string& output, const std::string& other, const char* what)
{
    if (!output.empty() && !other.empty() && AreSameFile(output, other)) {
        throw Misuse(output, fmt::format("is {} by another name, or the same", what));
    }
}

} // namespace

void CheckNames(const PrintOptions& options)
{
    for (const std::string& output : {options.output, options.sideBySide}) {
        RefuseSameFile(output, options.photo, "the photograph");
        RefuseSameFile(output, options.profile, "the profile");
    }
    RefuseSameFile(options.sideBySide, options.output, "the result");
}

PrinterProfile ProfileOf(const PrintOptions& options)
{
    return options.profile.empty() ? BuiltInProfile() : ReadPrinterProfile(options.profile);
}

WriteSettings SettingsFor(const PrintOptions& options, const SourceDescription& source)
{
    WriteSettings settings = options.write;
    settings.dpi = settings.dpi > 0.0 ? settings.dpi : source.dpi;
    return settings;
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

void TellRemarks(const PrintOptions& options, const std::vector<std::string>& remarks)
{
    for (const std::string& remark : remarks) {
        if (!options.quiet) {
            Say(fmt::format("qva: {}: {}\n", OneLine(options.photo), remark));
        }
    }
}

} // namespace qva
