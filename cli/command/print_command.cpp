// qva print and qva preview
#include "base/errors.h"
#include "base/memory_limit.h"
#include "base/output_file.h"
#include "base/phase_times.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/option_checks.h"
#include "command/print_options.h"
#include "command/remarks.h"
#include "command/report.h"
#include "command/timing_option.h"
#include "formats/write_page.h"
#include "render/profile_trial.h"
#include "render/renderer.h"
#include "render/side_by_side.h"
#include "render/threads.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <optional>
#include <utility>

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

/// Makes the page of what was kept, or reads the file once more.
Page Load(ImageSource& source, const Examination& found, KeptSamples kept,
          const PhotoOptions& photo, Progress& progress)
{
    const InPhase examining(Phase::Examining);
    const LightSteps light(found.light);
    const SceneDecoder decoder(found.rows, photo.path, source.Samples());
    if (kept.IsThere()) {
        source.Close();
        progress.Show("converting", -1.0);
        return MakePage(std::move(kept), found.description, decoder, light, found.range);
    }
    {
        const InPhase reading(Phase::Reading);
        source.Open(photo.path, photo.limits);
    }
    Page page = LoadPage(source, decoder, light, found.range, progress);
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
    bool WantsJson() const override { return options_.json; }

private:
    bool FitsMemory(ImageSize size) const;
    void RunAtOnce(const PrinterProfile& profile, const Examination& found, Page page,
                   const OutputFile& output, const OutputFile* sheet, Progress& progress) const;
    void RunInBands(const PrinterProfile& profile, const Examination& found,
                    ImageSource& source) const;
    void Plan(const PrinterProfile& profile);
    /// @return whether the picture was printed at once.
    bool Print(const PrinterProfile& profile, Examination& found);
    void Tell(std::string_view status, bool atOnce, const PrinterProfile& profile,
              const Examination& found) const;
    ProgressStyle Style() const
    {
        return options_.quiet ? ProgressStyle::None : ProgressStyle::Terminal;
    }

    using Clock = std::chrono::steady_clock;

    PrintOptions options_;
    bool isPiped_ = false; ///< the result goes to standard output
    Clock::time_point start_ = Clock::now();
    std::optional<std::uint64_t> maxMemory_; ///< bytes; what the machine has where not given
};

void PrintCommand::AddOptions(CLI::App& app)
{
    AddPrintOptions(app, options_);
    AddTimingOption(app);
    // Prints that do not fit are rendered in bands; a preview cannot be.
    if (!options_.render.preview) {
        app.add_option_function<std::string>(
               "--max-memory",
               [this](const std::string& text) { maxMemory_ = ParseByteCount(text); },
               "Bytes to work in, such as 4G; a larger picture is printed in bands, as by qva page "
               "(most of what the machine has)")
            ->check(ByteCount(LeastMemory()))
            ->type_name("BYTES")
            ->group("Rendering");
    }
    app.footer(printExamples);
}

bool PrintCommand::FitsMemory(ImageSize size) const
{
    return options_.render.preview || PrintMemory(size) <= maxMemory_.value_or(MemoryLimit());
}

void PrintCommand::RunAtOnce(const PrinterProfile& profile, const Examination& found, Page page,
                             const OutputFile& output, const OutputFile* sheet,
                             Progress& progress) const
{
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

void PrintCommand::Tell(std::string_view status, bool atOnce, const PrinterProfile& profile,
                        const Examination& found) const
{
    if (!options_.json) {
        return;
    }
    JsonWriter json(true);
    BeginOutput(json, options_.render.preview ? "preview" : "print", status);
    json.Add("file", options_.output);
    json.Add("paper", profile.description);
    json.Add("inBands", !atOnce);
    json.Add("seconds", std::chrono::duration<double>(Clock::now() - start_).count());
    json.Add("peakMemory", PeakMemory());
    WriteTiming(json);
    AddRemarks(json, AllRemarks(options_, profile, found));
    json.OpenObject("picture");
    WriteReport(json, found, options_.render.threshold);
    json.Close();
    EndOutput(json);
}

void PrintCommand::Plan(const PrinterProfile& profile)
{
    ResolveOutput(options_.output);
    Progress progress(Style());
    std::unique_ptr<ImageSource> source;
    Examination found = Examine(options_.photo.path, options_.photo.source, options_.photo.light,
                                options_.photo.limits, progress, source);
    ApplySize(options_.size, options_.photo.limits, found, source);
    progress.Clear();
    const bool atOnce = FitsMemory(source->Size());
    if (!options_.json) {
        fmt::print("{}  {:<13}{}\n  {:<13}{}, {}\n", ReportText(found, options_.render.threshold),
                   "paper", profile.description, "would write", OneLine(options_.output),
                   atOnce ? "at once" : "in bands");
    }
    Tell(statusPlanned, atOnce, profile, found);
}

bool PrintCommand::Print(const PrinterProfile& profile, Examination& found)
{
    // Before the work, so that a folder that cannot be written is known at once.
    std::optional<OutputFile> output(options_.output);
    std::optional<OutputFile> sheet;
    if (!options_.sideBySide.empty()) {
        sheet.emplace(options_.sideBySide);
    }
    Progress progress(Style());
    std::unique_ptr<ImageSource> source;
    // A picture at another size is read again, through its resampler.
    Keeping keeping{[this](ImageSize size) { return !options_.size.page && FitsMemory(size); }, {}};
    found = Examine(options_.photo.path, options_.photo.source, options_.photo.light,
                    options_.photo.limits, progress, source, &keeping);
    ApplySize(options_.size, options_.photo.limits, found, source);
    if (FitsMemory(source->Size())) {
        Page page = Load(*source, found, std::move(keeping.samples), options_.photo, progress);
        RunAtOnce(profile, found, std::move(page), *output, sheet ? &*sheet : nullptr, progress);
        output->Commit();
        if (sheet) {
            sheet->Commit();
        }
        progress.Clear();
        return true;
    }
    progress.Clear();
    if (isPiped_) {
        throw Failure("standard output",
                      "the picture does not fit memory at once, and bands need "
                      "a file: name one with -o, or raise --max-memory",
                      exitFailed);
    }
    TellRemarks(options_, {"does not fit memory at once: printed in bands, as by qva page"});
    output.reset();
    sheet.reset();
    RunInBands(profile, found, *source);
    return false;
}

void PrintCommand::Run()
{
    PipeEnds pipes;
    isPiped_ = options_.output == pipeName;
    OpenPipes(options_, pipes);
    CheckNames(options_);
    SetThreads(options_.threads);
    const PrinterProfile profile = ProfileOf(options_.profile);
    TryProfile(profile, options_.render, options_.profile);
    SetPaper(profile, options_);
    if (options_.dryRun) {
        Plan(profile);
        return;
    }
    if (!isPiped_) {
        TellLeftovers({options_.output, options_.sideBySide}, options_.quiet);
    }
    Examination found;
    const bool atOnce = Print(profile, found);
    pipes.Send();
    TellPrint(options_, profile, found);
    TellTiming();
    Tell(statusDone, atOnce, profile, found);
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
