#include "page/page_run.h"

#include "base/errors.h"
#include "base/phase_times.h"
#include "base/signals.h"
#include "page/band_renderer.h"
#include "page/band_window.h"
#include "page/page_assembly.h"
#include "page/page_lines.h"
#include "page/reduced_page.h"
#include "picture/rendered_for.h"
#include "render/side_by_side.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>

namespace qva {

namespace {

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

/// One run over the bands of a share.
class PageRun {
public:
    PageRun(const PageRequest& request, const PrinterProfile& profile, const Examination& found,
            ImageSource& source)
        : request_(request),
          profile_(profile),
          plan_(PlanFor(request.cut, found.description)),
          progress_(request.progress),
          decoder_(found.rows, request.photo, source.Samples()),
          light_(found.light),
          lines_(source, decoder_, light_, PageRange(found.range, request.render.paperWhite),
                 plan_.direction, request.limits, FolderOf(request.output))
    {
        job_.plan = plan_;
        job_.share = request.cut.share.value_or(Share{});
        job_.light = found.light;
        job_.range = PageRange(found.range, request.render.paperWhite);
        job_.render = request.render;
        job_.write = request.write;
        job_.profileDigest = DigestOf(profile.bytes);
    }

    PageSummary Run();

private:
    void Reduce();
    void RenderBands(PageResult& result);
    const std::uint16_t* RenderBand(const BandRenderer& renderer, const Band& band,
                                    BandWindow& window);
    void Finish(PageResult& result);
    void WriteSheet();

    const PageRequest& request_;
    const PrinterProfile& profile_;
    BandPlan plan_;
    Progress progress_;
    SceneDecoder decoder_;
    LightSteps light_;
    PageLines lines_;
    PageJob job_;
    Page reduced_;
    std::vector<std::uint16_t> band_;    ///< upright
    std::vector<std::uint16_t> columns_; ///< the rendered band, turned back to lines
};

void PageRun::Reduce()
{
    const InPhase examining(Phase::Examining);
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
    const BandRenderer renderer(reduced_, plan_.page, job_.range, profile_, request_.render,
                                request_.photo);
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
    const InPhase writing(Phase::Writing);
    if (request_.cut.share) {
        result.Finish([this](std::uint32_t checksum) { return ShareText(job_, checksum); });
    } else {
        result.Finish();
    }
    if (request_.cut.share || StripsAreResult(plan_, request_.write, request_.output)) {
        result.Commit();
        return;
    }
    OutputFile output(request_.output);
    std::vector<StripReader> strips;
    strips.emplace_back(result.PartPath());
    Assemble(strips, plan_, request_.write, output, progress_);
    output.Commit();
    result.Discard();
}

/// The sheet shows what was written, so the result is read once more.
void PageRun::WriteSheet()
{
    OutputFile sheet(request_.sideBySide);
    const std::unique_ptr<ImageSource> source = OpenImage(request_.output, request_.limits);
    PageReducer reducer(plan_.page.height, plan_.page.width, reduced_.size);
    std::vector<float> samples(static_cast<std::size_t>(plan_.page.width * 3));
    std::vector<std::uint16_t> codes(samples.size());
    for (std::int64_t row = 0; row < plan_.page.height; ++row) {
        source->ReadRows(1, samples.data());
        std::transform(samples.begin(), samples.end(), codes.begin(),
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
        reducer.Add(codes.data(), 1);
    }
    WriteSideBySide(sheet,
                    ReducePage(reduced_, ClippedLight(job_.range, request_.render.paperWhite)),
                    ReducePage(reducer.Result(), RenderedLight()));
    sheet.Commit();
}

PageSummary PageRun::Run()
{
    const auto start = std::chrono::steady_clock::now();
    Reduce();
    const LineRun lines = plan_.LinesOf(plan_.BandsOfShare(job_.share.number, job_.share.count));
    TiffPage page = StripsOf(plan_, lines, request_.write);
    if (request_.cut.share) {
        // It stands in the description, for the page that is joined.
        page.settings.metadata = {};
    }
    PageResult result(request_.output, page, plan_.bandLines, ShareText(job_),
                      request_.continuation);
    SetFarewell(fmt::format("\nqva: stopped; {} goes on with {}\n",
                            request_.continuation == Continuation::Any ? "the same command"
                                                                       : "'qva page --resume'",
                            OneLine(result.PartPath())));
    const std::int64_t resumed = result.Bands();
    RenderBands(result);
    Finish(result);
    SetFarewell("");
    if (!request_.sideBySide.empty()) {
        WriteSheet();
    }
    progress_.Clear();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    return {job_, lines_.ScratchReason(), resumed, passed.count()};
}

} // namespace

PageSummary RunPage(const PageRequest& request, const PrinterProfile& profile,
                    const Examination& found, ImageSource& source)
{
    if (request.write.device && !request.sideBySide.empty()) {
        throw Misuse("--side-by-side",
                     "shows no device values: a page in bands with --to-device has none");
    }
    EnsureFolder(request.output);
    return PageRun(request, profile, found, source).Run();
}

} // namespace qva
