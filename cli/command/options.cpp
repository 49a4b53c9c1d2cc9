#include "command/options.h"

#include "base/errors.h"
#include "command/option_checks.h"
#include "command/page_options.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fmt/format.h>

namespace qva {

namespace {

constexpr const char* description =
    "Renders high-dynamic-range photographs for paper.\n"
    "Reads OpenEXR, Radiance HDR, PNG and TIFF; writes 16-bit TIFF or PNG with the profile\n"
    "\"BT.2020 gamma 2.2\", where the brightest code is paper white.";

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

constexpr const char* printExamples =
    "Values in parentheses hold where an option is not given.\n"
    "What a file says about its colours is believed: a PNG's cICP before everything else, then\n"
    "the options here, an ICC profile, sRGB, chromaticities and gamma. Without any of these\n"
    "floating-point values are linear BT.709 and integers are sRGB.\n"
    "Not-a-number, infinite and negative values are brought into range and counted.\n"
    "\n"
    "Examples:\n"
    "  qva print photo.exr -o print.tif --profile printer.icc\n"
    "      the value 1.0 stands for 203 cd/m2 unless the file or --white says otherwise\n"
    "  qva print dark.exr -o print.tif --white 1000 --paper-white 200\n"
    "      a darker scene shown brighter, for paper in bright light\n"
    "  qva print photo.png -o print.png --side-by-side compare.png --verbose\n"
    "      also a sheet with a plain clip on the left and the print on the right";

CLI::Validator PrimariesName()
{
    const auto check = [](std::string& text) -> std::string {
        return FindPrimaries(text) ? std::string()
                                   : fmt::format("'{}' is not one of {}", text, PrimariesNames());
    };
    return CLI::Validator(check, "");
}

template <typename Function>
CLI::Option* AddNumber(CLI::App& app, const std::string& name, const std::string& help,
                       double lowest, double highest, const Function& take)
{
    return app.add_option_function<double>(name, take, help)
        ->check(Number(lowest, highest))
        ->type_name("NUMBER")
        ->take_last();
}

void AddSourceOptions(CLI::App& app, std::string& photo, SourceOptions& source, SizeLimits& limits)
{
    app.add_option("PHOTO", photo, "The picture: OpenEXR, Radiance HDR, PNG or TIFF")
        ->required()
        ->type_name("");
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
                  [&source](const double& value) { source.white = value; });
    CLI::Option* lowest =
        AddNumber(app, "--luminance-min", "cd/m2 of integer code 0 (0)", 0.0, 10000.0,
                  [&source](const double& value) { source.luminanceMin = value; });
    CLI::Option* highest =
        AddNumber(app, "--luminance-max", "cd/m2 of the largest integer code (203; for PQ 10000)",
                  1e-3, 10000.0, [&source](const double& value) { source.luminanceMax = value; });
    CLI::Option* top = AddNumber(
        app, "--top",
        "Brightest cd/m2 to render (the picture's peak, or its 99.99th percentile where a few "
        "pixels lie far above)",
        1e-3, 10000.0, [&source](const double& value) { source.top = value; });
    white->excludes(highest);
    for (CLI::Option* option : {white, lowest, highest, top}) {
        option->group(group);
    }
    AddNumber(
        app, "--max-pixels", "Refuse pictures of more pixels (1e9)", 1.0, 1e15,
        [&limits](const double& value) { limits.pixels = static_cast<std::uint64_t>(value); });
    AddNumber(app, "--max-side", "Refuse pictures with a longer side (4194304, the most)", 1.0,
              static_cast<double>(longestSide),
              [&limits](const double& value) { limits.side = static_cast<std::int64_t>(value); });
}

bool EndsInPng(const std::string& name)
{
    std::string ending = name.size() < 4 ? name : name.substr(name.size() - 4);
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return ending == ".png";
}

void AddRenderOptions(CLI::App& app, PrintOptions& options)
{
    const char* group = "Rendering";
    app.add_option("--profile", options.profile,
                   "ICC profile of printer and paper (a generic photo paper)")
        ->check(NotEmpty())
        ->type_name("FILE")
        ->group(group);
    app.add_option_function<std::string>(
           "--paper-white",
           [&options](const std::string& text) { options.render.paperWhite = std::stoi(text); },
           "cd/m2 of paper white where the print will hang: 100, 200 or 400 (100)")
        ->check(OneOf({"100", "200", "400"}))
        ->type_name("NUMBER")
        ->group(group);
    AddNumber(app, "--threshold", "cd/m2, tones below it keep their contrast (1.3)", 0.0, 100.0,
              [&options](const double& value) { options.render.threshold = value; })
        ->group(group);
    app.add_option_function<std::string>(
           "--intent",
           [&options](const std::string& text) {
               options.render.saturation = text == "saturation";
           },
           "Rendering intent: relative or saturation (relative)")
        ->check(OneOf({"relative", "saturation"}))
        ->type_name("NAME")
        ->group(group);
    app.add_flag_callback(
           "--no-black-point-compensation",
           [&options] { options.render.blackPointCompensation = false; },
           "Do not fit the picture's black to the printer's")
        ->group(group);
    app.add_option("--threads", options.render.threads, "Threads to work with (one per core)")
        ->check(WholeNumber(1, mostThreads))
        ->type_name("NUMBER")
        ->group(group);
}

void AddOutputOptions(CLI::App& app, PrintOptions& options)
{
    const char* group = "Output";
    app.add_option("-o,--output", options.output, "The result: .tif, .tiff or .png")
        ->required()
        ->type_name("FILE")
        ->group(group);
    app.add_option("--side-by-side", options.sideBySide,
                   "Also write a small sRGB sheet: a plain clip on the left, the result on the "
                   "right")
        ->type_name("FILE.png")
        ->group(group);
    app.add_option_function<std::string>(
           "--compression",
           [&options](const std::string& text) {
               options.write.compression = text == "none"  ? Compression::None
                                           : text == "lzw" ? Compression::Lzw
                                                           : Compression::Deflate;
           },
           "none, lzw (TIFF only) or deflate (deflate)")
        ->check(OneOf({"none", "lzw", "deflate"}))
        ->type_name("NAME")
        ->group(group);
    AddNumber(app, "--dpi", "Pixels per inch to state in the result", 1.0, 100000.0,
              [&options](const double& value) { options.write.dpi = value; })
        ->group(group);
    CLI::Option* quiet =
        app.add_flag("-q,--quiet", options.quiet, "No progress and no remarks")->group(group);
    app.add_flag("-v,--verbose", options.verbose, "Show what was found and chosen")
        ->excludes(quiet)
        ->group(group);
}

/// What only both together can tell.
void FinishPrint(PrintOptions& options)
{
    // The sheet first: its name may end in less than the result's.
    if (!options.sideBySide.empty() && !EndsInPng(options.sideBySide)) {
        throw Misuse(options.sideBySide, "the name must end in .png");
    }
    options.write.format = FormatOfName(options.output);
    if (options.write.format == OutputFormat::Png && options.write.compression == Compression::Lzw)
    {
        throw Misuse("--compression", "PNG knows none and deflate");
    }
}

/// Names a first word that is no command; the parser would only say that a command is missing.
void EnsureCommand(int count, const char* const* arguments)
{
    if (count < 2) {
        return;
    }
    const std::string first = arguments[1];
    const bool isCommand = first == "print" || first == "preview" || first == "page" ||
                           first == "join" || first == "info";
    const bool isOption = first == "-h" || first == "--help" || first == "--version";
    if (!isCommand && !isOption) {
        const char* kind = first.rfind('-', 0) == 0 ? "option" : "subcommand";
        throw Misuse(OneLine(first), fmt::format("unknown {} (see qva --help)", kind));
    }
}

CLI::App* AddPrintCommand(CLI::App& app, const char* name, const char* help, PrintOptions& options)
{
    CLI::App* command = app.add_subcommand(name, help);
    AddSourceOptions(*command, options.photo, options.source, options.limits);
    AddRenderOptions(*command, options);
    AddOutputOptions(*command, options);
    return command;
}

/// Prints that do not fit are rendered in bands; a preview cannot be.
void AddMemoryOption(CLI::App& app, PrintOptions& options)
{
    app.add_option_function<std::string>(
           "--max-memory",
           [&options](const std::string& text) { options.maxMemory = ParseByteCount(text); },
           "Bytes to work in, such as 4G; a larger picture is printed in bands, as by qva page "
           "(most of what the machine has)")
        ->check(ByteCount())
        ->type_name("BYTES")
        ->group("Rendering");
}

} // namespace

CommandLine ParseCommandLine(int count, const char* const* arguments)
{
    CommandLine line;
    PrintOptions previewOptions;
    previewOptions.render.preview = true;
    CLI::App app(description, "qva");
    app.footer(examples);
    app.set_version_flag("--version", "qva " QVA_VERSION);
    app.require_subcommand(1);
    EnsureCommand(count, arguments);
    CLI::App* print =
        AddPrintCommand(app, "print", "Render a photograph for a printer", line.print);
    AddMemoryOption(*print, line.print);
    CLI::App* preview = AddPrintCommand(
        app, "preview", "Render for the screen: the print before its device step", previewOptions);
    for (CLI::App* command : {print, preview}) {
        command->footer(printExamples);
    }
    CLI::App* page = AddPrintCommand(
        app, "page", "Render a page of any size in bounded memory, band by band", line.page.print);
    AddPageOptions(*page, line.page);
    const CLI::App* join = AddJoinCommand(app, line.join);
    CLI::App* info = app.add_subcommand("info", "Show what a photograph holds and what is chosen");
    AddSourceOptions(*info, line.info.photo, line.info.source, line.info.limits);
    AddNumber(*info, "--threshold", "cd/m2, as for print (1.3)", 0.0, 100.0,
              [&line](const double& value) { line.info.threshold = value; });
    info->add_flag("--json", line.info.json, "Write JSON");
    info->footer("Example:\n  qva info photo.exr --json");
    try {
        app.parse(count, arguments);
    } catch (const CLI::CallForVersion&) {
        line.text = "qva " QVA_VERSION "\n";
        return line;
    } catch (const CLI::CallForHelp&) {
        line.text = app.help();
        return line;
    } catch (const CLI::ParseError& error) {
        throw Misuse("command line", OneLine(error.what()) + " (see qva --help)");
    }
    if (preview->parsed()) {
        line.print = previewOptions;
    }
    line.command = info->parsed()    ? Command::Info
                   : print->parsed() ? Command::Print
                   : page->parsed()  ? Command::Page
                   : join->parsed()  ? Command::Join
                                     : Command::Preview;
    if (line.command == Command::Print || line.command == Command::Preview) {
        FinishPrint(line.print);
    } else if (line.command == Command::Page) {
        FinishPrint(line.page.print);
        FinishPage(line.page);
    } else if (line.command == Command::Join) {
        FormatOfName(line.join.output);
    }
    return line;
}

} // namespace qva
