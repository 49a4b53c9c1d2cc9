// qva print and qva preview
#include "base/memory_limit.h"
#include "command/command.h"
#include "command/option_checks.h"
#include "command/print_options.h"
#include "command/remarks.h"
#include "formats/write_page.h"
#include "render/profile_trial.h"
#include "render/renderer.h"
#include "render/side_by_side.h"
#include "render/threads.h"

#include <algorithm>
#include <optional>

namespace qva {

namespace {

constexpr const char* printExamples =
    "Values in parentheses hold where an option is not given.\n"
    "What a file says about its colours is believed: a PNG's cICP before everything else, then\n"
    "the options here, an ICC profile, sRGB, chromaticities and gamma. Without any of these\n"
    "floating-point values are linear BT.709 and integers are sRGB.\n"
    "Not-a-number, infinite and negative values are brought into range and counted.\n"
    "\n"
    "Examples:\n"
    "  qva print photo.exr -o print.tif --profile printer.icc\n"
    "      the value 1.0 stands for 203 cd/m2 unless the file or --white says otherwise; a "
    "picture\n"
    "      that is very dark or bright then is exposed, see --exposure\n"
    "  qva print dark.exr -o print.tif --white 1000 --paper-white 200\n"
    "      a darker scene shown brighter, for paper in bright light\n"
    "  qva print photo.png -o print.png --side-by-side compare.png --verbose\n"
    "      also a sheet with a plain clip on the left and the print on the right";

Page Load(ImageSource& source, const Examination& found, const PhotoOptions& photo,
          Progress& progress)
{
    source.Open(photo.path, photo.limits);
    const SceneDecoder decoder(found.rows, photo.path);
    Page page = LoadPage(source, decoder, LightSteps(found.light), found.range, progress);
    source.Close();
    return page;
}

class PrintCommand : public Command {
public:
    explicit PrintCommand(bool preview) { options_.render.preview = preview; }

    void AddOptions(CLI::App& app) override;
    void Finish() override { FinishPrint(options_); }
    void Run() override;
    std::string Subject() const override { return options_.photo.path; }

private:
    bool FitsMemory(ImageSize size) const;
    void RunAtOnce(const PrinterProfile& profile, const Examination& found, ImageSource& source,
                   const OutputFile& output, const OutputFile* sheet, Progress& progress) const;
    void RunInBands(const PrinterProfile& profile, const Examination& found,
                    ImageSource& source) const;
    ProgressStyle Style() const
    {
        return options_.quiet ? ProgressStyle::None : ProgressStyle::Terminal;
    }

    PrintOptions options_;
    std::optional<std::uint64_t> maxMemory_; ///< bytes; what the machine has where not given
};

void PrintCommand::AddOptions(CLI::App& app)
{
    AddPrintOptions(app, options_);
    // Prints that do not fit are rendered in bands; a preview cannot be.
    if (!options_.render.preview) {
        app.add_option_function<std::string>(
               "--max-memory",
               [this](const std::string& text) { maxMemory_ = ParseByteCount(text); },
               "Bytes to work in, such as 4G; a larger picture is printed in bands, as by qva page "
               "(most of what the machine has)")
            ->check(ByteCount())
            ->type_name("BYTES")
            ->group("Rendering");
    }
    app.footer(printExamples);
}

bool PrintCommand::FitsMemory(ImageSize size) const
{
    return options_.render.preview || PrintMemory(size) <= maxMemory_.value_or(MemoryLimit());
}

void PrintCommand::RunAtOnce(const PrinterProfile& profile, const Examination& found,
                             ImageSource& source, const OutputFile& output, const OutputFile* sheet,
                             Progress& progress) const
{
    Page page = Load(source, found, options_.photo, progress);
    Panel clipped;
    if (sheet != nullptr) {
        clipped = ReducePage(page, ClippedLight(found.range, options_.render.paperWhite));
    }
    progress.Show("rendering", -1.0);
    Render(page, found.range, profile, options_.render, options_.photo.path);
    if (sheet != nullptr) {
        WriteSideBySide(*sheet, clipped, ReducePage(page, RenderedLight()));
    }
    WritePage(output, page, SettingsFor(options_, found.description), progress);
}

void PrintCommand::RunInBands(const PrinterProfile& profile, const Examination& found,
                              ImageSource& source) const
{
    PageRequest request = RequestFor(options_, found.description);
    request.cut.maxMemory = maxMemory_.value_or(std::min(request.cut.maxMemory, MemoryLimit()));
    request.continuation = Continuation::Any;
    request.progress = Style();
    const PageSummary done = RunPage(request, profile, found, source);
    TellScratch(options_, done.scratchReason);
}

void PrintCommand::Run()
{
    CheckNames(options_);
    TellLeftovers(options_.output, options_.quiet);
    SetThreads(options_.threads);
    const PrinterProfile profile = ProfileOf(options_.profile);
    TryProfile(profile, options_.render, options_.profile);
    SetPaper(profile, options_);
    // Before the work, so that a folder that cannot be written is known at once.
    std::optional<OutputFile> output(options_.output);
    std::optional<OutputFile> sheet;
    if (!options_.sideBySide.empty()) {
        sheet.emplace(options_.sideBySide);
    }
    Progress progress(Style());
    std::unique_ptr<ImageSource> source;
    Examination found = Examine(options_.photo.path, options_.photo.source, options_.photo.light,
                                options_.photo.limits, progress, source);
    TellRemark(options_, ApplySize(options_.size, options_.photo.limits, found, source));
    if (FitsMemory(source->Size())) {
        RunAtOnce(profile, found, *source, *output, sheet ? &*sheet : nullptr, progress);
        output->Commit();
        if (sheet) {
            sheet->Commit();
        }
        progress.Clear();
    } else {
        progress.Clear();
        TellRemarks(options_, {"does not fit memory at once: printed in bands, as by qva page"});
        output.reset();
        sheet.reset();
        RunInBands(profile, found, *source);
    }
    TellPrint(options_, profile, found);
}

} // namespace

std::unique_ptr<Command> MakePrintCommand()
{
    return std::make_unique<PrintCommand>(false);
}

std::unique_ptr<Command> MakePreviewCommand()
{
    return std::make_unique<PrintCommand>(true);
}

} // namespace qva
