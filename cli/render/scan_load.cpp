#include "render/scan_load.h"

#include "base/errors.h"

#include <algorithm>
#include <cmath>
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

std::uint16_t LinearCode(float light, float scale)
{
    // Written so that a not-a-number would become 0.
    const float code = light * scale;
    return code > 0.0f ? static_cast<std::uint16_t>(std::min(code, 65535.0f) + 0.5f)
                       : std::uint16_t{0};
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

/// Calls body(rows, first, count) for block after block of a source.
template <typename Body>
void ForEachBlock(ImageSource& source, const char* stage, Progress& progress, const Body& body)
{
    const ImageSize size = source.Size();
    const std::int64_t rows = RowsPerBlock(size);
    std::vector<float> block(static_cast<std::size_t>(rows * size.width * 3));
    for (std::int64_t first = 0; first < size.height; first += rows) {
        const std::int64_t count = std::min(rows, size.height - first);
        try {
            source.ReadRows(count, block.data());
        } catch (const Failure& failure) {
            const std::string place = fmt::format("rows {} to {}", first, first + count - 1);
            throw Failure(Failure(failure, place), first);
        }
        body(block.data(), first, count);
        progress.Show(stage, static_cast<double>(first + count) / static_cast<double>(size.height));
    }
}

} // namespace

void EncodeRow(float* rgb, std::size_t width, const SceneDecoder& decoder, const LightSteps& light,
               const RenderRange& range, std::uint16_t* codes)
{
    if (range.passThrough) {
        std::transform(rgb, rgb + width * 3, codes,
                       [](float sample) { return static_cast<std::uint16_t>(sample); });
        return;
    }
    SampleCounts counts;
    decoder.Decode(rgb, width, counts);
    light(rgb, width);
    const auto scale = static_cast<float>(65535.0 / range.top);
    std::transform(rgb, rgb + width * 3, codes,
                   [scale](float sample) { return LinearCode(sample, scale); });
}

PictureStatistics Scan(ImageSource& source, const SceneDecoder& decoder, SampleCounts& counts,
                       Progress& progress)
{
    struct Part {
        PictureStatistics statistics;
        SampleCounts counts;
    };
    const std::int64_t width = source.Size().width;
    // One a thread, made before the loops: a request for memory that fails in a parallel loop would
    // end the program.
    std::vector<Part> parts(static_cast<std::size_t>(omp_get_max_threads()));
    ForEachBlock(source, "measuring", progress, [&](float* rgb, std::int64_t, std::int64_t count) {
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < count; ++row) {
            Part& part = parts[static_cast<std::size_t>(omp_get_thread_num())];
            float* pixels = rgb + row * width * 3;
            decoder.Decode(pixels, static_cast<std::size_t>(width), part.counts);
            part.statistics.Add(pixels, static_cast<std::size_t>(width));
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
    const std::int64_t width = source.Size().width;
    const Placement placement = PlacementOf(source.Describe());
    Page page{UprightSize(source.Describe()), nullptr};
    page.codes = std::make_unique_for_overwrite<std::uint16_t[]>(
        static_cast<std::size_t>(page.size.width * page.size.height * 3));
    std::vector<std::uint16_t> codes;
    ForEachBlock(
        source, "reading", progress, [&](float* rgb, std::int64_t first, std::int64_t count) {
            codes.resize(static_cast<std::size_t>(count * width * 3));
#pragma omp parallel for schedule(static)
            for (std::int64_t row = 0; row < count; ++row) {
                const std::int64_t place = row * width * 3;
                EncodeRow(rgb + place, static_cast<std::size_t>(width), decoder, light, range,
                          codes.data() + place);
                PlaceRow(codes.data() + place, width, first + row, placement, page.codes.get());
            }
        });
    return page;
}

} // namespace qva
