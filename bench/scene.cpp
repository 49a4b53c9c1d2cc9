#include "scene.h"

#include "photo_paper_profile.h"

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

double SceneSignal(double u, double v, int channel)
{
    const double sun = std::exp(-((u - 0.7) * (u - 0.7) + (v - 0.2) * (v - 0.2)) * 400.0);
    const double sky = 0.55 - 0.25 * v + 0.05 * channel * (1.0 - v);
    const double wall = std::fmod(u * 9.0, 1.0) < 0.4 ? 0.18 : 0.38;
    const double ground = wall + 0.06 * std::sin(u * 300.0) * std::sin(v * 260.0) - 0.03 * channel;
    return (v < 0.55 + 0.05 * std::sin(u * 12.0) ? sky : ground) + 0.4 * sun;
}

} // namespace

std::vector<uint16_t> MakeScene(uint32_t width, uint32_t height)
{
    std::vector<uint16_t> pixels(size_t{width} * height * 3);
    Noise noise;
    uint16_t* out = pixels.data();
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const double signal =
                    SceneSignal(static_cast<double>(x) / width, static_cast<double>(y) / height, c);
                const double code = (signal + 0.01 * noise.Next()) * 65535.0;
                *out++ = static_cast<uint16_t>(std::clamp(code, 0.0, 65535.0));
            }
        }
    }
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
