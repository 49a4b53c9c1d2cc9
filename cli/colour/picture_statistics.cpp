#include "colour/picture_statistics.h"

#include "colour/luminance.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

// The range of a picture is chosen to 0.8 %; its mean level, which averages the bins' errors out,
// takes coarser ones that stay in the first cache.
constexpr int fineBits = 7;
constexpr int coarseBits = 4;

} // namespace

PictureStatistics::PictureStatistics() : highest_(fineBits), luminance_(coarseBits)
{
}

void PictureStatistics::Add(const float* rgb, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const float* pixel = rgb + i * 3;
        const float highest = std::max({pixel[0], pixel[1], pixel[2], 0.0f});
        below_ += std::min({pixel[0], pixel[1], pixel[2]}) < 0.0f ? 1 : 0;
        if (std::isfinite(highest)) {
            const float luminance = LuminanceOf(pixel);
            darker_ += luminance < 0.0f ? 1 : 0;
            peak_ = std::max(peak_, highest);
            highest_.Add(highest);
            if (luminance > 0.0f) {
                luminance_.Add(luminance);
            }
            ++pixels_;
        }
    }
}

void PictureStatistics::Add(const PictureStatistics& other)
{
    highest_.Add(other.highest_);
    luminance_.Add(other.luminance_);
    pixels_ += other.pixels_;
    below_ += other.below_;
    darker_ += other.darker_;
    peak_ = std::max(peak_, other.peak_);
}

double PictureStatistics::Percentile(double share) const
{
    return scale_ * std::min(highest_.Percentile(share), static_cast<double>(peak_));
}

double PictureStatistics::LogMeanLuminance() const
{
    constexpr double brightest = 0.99;
    constexpr double stops = 24.0;
    const double floor = std::exp2(-stops) * luminance_.Percentile(brightest);
    return floor > 0.0 ? scale_ * std::exp2(luminance_.LogMean(floor)) : 0.0;
}

} // namespace qva
