#include "render/scan_load.h"

#include "base/errors.h"
#include "base/workers.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace qva {

namespace {

/// Where stored pixel (x, y) lands in the upright page: origin + x * right + y * down, in pixels.
struct Placement {
    std::int64_t origin;
    std::int64_t right;
    std::int64_t down;
};

Placement PlacementOf(const SourceDescription& description)
{
    const std::int64_t width = UprightSize(description).width;
    const std::int64_t lastColumn = width - 1;
    const std::int64_t lastRow = (UprightSize(description).height - 1) * width;
    switch (description.orientation) {
    case 2:
        return {lastColumn, -1, width};
    case 3:
        return {lastRow + lastColumn, -1, -width};
    case 4:
        return {lastRow, 1, -width};
    case 5:
        return {0, width, 1};
    case 6:
        return {lastColumn, width, -1};
    case 7:
        return {lastRow + lastColumn, -width, -1};
    case 8:
        return {lastRow, -width, 1};
    default:
        return {0, 1, width};
    }
}

void PlaceRow(const std::uint16_t* row, std::int64_t width, std::int64_t y,
              const Placement& placement, std::uint16_t* page)
{
    std::int64_t place = placement.origin + y * placement.down;
    for (std::int64_t x = 0; x < width; ++x) {
        std::copy_n(row + x * 3, 3, page + place * 3);
        place += placement.right;
    }
}

// Blocks that are under way, and so threads that work on them: few, because nothing reads faster
// than these convert.
constexpr int mostReaders = 8;

int Readers()
{
    return std::min(Workers(), mostReaders);
}

std::int64_t SamplesOf(ImageSize size)
{
    return size.width * size.height * 3;
}

Page EmptyPage(ImageSize size)
{
    return {size, std::make_unique_for_overwrite<std::uint16_t[]>(
                      static_cast<std::size_t>(SamplesOf(size)))};
}

void ReadBlock(ImageSource& source, std::int64_t count, float* rows)
{
    source.ReadRows(count, rows);
}

void ReadBlock(ImageSource& source, std::int64_t count, std::uint16_t* rows)
{
    source.ReadSamples(count, rows);
}

/// Reads all rows of a source in order, and meanwhile calls use(row, y, worker) for those that are
/// there on all threads.
/// @param whole  where the rows are to stay; null where they are used up.
template <typename T, typename Use>
void ForEachRow(ImageSource& source, const char* stage, Progress& progress, T* whole,
                const Use& use)
{
    const ImageSize size = source.Size();
    const std::int64_t rows = RowsPerBlock(size);
    SlotSteps steps;
    steps.count = (size.height + rows - 1) / rows;
    steps.slots = std::min({UsualSlots(), steps.count, std::int64_t{mostReaders}});
    std::vector<T> blocks(static_cast<std::size_t>(
        whole == nullptr ? steps.slots * SamplesOf({size.width, rows}) : 0));
    const auto blockAt = [&](std::int64_t item) {
        return whole != nullptr
                   ? whole + item * SamplesOf({size.width, rows})
                   : blocks.data() + item % steps.slots * SamplesOf({size.width, rows});
    };
    const auto rowsIn = [&](std::int64_t item) {
        return std::min(rows, size.height - item * rows);
    };
    steps.ordered = [&](std::int64_t item) {
        const std::int64_t first = item * rows;
        const std::int64_t end = first + rowsIn(item);
        try {
            ReadBlock(source, end - first, blockAt(item));
        } catch (const Failure& failure) {
            const std::string place = fmt::format("rows {} to {}", first, end - 1);
            throw Failure(Failure(failure, place), first);
        }
        progress.Show(stage, static_cast<double>(end) / static_cast<double>(size.height));
    };
    steps.shared = [&](std::int64_t item, int worker) {
        for (std::int64_t row = 0; row < rowsIn(item); ++row) {
            use(blockAt(item) + row * size.width * 3, item * rows + row, worker);
        }
    };
    RunOrderedFirst(steps);
}

} // namespace

PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress, KeptSamples* kept)
{
    struct Part {
        PictureStatistics statistics;
        SampleCounts counts;
    };
    const auto width = static_cast<std::size_t>(source.Size().width);
    std::vector<Part> parts(static_cast<std::size_t>(Readers()));
    const auto partOf = [&parts](int worker) -> Part& {
        return parts[static_cast<std::size_t>(worker)];
    };
    if (decoder.Takes(source.Samples())) {
        if (kept != nullptr) {
            *kept = {source.Samples(), EmptyPage(source.Size())};
        }
        ScratchRows scratch(source.Size().width, Readers());
        ForEachRow<std::uint16_t>(
            source, "measuring", progress, kept != nullptr ? kept->stored.codes.get() : nullptr,
            [&](const std::uint16_t* row, std::int64_t, int worker) {
                float* light = scratch.Light(worker);
                decoder.DecodeSamples(row, light, width, partOf(worker).counts);
                partOf(worker).statistics.Add(light, width);
            });
    } else {
        ForEachRow<float>(source, "measuring", progress, nullptr,
                          [&](float* row, std::int64_t, int worker) {
                              decoder.Decode(row, width, partOf(worker).counts);
                              partOf(worker).statistics.Add(row, width);
                          });
    }
    PictureStatistics statistics;
    for (const Part& part : parts) {
        statistics.Add(part.statistics);
        counts.Add(part.counts);
    }
    return statistics;
}

Page LoadPage(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
              const RenderRange& range, Progress& progress)
{
    const std::int64_t width = source.Size().width;
    const auto pixels = static_cast<std::size_t>(width);
    const Placement placement = PlacementOf(source.Describe());
    const RowEncoder encoder(decoder, light, range);
    Page page = EmptyPage(UprightSize(source.Describe()));
    ScratchRows scratch(width, Readers());
    const auto place = [&](std::int64_t y, int worker) {
        PlaceRow(scratch.Codes(worker), width, y, placement, page.codes.get());
    };
    if (decoder.Takes(source.Samples())) {
        ForEachRow<std::uint16_t>(source, "reading", progress, nullptr,
                                  [&](const std::uint16_t* row, std::int64_t y, int worker) {
                                      encoder(row, scratch.Light(worker), pixels,
                                              scratch.Codes(worker));
                                      place(y, worker);
                                  });
    } else {
        ForEachRow<float>(source, "reading", progress, nullptr,
                          [&](float* row, std::int64_t y, int worker) {
                              encoder(row, pixels, scratch.Codes(worker));
                              place(y, worker);
                          });
    }
    return page;
}

Page MakePage(KeptSamples kept, const SourceDescription& description, const RowEncoder& encoder)
{
    constexpr std::int64_t rowsAtOnce = 16;
    const ImageSize size = description.size;
    const bool isUpright = description.orientation == 1;
    const Placement placement = PlacementOf(description);
    Page turned = isUpright ? Page{} : EmptyPage(UprightSize(description));
    ScratchRows scratch(size.width, Workers());
    ForEach((size.height + rowsAtOnce - 1) / rowsAtOnce, [&](std::int64_t item, int worker) {
        const std::int64_t end = std::min((item + 1) * rowsAtOnce, size.height);
        for (std::int64_t y = item * rowsAtOnce; y < end; ++y) {
            std::uint16_t* row = kept.stored.codes.get() + y * size.width * 3;
            encoder(row, scratch.Light(worker), static_cast<std::size_t>(size.width), row);
            if (!isUpright) {
                PlaceRow(row, size.width, y, placement, turned.codes.get());
            }
        }
    });
    return isUpright ? std::move(kept.stored) : std::move(turned);
}

} // namespace qva
