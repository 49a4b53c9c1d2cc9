#include "page/band_plan.h"

#include "base/errors.h"
#include "formats/tiff_strips.h"
#include "picture/reduced_size.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <lumo/qva.h>

namespace qva {

namespace {

// Resident bytes: what the program and the library hold whatever the band (tables, threads), what
// each pixel of the analysed copy costs (a weight for every region), and what each pixel of a band
// costs at the peak (two buffers of 6 here, the planes of the library).
constexpr std::uint64_t fixedBytes = 130000000;
constexpr std::uint64_t bytesPerCopyPixel = 100;
constexpr std::uint64_t bytesPerPixel = 22;
// A page at once is rendered in its own buffer.
constexpr std::uint64_t bytesPerPixelAtOnce = 16;
// Columns are turned in another buffer.
constexpr std::uint64_t bytesPerPixelOfColumns = bytesPerPixel + 6;

// The stronger of the two smoothers works with 200 on a page of 30105600 pixels, and with the
// square root of the pixels in proportion. On an even tone its influence falls by e within the
// square root of that strength in lines.
constexpr double strength = 200.0;
constexpr double strengthPixels = 30105600.0;
// After this many falls nothing is left to see, whatever lies behind the margin.
constexpr double falls = 3.0;

std::int64_t CeilDiv(std::int64_t dividend, std::int64_t divisor)
{
    return (dividend + divisor - 1) / divisor;
}

std::uint64_t MemoryOf(const BandPlan& plan, std::int64_t lines)
{
    const std::uint64_t perPixel =
        plan.direction == Direction::Rows ? bytesPerPixel : bytesPerPixelOfColumns;
    const ImageSize copy = ReducedSize(plan.page, analysisSide);
    return fixedBytes + plan.decodeBytes +
           static_cast<std::uint64_t>(copy.width * copy.height) * bytesPerCopyPixel +
           static_cast<std::uint64_t>(plan.LineLength() * lines) * perPixel;
}

/// The lines of bands that memory allows, evened out over the page.
std::int64_t LinesFor(const BandPlan& plan, std::uint64_t maxMemory, const std::string& name)
{
    const std::int64_t strip = StripLines(plan.LineLength(), plan.Lines());
    const std::int64_t smallest = std::min(strip + 2 * plan.margin, plan.Lines());
    const std::uint64_t needed = MemoryOf(plan, smallest);
    if (needed > maxMemory) {
        throw Failure(name,
                      fmt::format("lines of {} pixels need {} MB with their margins: raise "
                                  "--max-memory",
                                  plan.LineLength(), needed / 1000000 + 1),
                      exitFailed);
    }
    const std::uint64_t lineBytes = MemoryOf(plan, 1) - MemoryOf(plan, 0);
    const auto outer = static_cast<std::int64_t>((maxMemory - MemoryOf(plan, 0)) / lineBytes);
    if (outer >= plan.Lines()) {
        return plan.Lines();
    }
    const std::int64_t most = std::max((outer - 2 * plan.margin) / strip * strip, strip);
    const std::int64_t bands = CeilDiv(plan.Lines(), most);
    return CeilDiv(CeilDiv(plan.Lines(), bands), strip) * strip;
}

/// The largest divisor of the band's lines that makes no larger strips than usual.
std::int64_t StripLinesWithin(std::int64_t bandLines, std::int64_t usual)
{
    std::int64_t lines = std::min(bandLines, usual);
    while (bandLines % lines != 0) {
        --lines;
    }
    return lines;
}

} // namespace

std::int64_t BandPlan::Lines() const
{
    return direction == Direction::Rows ? page.height : page.width;
}

std::int64_t BandPlan::LineLength() const
{
    return direction == Direction::Rows ? page.width : page.height;
}

std::int64_t BandPlan::Bands() const
{
    return CeilDiv(Lines(), bandLines);
}

Band BandPlan::BandAt(std::int64_t index) const
{
    Band band;
    band.inner.first = index * bandLines;
    band.inner.count = std::min(bandLines, Lines() - band.inner.first);
    band.outer.first = std::max<std::int64_t>(band.inner.first - margin, 0);
    band.outer.count = std::min(band.inner.End() + margin, Lines()) - band.outer.first;
    return band;
}

LineRun BandPlan::BandsOfShare(std::int64_t share, std::int64_t shares) const
{
    const std::int64_t first = (share - 1) * Bands() / shares;
    return {first, share * Bands() / shares - first};
}

LineRun BandPlan::LinesOf(const LineRun& bands) const
{
    const std::int64_t first = std::min(bands.first * bandLines, Lines());
    return {first, std::min(bands.End() * bandLines, Lines()) - first};
}

std::int64_t MarginFor(ImageSize page)
{
    std::uint32_t parameters[7] = {};
    QVA_GetParametersForBandProcessing(nullptr, parameters);
    const std::uint32_t recommended = *std::max_element(parameters + 3, parameters + 7);
    const double pixels = static_cast<double>(page.width) * static_cast<double>(page.height);
    const double reach = std::sqrt(strength * std::sqrt(pixels / strengthPixels));
    return std::max<std::int64_t>(recommended, std::llround(std::ceil(falls * reach)));
}

BandPlan MakeBandPlan(ImageSize page, const BandSettings& settings, const std::string& name)
{
    BandPlan plan;
    plan.page = page;
    plan.direction = settings.direction;
    plan.decodeBytes = settings.decodeBytes;
    plan.margin = settings.marginLines.value_or(MarginFor(page));
    plan.bandLines = settings.bandLines ? std::min(*settings.bandLines, plan.Lines())
                                        : LinesFor(plan, settings.maxMemory, name);
    const std::int64_t usual = StripLines(plan.LineLength(), plan.Lines());
    plan.stripLines =
        plan.bandLines == plan.Lines() ? usual : StripLinesWithin(plan.bandLines, usual);
    return plan;
}

BandPlan PlanFor(const PageCut& cut, const SourceDescription& description)
{
    BandSettings settings;
    const bool isStoredOnItsSide = description.orientation >= 5;
    settings.direction =
        cut.direction.value_or(isStoredOnItsSide ? Direction::Columns : Direction::Rows);
    settings.maxMemory = cut.maxMemory;
    settings.bandLines = cut.bandLines;
    settings.decodeBytes = description.decodeBytes;
    const BandPlan plan = MakeBandPlan(UprightSize(description), settings, description.path);
    if (cut.share && cut.share->count > plan.Bands()) {
        throw Failure(description.path,
                      fmt::format("has {} bands, too few for {} shares: lower --band-rows",
                                  plan.Bands(), cut.share->count),
                      exitFailed);
    }
    return plan;
}

std::uint64_t LeastMemory()
{
    return fixedBytes;
}

std::uint64_t PrintMemory(ImageSize page)
{
    return fixedBytes + static_cast<std::uint64_t>(page.width * page.height) * bytesPerPixelAtOnce;
}

std::uint64_t BandMemory(const BandPlan& plan)
{
    return MemoryOf(plan, std::min(plan.bandLines + 2 * plan.margin, plan.Lines()));
}

} // namespace qva
