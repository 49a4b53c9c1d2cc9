#include "render/resized_source.h"

#include "base/errors.h"
#include "base/workers.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace qva {

namespace {

constexpr std::int64_t tileColumns = 512;
// Light that stands for infinite light, and more than any picture has: products of it stay finite.
constexpr float mostLight = 1e9f;

double ReachOf(double pixelsPerPixel)
{
    // One more for the rounding of places.
    return resamplingReach * std::max(pixelsPerPixel, 1.0) + 1.0;
}

double RowsPerRow(const Resampling& plan)
{
    return plan.height / static_cast<double>(plan.target.height);
}

/// Few enough that the rows of the picture behind them stay few, too.
std::int64_t BandRowsOf(const Resampling& plan)
{
    constexpr double storedRows = 128.0;
    constexpr double mostRows = 64.0;
    return static_cast<std::int64_t>(
        std::clamp(std::floor(storedRows / RowsPerRow(plan)), 1.0, mostRows));
}

/// Of one axis: the pixels that a part is made of.
std::pair<std::int64_t, std::int64_t> Around(double from, double to, double reach,
                                             std::int64_t length)
{
    return {std::max<std::int64_t>(static_cast<std::int64_t>(std::floor(from - reach)), 0),
            std::min(static_cast<std::int64_t>(std::ceil(to + reach)), length)};
}

Resampling AsStored(const Resampling& plan, int orientation)
{
    // The part is the picture's middle, which mirroring leaves where it is.
    return orientation < 5 ? plan
                           : Resampling{plan.top,
                                        plan.left,
                                        plan.height,
                                        plan.width,
                                        {plan.target.height, plan.target.width}};
}

} // namespace

Interpretation LightOf(const Interpretation& meaning)
{
    Interpretation light = meaning;
    light.transfer = Transfer::Linear;
    light.primaries = bt2020;
    light.profile.clear();
    light.isInteger = false;
    light.codeBlack = 0.0;
    light.codeWhite = meaning.signalOneLuminance;
    light.signalZeroLuminance = 0.0;
    return light;
}

SourceDescription Resized(const SourceDescription& description, const Resampling& plan)
{
    SourceDescription resized = description;
    const Resampling stored = AsStored(plan, description.orientation);
    resized.size = stored.target;
    const double rows = static_cast<double>(BandRowsOf(stored)) * RowsPerRow(stored) +
                        2.0 * ReachOf(RowsPerRow(stored));
    resized.decodeBytes += static_cast<std::uint64_t>(
        rows * static_cast<double>(description.size.width) * 2.0 * 3.0 * sizeof(float));
    return resized;
}

ResizedSource::ResizedSource(std::unique_ptr<ImageSource> source, const Interpretation& meaning,
                             const Resampling& plan)
    : source_(std::move(source)),
      decoder_(meaning, source_->Describe().path),
      plan_(AsStored(plan, source_->Describe().orientation)),
      stored_(source_->Size()),
      description_(Resized(source_->Describe(), plan)),
      bandRows_(BandRowsOf(plan_)),
      resamplers_(static_cast<std::size_t>(Workers()))
{
}

void ResizedSource::Open(const std::string& path, const SizeLimits& limits)
{
    source_->Open(path, limits);
    first_ = 0;
    held_ = 0;
    band_ = -1;
    next_ = 0;
}

void ResizedSource::ReadRows(std::int64_t count, float* rgb)
{
    const std::int64_t samples = Size().width * 3;
    for (std::int64_t row = 0; row < count; ++row, ++next_) {
        if (next_ / bandRows_ != band_) {
            MakeBand(next_ / bandRows_);
        }
        std::copy_n(rows_.begin() + next_ % bandRows_ * samples, samples, rgb + row * samples);
    }
}

Tile ResizedSource::TileAt(std::int64_t column, std::int64_t row, std::int64_t rows) const
{
    const double across = plan_.width / static_cast<double>(plan_.target.width);
    const double down = RowsPerRow(plan_);
    Tile tile;
    tile.targetWidth = std::min(tileColumns, plan_.target.width - column);
    tile.targetHeight = rows;
    tile.partWidth = across * static_cast<double>(tile.targetWidth);
    tile.partHeight = down * static_cast<double>(rows);
    const double left = plan_.left + across * static_cast<double>(column);
    const auto [first, end] = Around(left, left + tile.partWidth, ReachOf(across), stored_.width);
    tile.column = first / AlignedFloats::perVector * AlignedFloats::perVector;
    tile.width = end - tile.column;
    tile.height = held_ - first_;
    tile.left = left - static_cast<double>(tile.column);
    tile.top = plan_.top + down * static_cast<double>(row) - static_cast<double>(first_);
    return tile;
}

void ResizedSource::MakeBand(std::int64_t band)
{
    const std::int64_t row = band * bandRows_;
    const std::int64_t rows = std::min(bandRows_, Size().height - row);
    const double down = RowsPerRow(plan_);
    const double top = plan_.top + down * static_cast<double>(row);
    const auto [first, end] =
        Around(top, top + down * static_cast<double>(rows), ReachOf(down), stored_.height);
    Hold(first, end);
    const std::int64_t samples = Size().width * 3;
    rows_.resize(static_cast<std::size_t>(bandRows_ * samples));
    try {
        ForEach((Size().width + tileColumns - 1) / tileColumns, [&](std::int64_t tile, int worker) {
            const std::int64_t column = tile * tileColumns;
            resamplers_[static_cast<std::size_t>(worker)].Resample(
                window_, TileAt(column, row, rows), rows_.data() + column * 3, samples);
        });
    } catch (const Error&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw Failure(description_.path,
                      std::string("cannot be brought to the page's size: ") + error.what());
    }
    band_ = band;
}

/// Fills the window with rows `first` ... `end` - 1, of which it may have some.
void ResizedSource::Hold(std::int64_t first, std::int64_t end)
{
    if (window_.rows == 0) {
        window_.Resize(stored_.width, static_cast<std::int64_t>(std::ceil(
                                          static_cast<double>(bandRows_) * RowsPerRow(plan_) +
                                          2.0 * ReachOf(RowsPerRow(plan_)))) +
                                          2);
    }
    const std::int64_t kept = std::max<std::int64_t>(held_ - first, 0);
    for (AlignedFloats& plane : window_.planes) {
        float* from = plane.Data() + (held_ - first_ - kept) * window_.stride;
        std::copy(from, from + kept * window_.stride, plane.Data());
    }
    if (held_ < first) {
        source_->SkipRows(first - held_);
        held_ = first;
    }
    first_ = first;
    constexpr std::int64_t rowsAtOnce = 16;
    while (held_ < end) {
        const std::int64_t count = std::min(rowsAtOnce, end - held_);
        ReadInto(held_ - first_, count);
        held_ += count;
    }
}

void ResizedSource::ReadInto(std::int64_t row, std::int64_t count)
{
    const std::int64_t samples = stored_.width * 3;
    samples_.resize(static_cast<std::size_t>(count * samples));
    source_->ReadRows(count, samples_.data());
    ForEach(count, [&](std::int64_t i, int) {
        float* rgb = samples_.data() + i * samples;
        SampleCounts counts;
        decoder_.Decode(rgb, static_cast<std::size_t>(stored_.width), counts);
        for (int k = 0; k < 3; ++k) {
            float* plane = window_.planes[k].Data() + (row + i) * window_.stride;
            for (std::int64_t x = 0; x < stored_.width; ++x) {
                plane[x] = std::min(rgb[x * 3 + k], mostLight);
            }
        }
    });
}

} // namespace qva
