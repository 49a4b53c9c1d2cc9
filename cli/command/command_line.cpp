#include "command/command_line.h"

#include "base/errors.h"
#include "command/suggestion.h"
#include "formats/format_table.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <lumo/qva.h>
#include <utility>
#include <vector>

namespace qva {

namespace {

struct CommandEntry {
    const char* name;
    const char* help; ///< one line
    std::unique_ptr<Command> (*make)();
};

// The order is that of the help.
constexpr CommandEntry commandTable[] = {
    {"print", "Render a photograph for a printer", MakePrintCommand},
    {"preview", "Render for the screen: the print before its device step", MakePreviewCommand},
    {"proof", "Show a print before it is on paper, and what the paper cannot give",
     MakeProofCommand},
    {"report", "Write all about a print into one HTML file", MakeReportCommand},
    {"page", "Render a page of any size in bounded memory, band by band", MakePageCommand},
    {"join", "Put the shares of a page together", MakeJoinCommand},
    {"batch", "Print many pictures, several at a time; what is up to date is left",
     MakeBatchCommand},
    {"watch", "Print the pictures that are put into a folder", MakeWatchCommand},
    {"info", "Show what a photograph holds and what is chosen", MakeInfoCommand},
};

std::string Description()
{
    return fmt::format(
        "Renders high-dynamic-range photographs for paper.\n"
        "Reads {};\n"
        "writes 16-bit TIFF or PNG with the profile \"BT.2020 gamma 2.2\", where the\n"
        "brightest code is paper white.",
        FormatNames());
}

constexpr const char* examples =
    "Examples:\n"
    "  qva info photo.exr                     what the file holds and how it would be rendered\n"
    "  qva print photo.exr -o print.tif --profile printer.icc\n"
    "  qva print photo.hdr -o print.tif --side-by-side compare.png   a picture to compare\n"
    "  qva print scan.tif -o print.tif --encoding linear --primaries bt2020 --luminance-max 1500\n"
    "  qva preview photo.png -o screen.png    the same without the device step\n"
    "  qva page poster.tif -o print.tif --profile printer.icc   a page larger than memory\n"
    "\n"
    "\"qva help print\" lists all options of print.\n"
    "\n"
    "Exit codes:\n";

std::vector<std::string> CommandNames()
{
    std::vector<std::string> names;
    for (const CommandEntry& entry : commandTable) {
        names.emplace_back(entry.name);
    }
    return names;
}

/// @return "; did you mean print?", or "" where nothing like it is known.
std::string Hint(const std::string& word, const std::vector<std::string>& known)
{
    const std::string nearest = NearestOf(word, known);
    return nearest.empty() ? "" : fmt::format("; did you mean {}?", nearest);
}

/// Names a word that is no command; the parser would only say that a command is missing.
void EnsureCommand(const std::string& word)
{
    const std::vector<std::string> names = CommandNames();
    if (std::find(names.begin(), names.end(), word) == names.end()) {
        throw Misuse(OneLine(word),
                     fmt::format("unknown subcommand{} (see qva --help)", Hint(word, names)));
    }
}

/// The arguments behind the program's name. "help print" becomes "print --help".
std::vector<std::string> Words(int count, const char* const* arguments)
{
    std::vector<std::string> words(arguments + std::min(count, 1), arguments + count);
    const std::string first = words.empty() ? "" : words[0];
    if (first == "help") {
        words = {words.size() > 1 ? words[1] : "--help", "--help"};
    }
    const bool isOption =
        first == "-h" || first == "--help" || first == "-V" || first == "--version";
    if (first.starts_with('-') && !isOption) {
        throw Misuse(OneLine(first), "unknown option (see qva --help)");
    }
    if (!words.empty() && !words[0].starts_with('-')) {
        EnsureCommand(words[0]);
    }
    return words;
}

/// Where an option is not known: the one that may be meant; where there are more words than are
/// taken: what takes them.
/// @param told  what the parser says; it names one fault alone.
std::string HintFor(const CLI::App& app, const std::string& told)
{
    for (const CLI::App* command : app.get_subcommands()) {
        std::vector<std::string> known;
        for (const CLI::Option* option : command->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                known.push_back("--" + name);
            }
        }
        for (const std::string& word : command->remaining()) {
            if (word.starts_with("--")) {
                const std::string name = word.substr(0, word.find('='));
                return (told.find(name) == std::string::npos
                            ? fmt::format("; {} is unknown", OneLine(name))
                            : std::string()) +
                       Hint(name, known);
            }
            if (!word.starts_with('-')) {
                return "; qva batch prints many pictures";
            }
        }
    }
    return {};
}

/// @return the text to show where help or the version is asked for, else nothing.
std::string Parse(CLI::App& app, std::vector<std::string> words)
{
    // The parser takes them from the end.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::CallForVersion&) {
        return "qva " QVA_VERSION_STRING "\n";
    } catch (const CLI::CallForHelp&) {
        return app.help();
    } catch (const CLI::ParseError& error) {
        throw Misuse("command line", fmt::format("{}{} (see qva --help)", OneLine(error.what()),
                                                 HintFor(app, error.what())));
    }
    return {};
}

} // namespace

Program::Program() : app(std::make_unique<CLI::App>(Description(), "qva"))
{
    app->footer(examples + ExitCodeTable());
    app->set_version_flag("-V,--version", "qva " QVA_VERSION_STRING);
    app->require_subcommand(1);
    for (const CommandEntry& entry : commandTable) {
        commands.push_back(entry.make());
        commands.back()->AddOptions(*app->add_subcommand(entry.name, entry.help));
    }
}

Program::~Program() = default;

CommandLine ParseCommandLine(int count, const char* const* arguments)
{
    std::vector<std::string> words = Words(count, arguments);
    Program program;
    CommandLine line;
    line.text = Parse(*program.app, std::move(words));
    if (!line.text.empty()) {
        return line;
    }
    const std::vector<CLI::App*> choices = program.app->get_subcommands({});
    const auto chosen = std::find_if(choices.begin(), choices.end(),
                                     [](const CLI::App* choice) { return choice->parsed(); });
    line.name = (*chosen)->get_name();
    line.command = std::move(program.commands[static_cast<std::size_t>(chosen - choices.begin())]);
    line.command->Finish();
    return line;
}

} // namespace qva
