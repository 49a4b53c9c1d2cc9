#include "colour/picture_statistics.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>

namespace qva {

namespace {

// The bits of a positive float, read as an integer, grow with it: 8 bits of exponent and the
// first 7 of the fraction make bins between 0.4 and 0.8 % wide.
constexpr int droppedBits = 16;
constexpr std::size_t binCount = std::size_t{1} << (31 - droppedBits);

} // namespace

PictureStatistics::PictureStatistics() : bins_(binCount)
{
}

void PictureStatistics::Add(const float* rgb, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const float* pixel = rgb + i * 3;
        const float highest = std::max({pixel[0], pixel[1], pixel[2], 0.0f});
        below_ += std::min({pixel[0], pixel[1], pixel[2]}) < 0.0f ? 1 : 0;
        if (std::isfinite(highest)) {
            peak_ = std::max(peak_, highest);
            ++bins_[std::bit_cast<std::uint32_t>(highest) >> droppedBits];
            ++pixels_;
        }
    }
}

void PictureStatistics::Add(const PictureStatistics& other)
{
    std::transform(bins_.begin(), bins_.end(), other.bins_.begin(), bins_.begin(),
                   std::plus<std::uint64_t>());
    pixels_ += other.pixels_;
    below_ += other.below_;
    peak_ = std::max(peak_, other.peak_);
}

double PictureStatistics::Percentile(double share) const
{
    const double wanted = share * static_cast<double>(pixels_);
    std::uint64_t count = 0;
    for (std::size_t bin = 0; bin < binCount; ++bin) {
        count += bins_[bin];
        if (count > 0 && static_cast<double>(count) >= wanted) {
            const auto edge = static_cast<std::uint32_t>((bin + 1) << droppedBits);
            return std::min(std::bit_cast<float>(edge), peak_);
        }
    }
    return peak_;
}

} // namespace qva
