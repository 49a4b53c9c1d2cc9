#include "command/shared_options.h"

#include "command/light_options.h"
#include "command/option_checks.h"
#include "formats/format_table.h"
#include "render/threads.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>

namespace qva {

namespace {

CLI::Validator PrimariesName()
{
    const auto check = [](std::string& text) -> std::string {
        return FindPrimaries(text) ? std::string()
                                   : fmt::format("'{}' is not one of {}", text, PrimariesNames());
    };
    std::string words = PrimariesNames();
    words.erase(std::remove(words.begin(), words.end(), ','), words.end());
    return CLI::Validator(check, "", words);
}

ProgressStyle StyleOf(const std::string& text)
{
    return text == "json"   ? ProgressStyle::Json
           : text == "none" ? ProgressStyle::None
                            : ProgressStyle::Terminal;
}

} // namespace

void AddPhotoOptions(CLI::App& app, PhotoOptions& photo)
{
    app.add_option("PHOTO", photo.path, "The picture: " + FormatNames() + "; - is standard input")
        ->required()
        ->type_name("");
    AddReadingOptions(app, photo);
}

void AddReadingOptions(CLI::App& app, PhotoOptions& photo)
{
    SourceOptions& source = photo.source;
    SizeLimits& limits = photo.limits;
    const char* group = "What the picture means, where it does not say itself";
    app.add_option("--encoding", source.encoding,
                   "How codes stand for light: linear, gamma22, srgb, pq or hlg")
        ->check(OneOf({"linear", "gamma22", "srgb", "pq", "hlg"}))
        ->type_name("NAME")
        ->group(group);
    app.add_option("--primaries", source.primaries, "One of " + PrimariesNames())
        ->check(PrimariesName())
        ->type_name("NAME")
        ->group(group);
    CLI::Option* white =
        AddNumber(app, "--white", "cd/m2 of the value 1.0 (203, or what the file says)", 1e-3, 1e6,
                  [&source](double value) { source.white = value; });
    CLI::Option* lowest =
        AddNumber(app, "--luminance-min", "cd/m2 of integer code 0 (0)", 0.0, 10000.0,
                  [&source](double value) { source.zeroCodeLuminance = value; });
    CLI::Option* highest =
        AddNumber(app, "--luminance-max", "cd/m2 of the largest integer code (203; for PQ 10000)",
                  1e-3, 10000.0, [&source](double value) { source.largestCodeLuminance = value; });
    CLI::Option* hlgPeak = AddNumber(
        app, "--hlg-peak", "cd/m2, nominal peak of the display that HLG is brought to (1000)",
        lowestHlgPeak, highestHlgPeak, [&source](double value) { source.hlgPeak = value; });
    CLI::Option* top = AddNumber(
        app, "--top",
        "Brightest cd/m2 to render (the picture's peak, or its 99.99th percentile where a few "
        "pixels lie far above)",
        1e-3, 10000.0, [&source](double value) { source.top = value; });
    CLI::Option* headroom = AddNumber(
        app, "--headroom",
        "Stops above its white that a picture with a gain map is taken to (all that it has)", 0.0,
        16.0, [&limits](double value) { limits.headroom = value; });
    white->excludes(highest);
    for (CLI::Option* option : {white, lowest, highest, hlgPeak, top, headroom}) {
        option->group(group);
    }
    AddLightOptions(app, photo.light);
    AddNumber(app, "--max-pixels", "Refuse pictures of more pixels (1e9)", 1.0, 1e15,
              [&limits](double value) { limits.pixels = static_cast<std::uint64_t>(value); });
    AddNumber(app, "--max-side", "Refuse pictures with a longer side (4194304, the most)", 1.0,
              static_cast<double>(longestSide),
              [&limits](double value) { limits.side = static_cast<std::int64_t>(value); });
}

CLI::Option* AddThreadsOption(CLI::App& app, int& threads)
{
    return app.add_option("--threads", threads, "Threads to work with (one per core)")
        ->check(WholeNumber(1, mostThreads))
        ->type_name("NUMBER");
}

CLI::Option* AddNoClobberOption(CLI::App& app, bool& keep)
{
    return app.add_flag("--no-clobber", keep, "Refuse to begin where an output exists already");
}

CLI::Option* AddJsonOption(CLI::App& app, bool& json)
{
    return app.add_flag("--json", json,
                        "Write to standard output, for programs: JSON as share/qva/"
                        "output.schema.json describes it");
}

CLI::Option* AddDryRunOption(CLI::App& app, bool& dryRun)
{
    return app.add_flag("--dry-run", dryRun, "Only tell what would be done; writes nothing");
}

std::uint64_t MostPipedBytes(const SizeLimits& limits)
{
    // Four samples of 32 bits a pixel, and room for what describes them.
    constexpr std::uint64_t most = std::uint64_t{1} << 50;
    constexpr std::uint64_t rest = std::uint64_t{64} << 20;
    return std::min(limits.pixels, most / 16) * 16 + rest;
}

void AddProgressOption(CLI::App& app, ProgressStyle& style)
{
    app.add_option_function<std::string>(
           "--progress", [&style](const std::string& text) { style = StyleOf(text); },
           "On standard error: terminal (a line that changes), json (an object a line) or none "
           "(terminal)")
        ->check(OneOf({"terminal", "json", "none"}))
        ->type_name("NAME")
        ->group("Output");
}

CLI::Option* AddNumber(CLI::App& app, const std::string& name, const std::string& help,
                       double lowest, double highest, const std::function<void(double)>& take)
{
    return app
        .add_option_function<double>(
            name, [take](const double& value) { take(value); }, help)
        ->check(Number(lowest, highest))
        ->type_name("NUMBER")
        ->take_last();
}

} // namespace qva
