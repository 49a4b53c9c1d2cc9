#include "command/command_line.h"

#include "base/errors.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <lumo/qva.h>

namespace qva {

namespace {

struct CommandEntry {
    const char* name;
    const char* help; ///< one line
    std::unique_ptr<Command> (*make)();
};

// The order is that of the help.
constexpr CommandEntry commands[] = {
    {"print", "Render a photograph for a printer", MakePrintCommand},
    {"preview", "Render for the screen: the print before its device step", MakePreviewCommand},
    {"page", "Render a page of any size in bounded memory, band by band", MakePageCommand},
    {"join", "Put the shares of a page together", MakeJoinCommand},
    {"info", "Show what a photograph holds and what is chosen", MakeInfoCommand},
};

constexpr const char* description =
    "Renders high-dynamic-range photographs for paper.\n"
    "Reads OpenEXR, Radiance HDR, JPEG XL, PNG, TIFF and camera RAW; writes 16-bit TIFF or PNG\n"
    "with the profile \"BT.2020 gamma 2.2\", where the brightest code is paper white.";

constexpr const char* examples =
    "Examples:\n"
    "  qva info photo.exr                     what the file holds and how it would be rendered\n"
    "  qva print photo.exr -o print.tif --profile printer.icc\n"
    "  qva print photo.hdr -o print.tif --side-by-side compare.png   a picture to compare\n"
    "  qva print scan.tif -o print.tif --encoding linear --primaries bt2020 --luminance-max 1500\n"
    "  qva preview photo.png -o screen.png    the same without the device step\n"
    "  qva page poster.tif -o print.tif --profile printer.icc   a page larger than memory\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 misused.\n"
    "\"qva print --help\" lists all options.";

/// Names a first word that is no command; the parser would only say that a command is missing.
void EnsureCommand(int count, const char* const* arguments)
{
    if (count < 2) {
        return;
    }
    const std::string first = arguments[1];
    const bool isCommand =
        std::any_of(std::begin(commands), std::end(commands),
                    [&first](const CommandEntry& entry) { return first == entry.name; });
    const bool isOption = first == "-h" || first == "--help" || first == "--version";
    if (!isCommand && !isOption) {
        const char* kind = first.rfind('-', 0) == 0 ? "option" : "subcommand";
        throw Misuse(OneLine(first), fmt::format("unknown {} (see qva --help)", kind));
    }
}

/// @return the text to show where help or the version is asked for, else nothing.
std::string Parse(CLI::App& app, int count, const char* const* arguments)
{
    try {
        app.parse(count, arguments);
    } catch (const CLI::CallForVersion&) {
        return "qva " QVA_VERSION_STRING "\n";
    } catch (const CLI::CallForHelp&) {
        return app.help();
    } catch (const CLI::ParseError& error) {
        throw Misuse("command line", OneLine(error.what()) + " (see qva --help)");
    }
    return {};
}

} // namespace

CommandLine ParseCommandLine(int count, const char* const* arguments)
{
    EnsureCommand(count, arguments);
    CLI::App app(description, "qva");
    app.footer(examples);
    app.set_version_flag("--version", "qva " QVA_VERSION_STRING);
    app.require_subcommand(1);
    std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> choices;
    for (const CommandEntry& entry : commands) {
        choices.emplace_back(app.add_subcommand(entry.name, entry.help), entry.make());
        choices.back().second->AddOptions(*choices.back().first);
    }
    CommandLine line;
    line.text = Parse(app, count, arguments);
    if (!line.text.empty()) {
        return line;
    }
    const auto chosen = std::find_if(choices.begin(), choices.end(),
                                     [](const auto& choice) { return choice.first->parsed(); });
    line.command = std::move(chosen->second);
    line.command->Finish();
    return line;
}

} // namespace qva
