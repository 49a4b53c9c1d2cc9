#include "render/side_by_side.h"

#include "colour/transfer_functions.h"
#include "formats/srgb_png.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qva {

namespace {

constexpr std::int64_t lineWidth = 4;
constexpr std::int64_t widestPanel = (1600 - lineWidth) / 2;
constexpr std::size_t codeCount = 65536;

/// The share of source sample i in the target it begins in, and where that is. A target is never
/// smaller than a source sample, so at most one more target gets the rest.
struct Split {
    std::int64_t target;
    float first;
    float second;
};

std::vector<Split> SplitAxis(std::int64_t from, std::int64_t to)
{
    std::vector<Split> splits(static_cast<std::size_t>(from));
    const double scale = static_cast<double>(to) / static_cast<double>(from);
    for (std::int64_t i = 0; i < from; ++i) {
        // Whole numbers decide where a sample lies, so that rounding cannot move one.
        const std::int64_t target = i * to / from;
        const std::int64_t cut = std::min((target + 1) * from - i * to, to);
        const double first = static_cast<double>(cut) / static_cast<double>(from);
        splits[static_cast<std::size_t>(i)] = {target, static_cast<float>(first),
                                               static_cast<float>(scale - first)};
    }
    return splits;
}

void ReduceRow(const std::uint16_t* codes, const std::vector<float>& light,
               const std::vector<Split>& columns, std::vector<float>& out)
{
    std::fill(out.begin(), out.end(), 0.0f);
    for (const Split& split : columns) {
        float* target = out.data() + split.target * 3;
        for (int k = 0; k < 3; ++k) {
            const float value = light[*codes++];
            target[k] += value * split.first;
            if (split.second > 0.0f) {
                target[3 + k] += value * split.second;
            }
        }
    }
}

void AddRow(const std::vector<float>& row, float weight, float* target)
{
    for (const float value : row) {
        *target++ += value * weight;
    }
}

std::vector<unsigned char> ToSrgb(const std::vector<float>& light)
{
    const Matrix3 matrix = Bt2020ToSrgb();
    std::vector<unsigned char> rgb(light.size());
    for (std::size_t i = 0; i < light.size(); i += 3) {
        const Vector3 colour = Multiply(matrix, Vector3{light[i], light[i + 1], light[i + 2]});
        for (std::size_t k = 0; k < 3; ++k) {
            const double signal = LinearToSrgb(std::clamp(colour[k], 0.0, 1.0));
            rgb[i + k] = static_cast<unsigned char>(std::lround(signal * 255.0));
        }
    }
    return rgb;
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
    Panel panel{PanelSize(page.size), {}};
    const auto rowSamples = static_cast<std::size_t>(panel.size.width * 3);
    std::vector<float> sums(rowSamples * static_cast<std::size_t>(panel.size.height));
    std::vector<float> row(rowSamples);
    const std::vector<Split> columns = SplitAxis(page.size.width, panel.size.width);
    const std::vector<Split> rows = SplitAxis(page.size.height, panel.size.height);
    const std::uint16_t* codes = page.codes.get();
    for (const Split& split : rows) {
        ReduceRow(codes, light, columns, row);
        float* target = sums.data() + static_cast<std::size_t>(split.target) * rowSamples;
        AddRow(row, split.first, target);
        if (split.second > 0.0f) {
            AddRow(row, split.second, target + rowSamples);
        }
        codes += page.size.width * 3;
    }
    panel.rgb = ToSrgb(sums);
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
