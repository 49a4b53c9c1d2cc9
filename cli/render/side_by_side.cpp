#include "render/side_by_side.h"

#include "colour/transfer_functions.h"
#include "formats/srgb_png.h"
#include "picture/box_reducer.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qva {

namespace {

constexpr std::int64_t lineWidth = 4;
constexpr std::int64_t widestPanel = (1600 - lineWidth) / 2;
constexpr std::size_t codeCount = 65536;

void AppendSrgb(const float* light, std::size_t values, std::vector<unsigned char>& rgb)
{
    const Matrix3 matrix = Bt2020ToSrgb();
    for (std::size_t i = 0; i < values; i += 3) {
        const Vector3 colour = Multiply(matrix, Vector3{light[i], light[i + 1], light[i + 2]});
        for (std::size_t k = 0; k < 3; ++k) {
            const double signal = LinearToSrgb(std::clamp(colour[k], 0.0, 1.0));
            rgb.push_back(static_cast<unsigned char>(std::lround(signal * 255.0)));
        }
    }
}

} // namespace

ImageSize PanelSize(ImageSize size)
{
    if (size.width <= widestPanel) {
        return size;
    }
    const std::int64_t height = (size.height * widestPanel + size.width / 2) / size.width;
    return {widestPanel, std::max<std::int64_t>(height, 1)};
}

Panel ReducePage(const Page& page, const std::vector<float>& light)
{
    return ReducePage(page, light, PanelSize(page.size));
}

Panel ReducePage(const Page& page, const std::vector<float>& light, ImageSize size)
{
    Panel panel{size, {}};
    const auto rowValues = static_cast<std::size_t>(panel.size.width * 3);
    BoxReducer reducer(page.size, panel.size, 3, [&panel, rowValues](const float* row) {
        AppendSrgb(row, rowValues, panel.rgb);
    });
    std::vector<float> row(static_cast<std::size_t>(page.size.width * 3));
    std::vector<float> reduced(rowValues);
    const std::uint16_t* codes = page.codes.get();
    for (std::int64_t y = 0; y < page.size.height; ++y) {
        for (float& value : row) {
            value = light[*codes++];
        }
        reducer.ReduceColumns(row.data(), reduced.data());
        reducer.Add(reduced.data());
    }
    return panel;
}

std::vector<float> ClippedLight(const RenderRange& range, int paperWhite)
{
    std::vector<float> light(codeCount);
    for (std::size_t code = 0; code < codeCount; ++code) {
        const double luminance = CodeToLuminance(range, static_cast<std::uint32_t>(code));
        light[code] = static_cast<float>(std::min(luminance / paperWhite, 1.0));
    }
    return light;
}

std::vector<float> RenderedLight()
{
    std::vector<float> light(codeCount);
    for (std::size_t code = 0; code < codeCount; ++code) {
        light[code] = static_cast<float>(PowerToLinear(static_cast<double>(code) / 65535.0, 2.2));
    }
    return light;
}

void WriteSideBySide(const OutputFile& file, const Panel& left, const Panel& right)
{
    constexpr unsigned char lineGrey = 128;
    const ImageSize size = {left.size.width * 2 + lineWidth, left.size.height};
    std::vector<unsigned char> sheet;
    sheet.reserve(static_cast<std::size_t>(size.width * size.height * 3));
    const std::int64_t rowBytes = left.size.width * 3;
    for (std::int64_t row = 0; row < size.height; ++row) {
        const std::int64_t first = row * rowBytes;
        sheet.insert(sheet.end(), left.rgb.begin() + first, left.rgb.begin() + first + rowBytes);
        sheet.insert(sheet.end(), static_cast<std::size_t>(lineWidth * 3), lineGrey);
        sheet.insert(sheet.end(), right.rgb.begin() + first, right.rgb.begin() + first + rowBytes);
    }
    WriteSrgbPng(file, size, sheet);
}

} // namespace qva
