// qva page: a page of any size in bounded memory.
#include "base/errors.h"
#include "base/memory_limit.h"
#include "command/command.h"
#include "command/json_output.h"
#include "command/page_options.h"
#include "command/remarks.h"
#include "command/timing_option.h"
#include "page/page_lines.h"
#include "render/profile_trial.h"
#include "render/threads.h"

#include <fmt/format.h>

namespace qva {

namespace {

constexpr const char* pageExamples =
    "The page is read three times: for its light, for the small copy that is analysed, and band "
    "by\n"
    "band. Nothing but whole bands is ever held, so memory does not depend on the page's height.\n"
    "Until it is complete the result lies in FILE.qva-part beside FILE.\n"
    "\n"
    "Examples:\n"
    "  qva page poster.tif -o print.tif --profile printer.icc\n"
    "  qva page poster.tif -o print.tif --profile printer.icc --resume\n"
    "      goes on with a run that was stopped\n"
    "  qva page poster.tif -o share2.tif --profile printer.icc --band 2/4\n"
    "      the second of four shares, on any machine; then, once all are there:\n"
    "  qva join share1.tif share2.tif share3.tif share4.tif -o print.tif";

void WritePlan(JsonWriter& json, const BandPlan& plan, const Share& share,
               const std::string& scratchReason)
{
    const LineRun bands = plan.BandsOfShare(share.number, share.count);
    const LineRun lines = plan.LinesOf(bands);
    json.OpenObject("plan");
    json.Add("width", plan.page.width);
    json.Add("height", plan.page.height);
    json.Add("direction", plan.direction == Direction::Rows ? "rows" : "columns");
    json.Add("bands", plan.Bands());
    json.Add("bandLines", plan.bandLines);
    json.Add("margin", plan.margin);
    json.Add("stripLines", plan.stripLines);
    json.Add("memory", BandMemory(plan));
    json.Add("share", share.number);
    json.Add("shares", share.count);
    json.Add("firstBand", bands.first);
    json.Add("shareBands", bands.count);
    json.Add("firstLine", lines.first);
    json.Add("shareLines", lines.count);
    json.Add("scratchFile", !scratchReason.empty());
    json.Close();
}

/// Names the band of a damaged row, where bands are runs of stored rows.
Examination ExaminePage(const PhotoOptions& photo, const BandPlan& plan, Progress& progress,
                        std::unique_ptr<ImageSource>& source)
{
    const LineOrder order = OrderOf(source->Describe().orientation, plan.direction);
    try {
        return Examine(photo.path, photo.source, photo.light, photo.limits, progress, source);
    } catch (const Failure& failure) {
        if (failure.Row() < 0 || order.across) {
            throw;
        }
        const std::int64_t line = order.backward ? plan.Lines() - 1 - failure.Row() : failure.Row();
        // The rows were read together, and a small page has several bands in as many rows.
        throw Failure(failure, fmt::format("at band {} of {} or behind it",
                                           line / plan.bandLines + 1, plan.Bands()));
    }
}

class PageCommand : public Command {
public:
    void AddOptions(CLI::App& app) override
    {
        AddPageOptions(app, options_);
        AddTimingOption(app);
        app.footer(pageExamples);
    }
    void Finish() override { FinishPage(options_); }
    void Run() override;
    std::string Subject() const override { return options_.print.photo.path; }
    bool WantsJson() const override { return options_.print.json; }

private:
    PageRequest Request(const SourceDescription& source) const;
    void Tell(const PageSummary& done, const PrinterProfile& profile,
              const Examination& found) const;

    PageOptions options_;
};

PageRequest PageCommand::Request(const SourceDescription& source) const
{
    PageRequest request = RequestFor(options_.print, source);
    request.cut = options_.cut;
    request.continuation = options_.continuation;
    request.progress = options_.progress;
    return request;
}

void PageCommand::Tell(const PageSummary& done, const PrinterProfile& profile,
                       const Examination& found) const
{
    TellScratch(options_.print, done.scratchReason);
    TellPrint(options_.print, profile, found);
    TellTiming();
    if (!options_.print.json) {
        return;
    }
    const BandPlan& plan = done.job.plan;
    const Share& share = done.job.share;
    const LineRun lines = plan.LinesOf(plan.BandsOfShare(share.number, share.count));
    const double megapixels =
        static_cast<double>(lines.count) * static_cast<double>(plan.LineLength()) * 1e-6;
    JsonWriter json(true);
    BeginOutput(json, "page", statusDone);
    WritePlan(json, plan, share, done.scratchReason);
    json.OpenObject("job");
    WriteJob(json, done.job);
    json.Close();
    json.OpenObject("result");
    json.Add("file", options_.print.output);
    json.Add("megapixels", megapixels);
    json.Add("resumedBands", done.resumed);
    json.Add("seconds", done.seconds);
    json.Add("peakMemory", PeakMemory());
    json.Close();
    WriteTiming(json);
    AddRemarks(json, AllRemarks(options_.print, profile, found));
    EndOutput(json);
}

void PageCommand::Run()
{
    const PhotoOptions& photo = options_.print.photo;
    PipeEnds pipes;
    OpenPipes(options_.print, pipes);
    CheckNames(options_.print);
    SetThreads(options_.print.threads);
    const PrinterProfile profile = ProfileOf(options_.print.profile);
    TryProfile(profile, options_.print.render, options_.print.profile);
    SetPaper(profile, options_.print);
    if (!options_.print.dryRun) {
        TellLeftovers({options_.print.output, options_.print.sideBySide}, options_.print.quiet);
        EnsureFolder(options_.print.output);
        if (!options_.print.sideBySide.empty()) {
            EnsureFolder(options_.print.sideBySide);
        }
    }
    std::unique_ptr<ImageSource> source = OpenImage(photo.path, photo.limits);
    const BandPlan plan = PlanFor(
        options_.cut, SizedDescription(options_.print.size, photo.limits, source->Describe()));
    if (options_.print.dryRun) {
        JsonWriter json(true);
        BeginOutput(json, "page", statusPlanned);
        WritePlan(json, plan, options_.cut.share.value_or(Share{}),
                  ScratchReasonOf(source->Describe(), plan.direction));
        EndOutput(json);
        return;
    }
    Progress progress(options_.progress);
    Examination found = ExaminePage(photo, plan, progress, source);
    progress.Clear();
    ApplySize(options_.print.size, photo.limits, found, source);
    Tell(RunPage(Request(found.description), profile, found, *source), profile, found);
}

} // namespace

std::unique_ptr<Command> MakePageCommand()
{
    return std::make_unique<PageCommand>();
}

} // namespace qva
