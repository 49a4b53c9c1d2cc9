#include "render/scan_load.h"

#include "base/errors.h"
#include "base/memory_limit.h"
#include "base/phase_times.h"
#include "base/workers.h"
#include "render/light_rows.h"

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

std::unique_ptr<std::uint16_t[]> RoomFor(std::int64_t samples, std::size_t bytes)
{
    return std::make_unique_for_overwrite<std::uint16_t[]>(static_cast<std::size_t>(samples) *
                                                           bytes / sizeof(std::uint16_t));
}

Page EmptyPage(ImageSize size)
{
    return {size, RoomFor(SamplesOf(size), sizeof(std::uint16_t))};
}

void ReadBlock(ImageSource& source, std::int64_t count, float* rows)
{
    source.ReadRows(count, rows);
}

void ReadBlock(ImageSource& source, std::int64_t count, std::uint16_t* rows)
{
    source.ReadSamples(count, rows);
}

KeptSamples Keep(const ImageSource& source)
{
    const SampleKind kind = source.Samples();
    const std::size_t bytes = kind == SampleKind::Floats ? sizeof(float) : sizeof(std::uint16_t);
    return {kind, {source.Size(), RoomFor(SamplesOf(source.Size()), bytes)}};
}

float* FloatsOf(const KeptSamples& kept)
{
    return reinterpret_cast<float*>(kept.stored.codes.get());
}

/// Samples that are in memory, as a source.
class KeptSource : public ImageSource {
public:
    KeptSource(const KeptSamples& kept, const SourceDescription& description)
        : kept_(kept), description_(description)
    {
    }
    void Open(const std::string&, const SizeLimits&) override {}
    ImageSize Size() const override { return description_.size; }
    const SourceDescription& Describe() const override { return description_; }
    void ReadRows(std::int64_t count, float* rgb) override
    {
        const std::int64_t values = SamplesOf({Size().width, count});
        std::copy_n(FloatsOf(kept_) + next_, values, rgb);
        next_ += values;
    }
    SampleKind Samples() const override { return kept_.kind; }
    void ReadSamples(std::int64_t count, std::uint16_t* samples) override
    {
        const std::int64_t values = SamplesOf({Size().width, count});
        const std::uint16_t* from = kept_.stored.codes.get() + next_;
        std::copy_n(from, samples == from ? 0 : values, samples);
        next_ += values;
    }
    void Close() override {}

private:
    const KeptSamples& kept_;
    const SourceDescription& description_;
    std::int64_t next_ = 0; ///< sample
};

/// Calls read for the rows first ... end - 1, which a failure names.
template <typename Read>
void ReadNamed(std::int64_t first, std::int64_t end, const Read& read)
{
    try {
        read();
    } catch (const Failure& failure) {
        const std::string place = fmt::format("rows {} to {}", first, end - 1);
        throw Failure(Failure(failure, place), first);
    }
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
        const InPhase reading(Phase::Reading);
        ReadNamed(first, end, [&] { ReadBlock(source, end - first, blockAt(item)); });
        progress.Show(stage, static_cast<double>(end) / static_cast<double>(size.height));
    };
    steps.shared = [&](std::int64_t item, int worker) {
        for (std::int64_t row = 0; row < rowsIn(item); ++row) {
            use(blockAt(item) + row * size.width * 3, item * rows + row, worker);
        }
    };
    RunOrderedFirst(steps);
}

/// Places the rows of a source whose light is decided by their neighbours' too.
void PlaceAmongOthers(ImageSource& source, LightRows& rows, Progress& progress, std::uint16_t* page)
{
    const ImageSize size = source.Size();
    const Placement placement = PlacementOf(source.Describe());
    const std::int64_t block = RowsPerBlock(size);
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(SamplesOf({size.width, block})));
    for (std::int64_t first = 0; first < size.height; first += block) {
        const std::int64_t count = std::min(block, size.height - first);
        ReadNamed(first, first + count, [&] { rows.Read(count, codes.data()); });
        ForEach(count, [&](std::int64_t row, int) {
            PlaceRow(codes.data() + SamplesOf({size.width, row}), size.width, first + row,
                     placement, page);
        });
        progress.Show("reading",
                      static_cast<double>(first + count) / static_cast<double>(size.height));
    }
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
    const bool isTaken = decoder.Takes(source.Samples());
    const bool isUpright = source.Describe().orientation == 1;
    if (kept != nullptr && (isTaken || (source.Samples() == SampleKind::Floats && isUpright))) {
        *kept = Keep(source);
    }
    const bool keeps = kept != nullptr && kept->IsThere();
    ScratchRows scratch(source.Size().width, Readers());
    if (isTaken) {
        ForEachRow<std::uint16_t>(
            source, "measuring", progress, keeps ? kept->stored.codes.get() : nullptr,
            [&](const std::uint16_t* row, std::int64_t, int worker) {
                float* light = scratch.Light(worker);
                decoder.DecodeSamples(row, light, width, partOf(worker).counts);
                partOf(worker).statistics.Add(light, width);
            });
    } else {
        ForEachRow<float>(source, "measuring", progress, keeps ? FloatsOf(*kept) : nullptr,
                          [&](float* row, std::int64_t, int worker) {
                              float* light = keeps ? scratch.Light(worker) : row;
                              std::copy_n(row, keeps ? width * 3 : 0, light);
                              decoder.Decode(light, width, partOf(worker).counts);
                              partOf(worker).statistics.Add(light, width);
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
    Page page = EmptyPage(UprightSize(source.Describe()));
    LoadCodes(source, decoder, light, range, progress, page.codes.get());
    return page;
}

void LoadCodes(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
               const RenderRange& range, Progress& progress, std::uint16_t* page)
{
    const std::int64_t width = source.Size().width;
    const auto pixels = static_cast<std::size_t>(width);
    const Placement placement = PlacementOf(source.Describe());
    const RowEncoder encoder(decoder, light, range);
    if (encoder.Reach() > 0) {
        LightRows rows(source, decoder, light, range);
        PlaceAmongOthers(source, rows, progress, page);
        return;
    }
    ScratchRows scratch(width, Readers());
    const auto place = [&](std::int64_t y, int worker) {
        PlaceRow(scratch.Codes(worker), width, y, placement, page);
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
}

Page MakePage(KeptSamples kept, const SourceDescription& description, const SceneDecoder& decoder,
              const LightSteps& light, const RenderRange& range)
{
    const ImageSize size = description.size;
    const bool isUpright = description.orientation == 1;
    const Placement placement = PlacementOf(description);
    const std::int64_t block = RowsPerBlock(size);
    KeptSource source(kept, description);
    LightRows rows(source, decoder, light, range);
    Page turned = isUpright ? Page{} : EmptyPage(UprightSize(description));
    for (std::int64_t first = 0; first < size.height; first += block) {
        const std::int64_t count = std::min(block, size.height - first);
        std::uint16_t* codes = kept.stored.codes.get() + SamplesOf({size.width, first});
        rows.Read(count, codes);
        ForEach(isUpright ? 0 : count, [&](std::int64_t row, int) {
            PlaceRow(codes + SamplesOf({size.width, row}), size.width, first + row, placement,
                     turned.codes.get());
        });
    }
    if (kept.kind == SampleKind::Floats) {
        const std::int64_t codes = SamplesOf(size);
        GiveBack(kept.stored.codes.get() + codes,
                 static_cast<std::size_t>(codes) * sizeof(std::uint16_t));
    }
    return isUpright ? std::move(kept.stored) : std::move(turned);
}

} // namespace qva
