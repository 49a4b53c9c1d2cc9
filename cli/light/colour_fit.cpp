#include "light/colour_fit.h"

#include "colour/luminance.h"

#include <algorithm>
#include <cmath>

namespace qva {

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
        for (int k = 0; k < 3; ++k) {
            pixel[k] = std::max(grey + share * (pixel[k] - grey), 0.0f);
        }
    }
}

} // namespace qva
