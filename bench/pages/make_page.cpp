// Makes a page of any size from photographs, as a scan of a wall of large prints would be: each
// enlarged to its part of the page, with the grain of paper.
//
//   make_page PHOTO ... -o PAGE.tif --width 20000 --height 20000
//
// PAGE.tif holds 16-bit PQ codes with the primaries of BT.2020, in strips, uncompressed; BigTIFF
// where it needs to be. To read it: --encoding pq --primaries bt2020.
#include "base/output_file.h"
#include "colour/transfer_functions.h"
#include "formats/strip_encoder.h"
#include "formats/strip_writer.h"
#include "render/examination.h"
#include "render/renderer.h"
#include "render/scan_load.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace qva::pages {

namespace {

struct Photo {
    Page page; ///< linear codes of light up to `top`
    double top = 0.0;
};

Photo Load(const std::string& path)
{
    Progress progress(ProgressStyle::None);
    LightOptions light;
    light.choosesExposure = false;
    std::unique_ptr<ImageSource> source;
    const Examination found = Examine(path, {}, light, {}, progress, source);
    RenderRange range;
    range.top = found.range.top;
    source->Open(path, {});
    const SceneDecoder decoder(found.meaning, path);
    return {LoadPage(*source, decoder, LightSteps({}), range, progress), range.top};
}

/// PQ codes of 65,536 linear codes.
std::vector<float> CurveOf(const Photo& photo)
{
    std::vector<float> curve(65536);
    for (std::size_t code = 0; code < curve.size(); ++code) {
        const double light = static_cast<double>(code) / 65535.0 * photo.top;
        curve[code] = static_cast<float>(LuminanceToPq(light) * 65535.0);
    }
    return curve;
}

/// -1 ... 1, the same at the same place.
float Grain(std::int64_t x, std::int64_t y)
{
    auto bits = static_cast<std::uint32_t>(x * 0x9e3779b1 + y * 0x85ebca77);
    bits = (bits ^ (bits >> 15)) * 0x2c1b3c6du;
    bits ^= bits >> 13;
    return static_cast<float>(bits & 0xffff) / 32767.5f - 1.0f;
}

/// A photograph stretched over a rectangle of the page.
class Tile {
public:
    Tile(const Photo& photo, const std::vector<float>& curve, ImageSize size)
        : photo_(photo), curve_(curve), size_(size)
    {
    }

    void FillRow(std::int64_t y, std::int64_t pageLeft, std::int64_t pageRow,
                 std::uint16_t* codes) const
    {
        const auto [top, bottom, down] = Between(y, size_.height, photo_.page.size.height);
        for (std::int64_t x = 0; x < size_.width; ++x) {
            const auto [left, right, across] = Between(x, size_.width, photo_.page.size.width);
            const float grain = Grain(pageLeft + x, pageRow) * 120.0f;
            for (int k = 0; k < 3; ++k) {
                const float upper = Mix(At(left, top, k), At(right, top, k), across);
                const float lower = Mix(At(left, bottom, k), At(right, bottom, k), across);
                const float code = Mix(upper, lower, down) + grain;
                *codes++ = static_cast<std::uint16_t>(std::clamp(code, 0.0f, 65535.0f));
            }
        }
    }

private:
    struct Place {
        std::int64_t first;
        std::int64_t second;
        float share;
    };

    static Place Between(std::int64_t index, std::int64_t to, std::int64_t from)
    {
        const double place = (static_cast<double>(index) + 0.5) * static_cast<double>(from) /
                                 static_cast<double>(to) -
                             0.5;
        const double lower = std::clamp(place, 0.0, static_cast<double>(from - 1));
        const auto first = static_cast<std::int64_t>(lower);
        return {first, std::min(first + 1, from - 1),
                static_cast<float>(lower - static_cast<double>(first))};
    }

    static float Mix(float a, float b, float share) { return a + (b - a) * share; }

    float At(std::int64_t x, std::int64_t y, int k) const
    {
        return curve_[photo_.page.codes[static_cast<std::size_t>(
            (y * photo_.page.size.width + x) * 3 + k)]];
    }

    const Photo& photo_;
    const std::vector<float>& curve_;
    ImageSize size_;
};

/// Photographs side by side, four to a row and column.
class Wall {
public:
    Wall(const std::vector<std::string>& paths, ImageSize page) : page_(page)
    {
        for (const std::string& path : paths) {
            photos_.push_back(Load(path));
            curves_.push_back(CurveOf(photos_.back()));
        }
    }

    void FillRow(std::int64_t y, std::uint16_t* codes) const
    {
        const std::int64_t row = y * perSide / page_.height;
        const std::int64_t top = Start(row, page_.height);
        for (std::int64_t column = 0; column < perSide; ++column) {
            const std::int64_t left = Start(column, page_.width);
            const auto which = static_cast<std::size_t>(row + column) % photos_.size();
            const ImageSize size = {Start(column + 1, page_.width) - left,
                                    Start(row + 1, page_.height) - top};
            Tile(photos_[which], curves_[which], size).FillRow(y - top, left, y, codes + left * 3);
        }
    }

private:
    static constexpr std::int64_t perSide = 4;

    static std::int64_t Start(std::int64_t index, std::int64_t side)
    {
        return (index * side + perSide - 1) / perSide;
    }

    ImageSize page_;
    std::vector<Photo> photos_;
    std::vector<std::vector<float>> curves_;
};

void Make(const std::vector<std::string>& photos, ImageSize size, const std::string& output,
          int orientation)
{
    const Wall wall(photos, size);
    TiffPage page;
    page.layout = {size.width, size.height, StripLines(size.width, size.height)};
    page.settings.compression = Compression::None;
    page.orientation = orientation;
    OutputFile file(output);
    const Descriptor descriptor = file.Duplicate();
    StripWriter writer(descriptor.Get(), output, page);
    constexpr std::int64_t stripsAtOnce = 64;
    const std::int64_t rows = stripsAtOnce * page.layout.stripLines;
    std::vector<std::uint16_t> codes(static_cast<std::size_t>(rows * size.width * 3));
    for (std::int64_t first = 0; first < size.height; first += rows) {
        const std::int64_t count = std::min(rows, size.height - first);
#pragma omp parallel for schedule(static)
        for (std::int64_t row = 0; row < count; ++row) {
            wall.FillRow(first + row, codes.data() + row * size.width * 3);
        }
        const std::int64_t strips = (count + page.layout.stripLines - 1) / page.layout.stripLines;
        EncodeStrips(page, first / page.layout.stripLines, strips, codes.data(),
                     [&writer](const EncodedStrip& strip) { writer.Append(strip); });
    }
    writer.Finish();
    file.Commit();
}

} // namespace

} // namespace qva::pages

int main(int count, char** arguments)
{
    std::vector<std::string> photos;
    std::string output;
    qva::ImageSize size = {20000, 20000};
    int orientation = 1;
    CLI::App app("Makes a page from photographs", "make_page");
    app.add_option("PHOTO", photos)->required();
    app.add_option("-o,--output", output)->required();
    app.add_option("--width", size.width);
    app.add_option("--height", size.height);
    app.add_option("--orientation", orientation, "tag to write, 1 to 8")->check(CLI::Range(1, 8));
    CLI11_PARSE(app, count, arguments);
    try {
        qva::pages::Make(photos, size, output, orientation);
    } catch (const std::exception& error) {
        fmt::print(stderr, "make_page: {}\n", error.what());
        return 1;
    }
    return 0;
}
