#include "dng_samples.h"

#include "samples.h"
#include "tiff_bytes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qva::samples {

namespace {

/// Entries of a directory in one order of bytes, by the types of TIFF 6.0.
struct Entries {
    bool isLittle;
    std::vector<Entry> all;

    void Add(unsigned tag, unsigned type, const std::vector<std::int64_t>& values)
    {
        constexpr int sizes[] = {0, 1, 1, 2, 4, 4, 0, 0, 0, 0, 4};
        std::string value;
        for (const std::int64_t number : values) {
            value += Number(static_cast<std::uint64_t>(number), sizes[type], isLittle);
        }
        const bool isPair = type == 5 || type == 10;
        all.push_back(
            {tag, type, static_cast<std::uint32_t>(values.size() / (isPair ? 2 : 1)), value});
    }

    void AddRatios(unsigned tag, unsigned type, const std::vector<double>& values)
    {
        std::vector<std::int64_t> pairs;
        for (const double value : values) {
            pairs.insert(pairs.end(), {std::llround(value * 1e6), 1000000});
        }
        Add(tag, type, pairs);
    }
};

/// Header and directory; the mosaic lies at `strip`.
std::string Begin(ImageSize size, const DngKind& kind, const Vector3& white, std::int64_t strip)
{
    Entries entries{!kind.isBigEndian, {}};
    const auto& m = kind.fromXyz;
    entries.Add(254, 4, {0});
    entries.Add(256, 4, {size.width});
    entries.Add(257, 4, {size.height});
    entries.Add(258, 3, {16});
    entries.Add(259, 3, {1});
    entries.Add(262, 3, {32803});
    entries.Add(271, 2, {'S', 'a', 'm', 'p', 'l', 'e', 0});
    entries.Add(272, 2, {'M', 'o', 's', 'a', 'i', 'c', 0});
    entries.Add(273, 4, {strip});
    entries.Add(274, 3, {kind.orientation});
    entries.Add(277, 3, {1});
    entries.Add(278, 4, {size.height});
    entries.Add(279, 4, {size.width * size.height * 2});
    entries.Add(33421, 3, {2, 2});
    entries.Add(33422, 1, {0, 1, 1, 2});
    entries.Add(50706, 1, {1, 4, 0, 0});
    entries.Add(50707, 1, {1, 1, 0, 0});
    entries.Add(50708, 2, {'S', ' ', 'M', 0});
    entries.Add(50714, 3, {0});
    entries.Add(50717, 4, {65535});
    entries.AddRatios(
        50721, 10,
        {m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]});
    entries.AddRatios(50728, 5, {white[0], white[1], white[2]});
    entries.Add(50778, 3, {21}); // D65
    return Header(entries.isLittle) + Directory(entries.all, entries.isLittle, 8);
}

} // namespace

void WriteDng(const std::string& path, ImageSize size, const std::vector<double>& rgb,
              const DngKind& kind)
{
    const Matrix3 fromRgb = Multiply(kind.fromXyz, RgbToXyz(bt2020));
    Vector3 white = Multiply(fromRgb, Vector3{1.0, 1.0, 1.0});
    const double largest = *std::max_element(white.begin(), white.end());
    for (double& channel : white) {
        channel /= largest;
    }
    const std::size_t strip = Begin(size, kind, white, 0).size();
    std::string bytes = Begin(size, kind, white, static_cast<std::int64_t>(strip));
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            const auto place = static_cast<std::size_t>(y * size.width + x) * 3;
            const Vector3 camera =
                Multiply(fromRgb, Vector3{rgb[place], rgb[place + 1], rgb[place + 2]});
            const auto channel = static_cast<std::size_t>(y % 2 + x % 2);
            const double code = camera[channel] / largest * 65535.0 * 2.0 / 3.0;
            bytes += Number(static_cast<std::uint64_t>(std::lround(std::clamp(code, 0.0, 65535.0))),
                            2, !kind.isBigEndian);
        }
    }
    WriteBytes(path, bytes);
}

} // namespace qva::samples
