#include "light/highlight_shoulder.h"

#include <algorithm>
#include <cmath>

namespace qva {

HighlightShoulder::HighlightShoulder(double end, double top) : top_(top), knee_(top / 5.0)
{
    if (end > top_) {
        bend_ = 1.0 / std::log(top_ / knee_) - 1.0 / std::log(end / knee_);
    }
}

void HighlightShoulder::operator()(float* rgb, std::size_t pixels) const
{
    if (bend_ == 0.0) {
        return;
    }
    for (std::size_t i = 0; i < pixels; ++i) {
        float* pixel = rgb + i * 3;
        const float light = std::max({pixel[0], pixel[1], pixel[2]});
        if (light > static_cast<float>(knee_) && std::isfinite(light)) {
            const double x = std::log(light / knee_);
            const double bent = knee_ * std::exp(x / (1.0 + x * bend_));
            const auto factor = static_cast<float>(std::min(bent, top_) / light);
            for (int k = 0; k < 3; ++k) {
                pixel[k] *= factor;
            }
        }
    }
}

} // namespace qva
