#include "scene.h"

#include "colour/photo_paper_profile.h"

#include <algorithm>
#include <cmath>

namespace lumo::bench {
namespace {

// A small linear congruential generator (Numerical Recipes, "quick and dirty"): noise that is the
// same everywhere.
class Noise {
public:
    double Next()
    {
        state_ = state_ * 1664525u + 1013904223u;
        return static_cast<double>(state_ >> 8) / (1 << 24) - 0.5;
    }

private:
    uint32_t state_ = 1;
};

// What depends on the column alone; the functions are dear, and pages have 30 million pixels.
struct Column {
    explicit Column(double u)
        : sun(std::exp(-(u - 0.7) * (u - 0.7) * 400.0)),
          horizon(0.55 + 0.05 * std::sin(u * 12.0)),
          wall(std::fmod(u * 9.0, 1.0) < 0.4 ? 0.18 : 0.38),
          grain(0.06 * std::sin(u * 300.0))
    {
    }
    double sun;
    double horizon;
    double wall;
    double grain;
};

struct Row {
    explicit Row(double height)
        : v(height), sun(0.4 * std::exp(-(v - 0.2) * (v - 0.2) * 400.0)), grain(std::sin(v * 260.0))
    {
    }
    double v;
    double sun;
    double grain;
};

double SceneSignal(const Column& column, const Row& row, int channel)
{
    const double sky = 0.55 - 0.25 * row.v + 0.05 * channel * (1.0 - row.v);
    const double ground = column.wall + column.grain * row.grain - 0.03 * channel;
    return (row.v < column.horizon ? sky : ground) + column.sun * row.sun;
}

} // namespace

std::vector<uint16_t> MakeScene(uint32_t width, uint32_t height)
{
    std::vector<Column> columns;
    for (uint32_t x = 0; x < width; ++x) {
        columns.emplace_back(static_cast<double>(x) / width);
    }
    std::vector<uint16_t> pixels(size_t{width} * height * 3);
    Noise noise;
    uint16_t* out = pixels.data();
    for (uint32_t y = 0; y < height; ++y) {
        const Row row(static_cast<double>(y) / height);
        for (const Column& column : columns) {
            for (int c = 0; c < 3; ++c) {
                const double signal = SceneSignal(column, row, c) + 0.01 * noise.Next();
                *out++ = static_cast<uint16_t>(std::clamp(signal * 65535.0, 0.0, 65535.0));
            }
        }
    }
    return pixels;
}

std::vector<float> MakeLinearScene(uint32_t width, uint32_t height)
{
    // SMPTE ST 2084: the PQ curve.
    constexpr double m1 = 2610.0 / 16384.0;
    constexpr double m2 = 2523.0 / 4096.0 * 128.0;
    constexpr double c1 = 3424.0 / 4096.0;
    constexpr double c2 = 2413.0 / 4096.0 * 32.0;
    constexpr double c3 = 2392.0 / 4096.0 * 32.0;
    std::vector<float> luminance(65536);
    for (size_t code = 0; code < luminance.size(); ++code) {
        const double root = std::pow(static_cast<double>(code) / 65535.0, 1.0 / m2);
        const double linear = std::pow(std::max(root - c1, 0.0) / (c2 - c3 * root), 1.0 / m1);
        luminance[code] = static_cast<float>(linear * 10000.0);
    }
    const std::vector<uint16_t> codes = MakeScene(width, height);
    std::vector<float> pixels(codes.size());
    std::transform(codes.begin(), codes.end(), pixels.begin(),
                   [&](uint16_t code) { return luminance[code]; });
    return pixels;
}

QVA_IMAGE Describe(std::vector<uint16_t>& pixels, uint32_t width, uint32_t height)
{
    return {width, height, uint64_t{width} * 6, 3, 16, 1, 2, 0, pixels.data()};
}

QVA_SOURCE_RANGE SceneRange()
{
    return {2, 0.005f, 1000.0f};
}

QVA_OUTPUT_CONDITIONS PaperConditions()
{
    return {100, 1.3f, 1.0, 1.0, qva::photoPaperProfile, 0, 0};
}

} // namespace lumo::bench
