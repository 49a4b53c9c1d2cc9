#include "light/colour_fit.h"

#include "colour/luminance.h"
#include "light/smooth_step.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

// Shares of the way from grey that stay: up to the first a pixel is cut, from the second on fitted.
constexpr float cutUpTo = 0.25f;
constexpr float fittedFrom = 0.5f;

} // namespace

void ColourFit::operator()(float* rgb, std::size_t pixels) const
{
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const float lowest = std::min({pixel[0], pixel[1], pixel[2]});
        if (!(lowest < 0.0f)) {
            continue;
        }
        const float luminance = LuminanceOf(pixel);
        if (!std::isfinite(luminance)) {
            continue;
        }
        const float grey = std::max(luminance, 0.0f);
        const float share = grey / (grey - lowest);
        const float weight = SmoothStep((share - cutUpTo) / (fittedFrom - cutUpTo));
        for (int k = 0; k < 3; ++k) {
            const float cut = std::max(pixel[k], 0.0f);
            const float fitted = std::max(grey + share * (pixel[k] - grey), 0.0f);
            pixel[k] = cut + weight * (fitted - cut);
        }
    }
}

} // namespace qva
