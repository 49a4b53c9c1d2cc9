#include "render/scan_load.h"

#include "base/errors.h"
#include "render/light_rows.h"

#include <algorithm>
#include <fmt/format.h>
#include <omp.h>
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

/// Calls read(first, count) for the rows of a source, block after block.
template <typename Read>
void ForEachBlock(ImageSize size, const char* stage, Progress& progress, const Read& read)
{
    const std::int64_t rows = RowsPerBlock(size);
    for (std::int64_t first = 0; first < size.height; first += rows) {
        const std::int64_t count = std::min(rows, size.height - first);
        try {
            read(first, count);
        } catch (const Failure& failure) {
            const std::string place = fmt::format("rows {} to {}", first, first + count - 1);
            throw Failure(Failure(failure, place), first);
        }
        progress.Show(stage, static_cast<double>(first + count) / static_cast<double>(size.height));
    }
}

} // namespace

PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress)
{
    struct Part {
        PictureStatistics statistics;
        SampleCounts counts;
    };
    const ImageSize size = source.Size();
    std::vector<float> rgb(static_cast<std::size_t>(RowsPerBlock(size) * size.width * 3));
    // One a thread, made before the loops: a request for memory that fails in a parallel loop would
    // end the program.
    std::vector<Part> parts(static_cast<std::size_t>(omp_get_max_threads()));
    ForEachBlock(size, "measuring", progress, [&](std::int64_t, std::int64_t count) {
        source.ReadRows(count, rgb.data());
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < count; ++row) {
            Part& part = parts[static_cast<std::size_t>(omp_get_thread_num())];
            float* pixels = rgb.data() + row * size.width * 3;
            decoder.Decode(pixels, static_cast<std::size_t>(size.width), part.counts);
            part.statistics.Add(pixels, static_cast<std::size_t>(size.width));
        }
    });
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
    Page page{UprightSize(source.Describe()), nullptr};
    page.codes = std::make_unique_for_overwrite<std::uint16_t[]>(
        static_cast<std::size_t>(page.size.width * page.size.height * 3));
    LoadCodes(source, decoder, light, range, progress, page.codes.get());
    return page;
}

void LoadCodes(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
               const RenderRange& range, Progress& progress, std::uint16_t* page)
{
    const ImageSize size = source.Size();
    const Placement placement = PlacementOf(source.Describe());
    LightRows rows(source, decoder, light, range);
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(RowsPerBlock(size) * size.width * 3));
    ForEachBlock(size, "reading", progress, [&](std::int64_t first, std::int64_t count) {
        rows.Read(count, codes.data());
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < count; ++row) {
            PlaceRow(codes.data() + row * size.width * 3, size.width, first + row, placement, page);
        }
    });
}

} // namespace qva
