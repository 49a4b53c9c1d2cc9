#include "page/band_renderer.h"

#include "base/errors.h"
#include "base/phase_times.h"
#include "page/band_plan.h"
#include "page/continued_page.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace qva {

RenderRange PageRange(const RenderRange& chosen, int paperWhite)
{
    constexpr double aboveWhite = 1.05;
    RenderRange range;
    range.topFrom = chosen.topFrom;
    range.top = std::max(chosen.top, aboveWhite * paperWhite);
    return range;
}

BandRenderer::BandRenderer(const Page& reduced, ImageSize page, const RenderRange& range,
                           const PrinterProfile& profile, const RenderSettings& settings,
                           const std::string& name)
    : page_(page), declared_(page), range_(range), name_(name)
{
    EnsureWidth(page, analysisSide, name);
    sourceRange_ = {range.gammaType, static_cast<float>(range.bottom),
                    static_cast<float>(range.top)};
    conditions_ = ConditionsRecord(profile, settings);
    // Narrowing can step out of a range whose end the threshold meets.
    conditions_.paramLuminanceThreshold = std::clamp(
        conditions_.paramLuminanceThreshold, sourceRange_.luminanceMin, sourceRange_.luminanceMax);
    Analyse(reduced);
    if (HasRegions(reduced)) {
        return;
    }
    const double whiteCode = 65535.0 * settings.paperWhite / range.top;
    ContinuedPage continued = ContinuePage(reduced, page, whiteCode);
    declared_ = continued.size;
    Analyse(continued.reduced);
    if (!HasRegions(continued.reduced)) {
        RefuseStatus(QVA_ERROR_INVALID_ARGUMENT, range_, name_);
    }
}

void BandRenderer::Analyse(const Page& reduced) const
{
    const InPhase rendering(Phase::Rendering);
    const QVA_IMAGE image = ImageRecord(reduced.codes.get(), reduced.size);
    const std::uint32_t status =
        QVA_Analysis(handle_.Get(), &image, &sourceRange_, sizeof sourceRange_, &conditions_);
    if (status != QVA_OK) {
        RefuseStatus(status, range_, name_);
    }
}

/// Whether an analysis found regions is only told by a correction, so a line is corrected for
/// nothing, before anything is written.
bool BandRenderer::HasRegions(const Page& reduced) const
{
    std::vector<std::uint16_t> line(static_cast<std::size_t>(page_.width * 3));
    const auto known = static_cast<std::size_t>(std::min(reduced.size.width, page_.width) * 3);
    std::copy_n(reduced.codes.get(), known, line.begin());
    const std::uint32_t status = TryCorrect(line.data(), line.data(), Direction::Rows, {0, 1});
    if (status != QVA_OK && status != QVA_ERROR_INVALID_ARGUMENT) {
        RefuseStatus(status, range_, name_);
    }
    return status == QVA_OK;
}

void BandRenderer::Correct(std::uint16_t* codes, Direction direction, const LineRun& lines) const
{
    Correct(codes, codes, direction, lines);
}

void BandRenderer::Correct(const std::uint16_t* source, std::uint16_t* result, Direction direction,
                           const LineRun& lines) const
{
    const std::uint32_t status = TryCorrect(source, result, direction, lines);
    if (status == QVA_ERROR_PROCESSING) {
        throw Failure(name_, "memory ran out: lower --max-memory or --band-rows", exitFailed);
    }
    if (status != QVA_OK) {
        RefuseStatus(status, range_, name_);
    }
}

std::uint32_t BandRenderer::TryCorrect(const std::uint16_t* source, std::uint16_t* result,
                                       Direction direction, const LineRun& lines) const
{
    const InPhase rendering(Phase::Rendering);
    const bool isRows = direction == Direction::Rows;
    const ImageSize size =
        isRows ? ImageSize{page_.width, lines.count} : ImageSize{lines.count, page_.height};
    const QVA_IMAGE image = ImageRecord(result, size);
    const QVA_IMAGE src = SourceRecord(source, size);
    const auto first = static_cast<std::uint32_t>(lines.first);
    QVA_BAND_AREA band{0, 0, image.width - 1, image.height - 1, {1, 1, 0, 0}};
    QVA_PAGE_AREA area{0, first, image.width - 1, first + image.height - 1, 0, 0};
    if (!isRows) {
        band = {0, 0, image.width - 1, image.height - 1, {0, 0, 1, 1}};
        area = {first, 0, first + image.width - 1, image.height - 1, 0, 0};
    }
    area.pageWidth = static_cast<std::uint32_t>(declared_.width);
    area.pageHeight = static_cast<std::uint32_t>(declared_.height);
    return QVA_CorrectionForPrint(handle_.Get(), &image, &src, &sourceRange_, sizeof sourceRange_,
                                  &conditions_, &band, &area);
}

} // namespace qva
