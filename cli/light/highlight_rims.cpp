#include "light/highlight_rims.h"

#include "colour/luminance.h"
#include "light/smooth_step.h"

#include <algorithm>
#include <cmath>

namespace qva {

void HighlightRims::operator()(float* rgb, std::size_t pixels) const
{
    const auto width = static_cast<float>(std::log(static_cast<double>(white / dimmest)));
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const float highest = std::max({pixel[0], pixel[1], pixel[2]});
        if (!(highest > dimmest) || !std::isfinite(highest)) {
            continue;
        }
        const auto level = static_cast<float>(std::log(static_cast<double>(highest / dimmest)));
        const float share = SmoothStep(level / width);
        const float grey = LuminanceOf(pixel);
        for (int k = 0; k < 3; ++k) {
            pixel[k] += share * (grey - pixel[k]);
        }
    }
}

} // namespace qva
