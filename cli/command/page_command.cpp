#include "command/page_command.h"

#include "base/errors.h"
#include "base/memory_limit.h"
#include "command/print_support.h"
#include "command/report.h"
#include "page/band_renderer.h"
#include "page/page_assembly.h"
#include "page/page_job.h"
#include "page/page_lines.h"
#include "page/page_result.h"
#include "page/reduced_page.h"
#include "render/side_by_side.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace qva {

namespace {

using Json = nlohmann::ordered_json;

Direction DirectionOf(const PageOptions& options, const SourceDescription& description)
{
    return options.direction.value_or(description.orientation >= 5 ? Direction::Columns
                                                                   : Direction::Rows);
}

BandPlan PlanFor(const PageOptions& options, const SourceDescription& description)
{
    BandSettings settings;
    settings.direction = DirectionOf(options, description);
    settings.maxMemory = options.maxMemory;
    settings.bandLines = options.bandLines;
    settings.decodeBytes = description.decodeBytes;
    const BandPlan plan = MakeBandPlan(UprightSize(description), settings, description.path);
    if (options.share && options.share->count > plan.Bands()) {
        throw Failure(description.path,
                      fmt::format("has {} bands, too few for {} shares: lower --band-rows",
                                  plan.Bands(), options.share->count));
    }
    return plan;
}

std::string LinesText(const BandPlan& plan, const LineRun& lines)
{
    return fmt::format("{} {} to {}", plan.direction == Direction::Rows ? "rows" : "columns",
                       lines.first, lines.End() - 1);
}

std::string BandText(const BandPlan& plan, std::int64_t band)
{
    return fmt::format("band {} of {}, {}", band + 1, plan.Bands(),
                       LinesText(plan, plan.BandAt(band).inner));
}

/// The lines around one band, each read once although bands overlap.
class BandWindow {
public:
    BandWindow(PageLines& lines, const BandPlan& plan) : lines_(lines), plan_(plan) {}

    /// @return the outer lines of a band, packed; bands come in ascending order.
    const std::uint16_t* LinesOf(const Band& band, Progress& progress)
    {
        const std::int64_t samples = plan_.LineLength() * 3;
        const std::int64_t kept =
            held_.count == 0 ? 0 : std::max<std::int64_t>(held_.End() - band.outer.first, 0);
        codes_.resize(static_cast<std::size_t>(std::max(band.outer.count, held_.count) * samples));
        std::copy_n(codes_.begin() + (held_.count - kept) * samples, kept * samples,
                    codes_.begin());
        if (kept == 0) {
            lines_.Seek(band.outer.first, progress);
        }
        lines_.Read(band.outer.count - kept, codes_.data() + kept * samples);
        held_ = band.outer;
        return codes_.data();
    }

private:
    PageLines& lines_;
    const BandPlan& plan_;
    LineRun held_;
    std::vector<std::uint16_t> codes_;
};

/// One run over the bands of a share.
class PageRun {
public:
    PageRun(const PageOptions& options, const PrinterProfile& profile, const Examination& found,
            ImageSource& source)
        : options_(options),
          profile_(profile),
          found_(found),
          plan_(PlanFor(options, found.description)),
          write_(SettingsFor(options.print, found.description)),
          progress_(options.progress),
          decoder_(found.meaning, options.print.photo),
          lines_(source, decoder_, PageRange(found.range, options.print.render.paperWhite),
                 plan_.direction, options.print.limits, FolderOf(options.print.output))
    {
    }

    void Run();

private:
    void Reduce();
    void RenderBands(PageResult& result);
    const std::uint16_t* RenderBand(const BandRenderer& renderer, const Band& band,
                                    BandWindow& window);
    void Finish(PageResult& result);
    void WriteSheet();
    void Tell(std::int64_t resumed, double seconds) const;

    const PageOptions& options_;
    const PrinterProfile& profile_;
    const Examination& found_;
    BandPlan plan_;
    WriteSettings write_;
    Progress progress_;
    SceneDecoder decoder_;
    PageLines lines_;
    PageJob job_;
    Page reduced_;
    std::vector<std::uint16_t> band_;    ///< upright
    std::vector<std::uint16_t> columns_; ///< the rendered band, turned back to lines
};

void PageRun::Reduce()
{
    const bool isRows = plan_.direction == Direction::Rows;
    const ImageSize upright = ReducedSize(plan_.page, analysisSide);
    PageReducer reducer(plan_.Lines(), plan_.LineLength(),
                        isRows ? upright : ImageSize{upright.height, upright.width});
    const std::int64_t block =
        std::clamp<std::int64_t>((1 << 21) / plan_.LineLength(), 1, plan_.Lines());
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(block * plan_.LineLength() * 3));
    lines_.Seek(0, progress_);
    for (std::int64_t first = 0; first < plan_.Lines(); first += block) {
        const std::int64_t count = std::min(block, plan_.Lines() - first);
        lines_.Read(count, codes.data());
        reducer.Add(codes.data(), count);
        progress_.Show("reducing",
                       static_cast<double>(first + count) / static_cast<double>(plan_.Lines()));
    }
    job_.pageDigest = reducer.Digest();
    reduced_ = isRows ? reducer.Result() : Transposed(reducer.Result());
}

const std::uint16_t* PageRun::RenderBand(const BandRenderer& renderer, const Band& band,
                                         BandWindow& window)
{
    const std::uint16_t* source = window.LinesOf(band, progress_);
    const std::int64_t length = plan_.LineLength();
    const std::int64_t count = band.outer.count;
    band_.resize(static_cast<std::size_t>(count * length * 3));
    if (plan_.direction == Direction::Rows) {
        std::copy_n(source, count * length * 3, band_.begin());
    } else {
        CopyAcross(source, count, length, count, band_.data());
    }
    renderer.Correct(band_.data(), plan_.direction, band.outer);
    const std::int64_t skipped = (band.inner.first - band.outer.first) * length * 3;
    if (plan_.direction == Direction::Rows) {
        return band_.data() + skipped;
    }
    columns_.resize(band_.size());
    CopyAcross(band_.data(), length, count, length, columns_.data());
    return columns_.data() + skipped;
}

void PageRun::RenderBands(PageResult& result)
{
    const auto start = std::chrono::steady_clock::now();
    const LineRun bands = plan_.BandsOfShare(job_.share.number, job_.share.count);
    const std::int64_t first = bands.first + result.Bands();
    if (first == bands.End()) {
        return;
    }
    progress_.Show("analysing", -1.0);
    const BandRenderer renderer(reduced_, plan_.page, job_.range, profile_, options_.print.render,
                                options_.print.photo);
    BandWindow window(lines_, plan_);
    for (std::int64_t band = first; band < bands.End(); ++band) {
        try {
            result.Append(RenderBand(renderer, plan_.BandAt(band), window));
        } catch (const Failure& failure) {
            throw Failure(failure, BandText(plan_, band));
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        const std::int64_t done = band + 1 - first;
        const auto pixels = static_cast<double>(plan_.LinesOf({first, done}).count) *
                            static_cast<double>(plan_.LineLength());
        progress_.ShowBands({band + 1, plan_.Bands(), pixels * 1e-6, passed.count(),
                             static_cast<double>(done) / static_cast<double>(bands.End() - first)});
    }
}

void PageRun::Finish(PageResult& result)
{
    if (options_.share) {
        result.Finish([this](std::uint32_t checksum) { return ShareText(job_, checksum); });
    } else {
        result.Finish();
    }
    if (options_.share || StripsAreResult(plan_, write_)) {
        result.Commit();
        return;
    }
    OutputFile output(options_.print.output);
    std::vector<StripReader> strips;
    strips.emplace_back(result.PartPath());
    Assemble(strips, plan_, write_, output, progress_);
    output.Commit();
    result.Discard();
}

/// The sheet shows what was written, so the result is read once more.
void PageRun::WriteSheet()
{
    OutputFile sheet(options_.print.sideBySide);
    const std::unique_ptr<ImageSource> source =
        OpenImage(options_.print.output, options_.print.limits);
    PageReducer reducer(plan_.page.height, plan_.page.width, reduced_.size);
    std::vector<float> samples(static_cast<std::size_t>(plan_.page.width * 3));
    std::vector<std::uint16_t> codes(samples.size());
    for (std::int64_t row = 0; row < plan_.page.height; ++row) {
        source->ReadRows(1, samples.data());
        std::transform(samples.begin(), samples.end(), codes.begin(),
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
        reducer.Add(codes.data(), 1);
    }
    WriteSideBySide(
        sheet, ReducePage(reduced_, ClippedLight(job_.range, options_.print.render.paperWhite)),
        ReducePage(reducer.Result(), RenderedLight()));
    sheet.Commit();
}

Json PlanJson(const BandPlan& plan, const Share& share, const std::string& scratchReason)
{
    const LineRun bands = plan.BandsOfShare(share.number, share.count);
    const LineRun lines = plan.LinesOf(bands);
    return {{"width", plan.page.width},
            {"height", plan.page.height},
            {"direction", plan.direction == Direction::Rows ? "rows" : "columns"},
            {"bands", plan.Bands()},
            {"bandLines", plan.bandLines},
            {"margin", plan.margin},
            {"stripLines", plan.stripLines},
            {"memory", BandMemory(plan)},
            {"share", share.number},
            {"shares", share.count},
            {"firstBand", bands.first},
            {"shareBands", bands.count},
            {"firstLine", lines.first},
            {"shareLines", lines.count},
            {"scratchFile", !scratchReason.empty()}};
}

void Print(const Json& json)
{
    fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

void PageRun::Tell(std::int64_t resumed, double seconds) const
{
    if (!lines_.ScratchReason().empty()) {
        TellRemarks(options_.print,
                    {"decoded once into a temporary file: " + lines_.ScratchReason()});
    }
    if (options_.print.verbose) {
        Say(fmt::format("{}  {:<13}{}\n", ReportText(found_, options_.print.render.threshold),
                        "paper", profile_.description));
    }
    TellRemarks(options_.print, AllRemarks(options_.print, profile_, found_));
    if (!options_.json) {
        return;
    }
    const LineRun lines = plan_.LinesOf(plan_.BandsOfShare(job_.share.number, job_.share.count));
    const double megapixels =
        static_cast<double>(lines.count) * static_cast<double>(plan_.LineLength()) * 1e-6;
    Print({{"plan", PlanJson(plan_, job_.share, lines_.ScratchReason())},
           {"job", Json::parse(JobText(job_))},
           {"result",
            {{"file", options_.print.output},
             {"megapixels", megapixels},
             {"resumedBands", resumed},
             {"seconds", seconds},
             {"peakMemory", PeakMemory()}}}});
}

void PageRun::Run()
{
    const auto start = std::chrono::steady_clock::now();
    job_.plan = plan_;
    job_.share = options_.share.value_or(Share{});
    job_.range = PageRange(found_.range, options_.print.render.paperWhite);
    job_.render = options_.print.render;
    job_.write = write_;
    job_.profileDigest = DigestOf(profile_.bytes);
    Reduce();
    const LineRun lines = plan_.LinesOf(plan_.BandsOfShare(job_.share.number, job_.share.count));
    PageResult result(options_.print.output, StripsOf(plan_, lines, write_), plan_.bandLines,
                      ShareText(job_), options_.continuation);
    SetFarewell(fmt::format("\nqva: stopped; {} goes on with {}\n",
                            options_.continuation == Continuation::Any ? "the same command"
                                                                       : "'qva page --resume'",
                            OneLine(result.PartPath())));
    const std::int64_t resumed = result.Bands();
    RenderBands(result);
    Finish(result);
    SetFarewell("");
    if (!options_.print.sideBySide.empty()) {
        WriteSheet();
    }
    progress_.Clear();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    Tell(resumed, passed.count());
}

void EnsureFolder(const std::string& output)
{
    ResolveOutput(output);
    // Thrown away at once: it only shows that files can be created where the result will lie.
    try {
        const ScratchFile trial(FolderOf(output));
    } catch (const Failure& failure) {
        throw Failure(output, "cannot be written: " + SystemReason(errno));
    }
}

} // namespace

void RunPageOf(const PageOptions& options, const PrinterProfile& profile, const Examination& found,
               ImageSource& source)
{
    EnsureFolder(options.print.output);
    PageRun(options, profile, found, source).Run();
}

namespace {

/// Names the band of a damaged row, where bands are runs of stored rows.
Examination ExaminePage(const PageOptions& options, const BandPlan& plan, Progress& progress,
                        std::unique_ptr<ImageSource>& source)
{
    const LineOrder order = OrderOf(source->Describe().orientation, plan.direction);
    try {
        return Examine(options.print.photo, options.print.source, options.print.limits, progress,
                       source);
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

} // namespace

void RunPage(const PageOptions& options)
{
    CheckNames(options.print);
    SetThreads(options.print.render.threads);
    const PrinterProfile profile = ProfileOf(options.print);
    if (!options.dryRun) {
        EnsureFolder(options.print.output);
    }
    std::unique_ptr<ImageSource> source = OpenImage(options.print.photo, options.print.limits);
    const BandPlan plan = PlanFor(options, source->Describe());
    if (options.dryRun) {
        Print({{"plan", PlanJson(plan, options.share.value_or(Share{}),
                                 ScratchReasonOf(source->Describe(), plan.direction))}});
        return;
    }
    Progress progress(options.progress);
    const Examination found = ExaminePage(options, plan, progress, source);
    progress.Clear();
    RunPageOf(options, profile, found, *source);
}

} // namespace qva
