#include "command/page_options.h"

#include "base/errors.h"
#include "command/option_checks.h"
#include "formats/writer_table.h"

#include <cstdlib>
#include <fmt/format.h>

namespace qva {

namespace {

/// Accepts i/n with 1 <= i <= n.
std::optional<Share> ParseShareText(const std::string& text)
{
    constexpr std::int64_t most = 1000000;
    if (text.empty() || text[0] == '/' ||
        text.find_first_not_of("0123456789/") != std::string::npos) {
        return std::nullopt;
    }
    char* end = nullptr;
    Share share;
    share.number = std::strtoll(text.c_str(), &end, 10);
    if (*end != '/') {
        return std::nullopt;
    }
    share.count = std::strtoll(end + 1, &end, 10);
    const bool isSound = *end == '\0' && text.back() != '/' && share.number >= 1 &&
                         share.number <= share.count && share.count <= most;
    return isSound ? std::optional(share) : std::nullopt;
}

CLI::Validator ShareCheck()
{
    const auto check = [](std::string& text) -> std::string {
        return ParseShareText(text) ? std::string()
                                    : fmt::format("'{}' is not a share such as 2/4", text);
    };
    return CLI::Validator(check, "");
}

void AddBandOptions(CLI::App& app, PageCut& cut)
{
    const char* group = "Bands";
    app.add_option_function<std::string>(
           "--max-memory",
           [&cut](const std::string& text) { cut.maxMemory = *ParseByteCount(text); },
           "Bytes to work in, such as 800M (1G); decides the height of the bands")
        ->check(ByteCount(LeastMemory()))
        ->type_name("BYTES")
        ->group(group);
    app.add_option_function<int>(
           "--band-rows", [&cut](const int& lines) { cut.bandLines = lines; },
           "Rows of a band (columns, where bands are columns), whatever memory they take")
        ->check(WholeNumber(1, 100000000))
        ->type_name("NUMBER")
        ->group(group);
    app.add_option_function<std::string>(
           "--direction",
           [&cut](const std::string& text) {
               cut.direction = text == "rows" ? Direction::Rows : Direction::Columns;
           },
           "Bands of rows or of columns (rows; columns where the picture is stored on its side)")
        ->check(OneOf({"rows", "columns"}))
        ->type_name("NAME")
        ->group(group);
}

void AddRunOptions(CLI::App& app, PageOptions& options)
{
    const char* group = "Sharing and going on";
    CLI::Option* band =
        AddShareOption(app, "--band", options.cut.share,
                       "Render only the share i of n; qva join puts all shares together")
            ->group(group);
    CLI::Option* resume = app.add_flag_callback(
        "--resume", [&options] { options.continuation = Continuation::Resume; },
        "Go on with a run that was stopped, if there is one");
    CLI::Option* restart = app.add_flag_callback(
        "--restart", [&options] { options.continuation = Continuation::Restart; },
        "Begin anew where a stopped run is in the way");
    resume->group(group)->excludes(restart);
    restart->group(group);
    app.get_option("--side-by-side")->excludes(band);
}

} // namespace

CLI::Option* AddShareOption(CLI::App& app, const std::string& name, std::optional<Share>& share,
                            const std::string& help)
{
    return app
        .add_option_function<std::string>(
            name, [&share](const std::string& text) { share = ParseShareText(text); }, help)
        ->check(ShareCheck())
        ->type_name("i/n");
}

void AddPageOptions(CLI::App& app, PageOptions& options)
{
    AddPrintOptions(app, options.print);
    AddBandOptions(app, options.cut);
    AddRunOptions(app, options);
    AddProgressOption(app, options.progress);
}

void FinishPage(PageOptions& options)
{
    FinishPrint(options.print);
    if (options.print.output == pipeName) {
        throw Misuse("--output", "a page goes on where it was stopped, and needs a name for that; "
                                 "qva print writes to standard output");
    }
    if (options.cut.share && !OutputFormatOf(options.print.output).isStrips) {
        throw Misuse(options.print.output, "a share is a TIFF: the name must end in .tif or .tiff");
    }
    if (options.cut.share && options.print.device.isWanted) {
        throw Misuse("--to-device", "is for qva join: shares hold what all of them need");
    }
    if (options.print.quiet && options.progress == ProgressStyle::Terminal) {
        options.progress = ProgressStyle::None;
    }
}

} // namespace qva
