#include "light/highlight_rims.h"

#include "colour/luminance.h"
#include "light/smooth_step.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

// Found by looking at prints, see docs/light.md.
constexpr float dimmest = 1500.0f; // cd/m²
constexpr float bright = 8000.0f;
constexpr float coloured = 0.35f;
constexpr float nearlyWhite = 0.62f;

} // namespace

void HighlightRims::operator()(float* rgb, std::size_t pixels) const
{
    const auto width = static_cast<float>(std::log(static_cast<double>(bright / dimmest)));
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const float highest = std::max({pixel[0], pixel[1], pixel[2]});
        if (!(highest > dimmest) || !std::isfinite(highest)) {
            continue;
        }
        const float ratio = std::min({pixel[0], pixel[1], pixel[2]}) / highest;
        if (!(ratio > coloured)) {
            continue;
        }
        const auto level = static_cast<float>(std::log(static_cast<double>(highest / dimmest)));
        const float share =
            SmoothStep(level / width) * SmoothStep((ratio - coloured) / (nearlyWhite - coloured));
        const float grey = LuminanceOf(pixel);
        for (int k = 0; k < 3; ++k) {
            pixel[k] += share * (grey - pixel[k]);
        }
    }
}

} // namespace qva
