#include "command/print_options.h"

#include "base/errors.h"
#include "base/output_file.h"
#include "command/option_checks.h"
#include "formats/writer_table.h"
#include "picture/print_metadata.h"

#include <filesystem>
#include <fmt/format.h>

namespace qva {

namespace {

constexpr const char* outputGroup = "Output";

void AddOutputNames(CLI::App& app, PrintOptions& options)
{
    app.add_option("-o,--output", options.output,
                   "The result: " + OutputEndings() + "; - is standard output")
        ->required()
        ->type_name("FILE")
        ->group(outputGroup);
    app.add_option_function<std::string>(
           "--format", [&options](const std::string& text) { options.pipeEnding = "." + text; },
           "Of a result on standard output: tif or png (tif)")
        ->check(OneOf({"tif", "png"}))
        ->type_name("NAME")
        ->group(outputGroup);
    app.add_option("--side-by-side", options.sideBySide,
                   "Also write a small sRGB sheet: a plain clip on the left, the result on the "
                   "right")
        ->type_name("FILE.png")
        ->group(outputGroup);
}

void AddWriteOptions(CLI::App& app, PrintOptions& options)
{
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
        ->group(outputGroup);
    AddNumber(app, "--dpi", "Pixels per inch to state in the result", 1.0, 100000.0,
              [&options](double value) { options.write.dpi = value; })
        ->group(outputGroup);
    AddSizeOptions(app, options.size);
    app.add_flag_callback(
           "--no-metadata", [&options] { options.keepsMetadata = false; },
           "Leave out what the picture says about itself: Exif, XMP, IPTC")
        ->group(outputGroup);
    if (!options.render.preview) {
        AddDeviceOptions(app, options.device);
    }
}

void AddRunOptions(CLI::App& app, PrintOptions& options)
{
    AddNoClobberOption(app, options.noClobber)->group(outputGroup);
    AddDryRunOption(app, options.dryRun)->group(outputGroup);
    AddJsonOption(app, options.json)->group(outputGroup);
    CLI::Option* quiet =
        app.add_flag("-q,--quiet", options.quiet, "No progress and no remarks")->group(outputGroup);
    app.add_flag("-v,--verbose", options.verbose, "Show what was found and chosen")
        ->excludes(quiet)
        ->group(outputGroup);
}

} // namespace

void AddRenderOptions(CLI::App& app, std::string& profile, RenderSettings& render, int& threads)
{
    const char* group = "Rendering";
    app.add_option("--profile", profile, "ICC profile of printer and paper (a generic photo paper)")
        ->check(NotEmpty())
        ->type_name("FILE")
        ->group(group);
    app.add_option_function<std::string>(
           "--paper-white",
           [&render](const std::string& text) { render.paperWhite = std::stoi(text); },
           "cd/m2 of paper white where the print will hang: 100, 200 or 400 (100)")
        ->check(OneOf({"100", "200", "400"}))
        ->type_name("NUMBER")
        ->group(group);
    AddNumber(app, "--threshold", "cd/m2, tones below it keep their contrast (1.3)", 0.0, 100.0,
              [&render](double value) { render.threshold = value; })
        ->group(group);
    app.add_option_function<std::string>(
           "--intent",
           [&render](const std::string& text) { render.saturation = text == "saturation"; },
           "Rendering intent: relative or saturation (relative)")
        ->check(OneOf({"relative", "saturation"}))
        ->type_name("NAME")
        ->group(group);
    app.add_flag_callback(
           "--no-black-point-compensation", [&render] { render.blackPointCompensation = false; },
           "Do not fit the picture's black to the printer's")
        ->group(group);
    AddThreadsOption(app, threads)->group(group);
}

void RefuseSameFile(const std::string& output, const std::string& other, const char* what)
{
    if (!output.empty() && !other.empty() && AreSameFile(output, other)) {
        throw Misuse(output, fmt::format("is {} by another name, or the same", what));
    }
}

void AddPrintOptions(CLI::App& app, PrintOptions& options)
{
    AddPhotoOptions(app, options.photo);
    AddRenderOptions(app, options.profile, options.render, options.threads);
    options.printer.Add(app);
    AddOutputNames(app, options);
    AddWriteOptions(app, options);
    AddRunOptions(app, options);
}

void AddRenderingOptions(CLI::App& app, PrintOptions& options)
{
    AddReadingOptions(app, options.photo);
    AddRenderOptions(app, options.profile, options.render, options.threads);
    options.printer.Add(app);
    AddWriteOptions(app, options);
}

void CheckWriting(const PrintOptions& options, const std::string& output, const std::string& sheet)
{
    // The sheet first: its name may end in less than the result's.
    if (!sheet.empty() && !HasEnding(sheet, ".png")) {
        throw Misuse(sheet, "the name must end in .png");
    }
    const OutputFormat& format = OutputFormatOf(output);
    if (options.write.compression == Compression::Lzw && !format.hasLzw) {
        throw Misuse("--compression", fmt::format("{} knows none and deflate", format.name));
    }
    CheckDevice(options.device, output, options.write.compression);
}

void FinishPrint(PrintOptions& options)
{
    options.printer.Apply(options);
    const bool isPiped = options.output == pipeName;
    if (isPiped && (options.json || options.dryRun)) {
        throw Misuse(options.dryRun ? "--dry-run" : "--json",
                     "is told on standard output, where the result goes already");
    }
    std::error_code error;
    if (options.output.ends_with('/') || std::filesystem::is_directory(options.output, error)) {
        throw Misuse(options.output,
                     "is a folder: name a file in it, or print many pictures with qva batch");
    }
    CheckWriting(options, isPiped ? options.pipeEnding : options.output, options.sideBySide);
    FinishSize(options.size, options.write);
}

void OpenPipes(PrintOptions& options, PipeEnds& pipes)
{
    options.photo.path = pipes.Input(options.photo.path, MostPipedBytes(options.photo.limits));
    options.output = pipes.Output(options.output, options.pipeEnding);
}

void CheckNames(const PrintOptions& options)
{
    for (const std::string& output : {options.output, options.sideBySide}) {
        RefuseSameFile(output, options.photo.path, "the photograph");
        RefuseSameFile(output, options.profile, "the profile");
    }
    RefuseSameFile(options.sideBySide, options.output, "the result");
    for (const std::string& output : {options.output, options.sideBySide}) {
        if (options.noClobber && !output.empty()) {
            EnsureNew(output);
        }
    }
}

void AddDeviceOptions(CLI::App& app, DeviceOptions& device)
{
    const char* group = "Output";
    app.add_flag("--to-device", device.isWanted,
                 "Write device values: RGB, CMYK, grey or inks of the profile, as TIFF, "
                 "or as a PDF where the result ends in .pdf")
        ->group(group);
    app.add_option_function<std::string>(
           "--bits", [&device](const std::string& text) { device.bits = std::stoi(text); },
           "Of a device value: 8 (dithered) or 16 (16)")
        ->check(OneOf({"8", "16"}))
        ->type_name("NUMBER")
        ->group(group);
}

void CheckDevice(const DeviceOptions& device, const std::string& output, Compression compression)
{
    if (device.bits && !device.isWanted) {
        throw Misuse("--bits", "belongs to --to-device");
    }
    if (device.isWanted && !OutputFormatOf(output).hasDeviceValues) {
        throw Misuse("--to-device",
                     "goes into TIFF or PDF: the name must end in .tif, .tiff or .pdf");
    }
    if (!device.isWanted && !OutputFormatOf(output).hasCodes) {
        throw Misuse(output, "a PDF holds device values: add --to-device");
    }
    if (device.isWanted && compression == Compression::Lzw) {
        throw Misuse("--compression", "device values know none and deflate");
    }
}

std::shared_ptr<const DeviceOutput> DeviceOf(const DeviceOptions& options,
                                             const PrinterProfile& profile,
                                             const DeviceIntent& intent, const std::string& name)
{
    constexpr int deepBits = 16;
    return options.isWanted
               ? std::make_shared<DeviceOutput>(profile, DeviceProfile(profile, intent, name),
                                                options.bits.value_or(deepBits))
               : nullptr;
}

void SetPaper(const PrinterProfile& profile, PrintOptions& options)
{
    if (!options.render.preview) {
        const DeviceIntent intent = {options.render.saturation,
                                     options.render.blackPointCompensation};
        options.write.renderedFor = {DigestOf(profile.bytes), intent};
        options.write.device = DeviceOf(options.device, profile, intent, options.profile);
        if (options.write.device) {
            EnsureTakes(options.output, *options.write.device);
        }
    }
}

WriteSettings SettingsFor(const PrintOptions& options, const SourceDescription& source)
{
    WriteSettings settings = options.write;
    settings.dpi = settings.dpi > 0.0 ? settings.dpi : source.dpi;
    if (options.keepsMetadata) {
        settings.metadata = MetadataForPrint(source);
    }
    return settings;
}

PageRequest RequestFor(const PrintOptions& options, const SourceDescription& source)
{
    PageRequest request;
    request.photo = options.photo.path;
    request.limits = options.photo.limits;
    request.render = options.render;
    request.write = SettingsFor(options, source);
    request.output = options.output;
    request.sideBySide = options.sideBySide;
    return request;
}

} // namespace qva
