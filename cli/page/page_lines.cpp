#include "page/page_lines.h"

#include "base/phase_times.h"
#include "base/workers.h"

#include <algorithm>

namespace qva {

namespace {

// Stored rows decoded at once: enough to keep every core busy, little beside a band.
std::int64_t RowsAtOnce(ImageSize stored)
{
    constexpr std::int64_t pixels = 1 << 20;
    return std::clamp<std::int64_t>(pixels / stored.width, 1, stored.height);
}

void Mirror(std::uint16_t* line, std::int64_t pixels)
{
    for (std::int64_t left = 0, right = pixels - 1; left < right; ++left, --right) {
        std::swap_ranges(line + left * 3, line + left * 3 + 3, line + right * 3);
    }
}

} // namespace

LineOrder OrderOf(int orientation, Direction direction)
{
    // Orientations 5 to 8 store the page's columns as rows.
    LineOrder order;
    order.across = (orientation >= 5) != (direction == Direction::Columns);
    const bool lastColumnFirst =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool lastRowFirst =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    const bool linesAreRows = direction == Direction::Rows;
    order.backward = linesAreRows ? lastRowFirst : lastColumnFirst;
    order.mirrored = linesAreRows ? lastColumnFirst : lastRowFirst;
    return order;
}

std::string ScratchReasonOf(const SourceDescription& description, Direction direction)
{
    const LineOrder order = OrderOf(description.orientation, direction);
    if (order.across) {
        return "its rows are stored across the bands";
    }
    if (order.backward) {
        return "its last row is stored first";
    }
    return description.isInterlaced ? "it is interlaced" : "";
}

PageLines::PageLines(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
                     const RenderRange& range, Direction direction, const SizeLimits& limits,
                     const std::string& folder)
    : source_(source),
      path_(source.Describe().path),
      rows_(source, decoder, light, range),
      order_(OrderOf(source.Describe().orientation, direction)),
      scratchReason_(ScratchReasonOf(source.Describe(), direction)),
      limits_(limits),
      folder_(folder),
      stored_(source.Size())
{
}

void PageLines::Seek(std::int64_t line, Progress& progress)
{
    next_ = line;
    if (order_.across || order_.backward) {
        if (!scratch_) {
            Spool(progress);
        }
        return;
    }
    SeekStored(line);
}

void PageLines::SeekStored(std::int64_t row)
{
    if (isOpen_ && rows_.Next() == row) {
        return;
    }
    const InPhase reading(Phase::Reading);
    const std::int64_t first = rows_.FirstFor(row);
    std::int64_t place = rows_.SourceRow();
    if (!isOpen_ || place > first) {
        source_.Open(path_, limits_);
        isOpen_ = true;
        place = 0;
    }
    source_.SkipRows(first - place);
    rows_.Start(row);
}

void PageLines::Read(std::int64_t count, std::uint16_t* codes)
{
    if (scratch_) {
        scratch_->Read(next_, count, codes);
    } else {
        ReadStored(count, codes);
    }
    next_ += count;
}

void PageLines::ReadStored(std::int64_t count, std::uint16_t* codes)
{
    const std::int64_t rows = RowsAtOnce(stored_);
    const std::int64_t samples = stored_.width * 3;
    for (std::int64_t first = 0; first < count; first += rows) {
        const std::int64_t block = std::min(rows, count - first);
        std::uint16_t* out = codes + first * samples;
        rows_.Read(block, out);
        // In a row across the lines, its pixels are one of every line.
        if (order_.across ? order_.backward : order_.mirrored) {
            ForEach(block,
                    [&](std::int64_t row, int) { Mirror(out + row * samples, stored_.width); });
        }
    }
}

void PageLines::Spool(Progress& progress)
{
    const std::int64_t lines = order_.across ? stored_.width : stored_.height;
    scratch_.emplace(lines, order_.across ? stored_.height : stored_.width, folder_);
    const std::int64_t rows = std::max<std::int64_t>(RowsAtOnce(stored_), 64);
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(rows * stored_.width * 3));
    SeekStored(0);
    for (std::int64_t first = 0; first < stored_.height; first += rows) {
        const std::int64_t count = std::min(rows, stored_.height - first);
        ReadStored(count, codes.data());
        PlaceRows(first, count, codes.data());
        progress.Show("turning",
                      static_cast<double>(first + count) / static_cast<double>(stored_.height));
    }
    source_.Close();
    isOpen_ = false;
}

void PageLines::PlaceRows(std::int64_t first, std::int64_t count, std::uint16_t* codes)
{
    const std::int64_t samples = stored_.width * 3;
    if (!order_.across) {
        for (std::int64_t row = 0; row < count; ++row) {
            const std::int64_t line = first + row;
            scratch_->WriteLine(order_.backward ? stored_.height - 1 - line : line,
                                codes + row * samples);
        }
        return;
    }
    if (order_.mirrored) {
        for (std::int64_t top = 0, bottom = count - 1; top < bottom; ++top, --bottom) {
            std::swap_ranges(codes + top * samples, codes + (top + 1) * samples,
                             codes + bottom * samples);
        }
    }
    scratch_->WriteAcross(order_.mirrored ? stored_.height - first - count : first, count, codes);
}

} // namespace qva
