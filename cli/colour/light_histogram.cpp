#include "colour/light_histogram.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace qva {

LightHistogram::LightHistogram(int fractionBits)
    : droppedBits_(23 - fractionBits), bins_(std::size_t{1} << (31 - droppedBits_))
{
}

void LightHistogram::Add(const LightHistogram& other)
{
    std::transform(bins_.begin(), bins_.end(), other.bins_.begin(), bins_.begin(),
                   std::plus<std::uint64_t>());
}

double LightHistogram::EdgeOf(std::size_t bin) const
{
    return std::bit_cast<float>(static_cast<std::uint32_t>(bin << droppedBits_));
}

double LightHistogram::Percentile(double share) const
{
    const auto all = std::accumulate(bins_.begin(), bins_.end(), std::uint64_t{0});
    const double wanted = share * static_cast<double>(all);
    std::uint64_t count = 0;
    for (std::size_t bin = 0; bin < bins_.size(); ++bin) {
        count += bins_[bin];
        if (count > 0 && static_cast<double>(count) >= wanted) {
            return EdgeOf(bin + 1);
        }
    }
    return 0.0;
}

double LightHistogram::LogMean(double floor) const
{
    double sum = 0.0;
    std::uint64_t count = 0;
    for (std::size_t bin = 0; bin < bins_.size(); ++bin) {
        if (bins_[bin] > 0) {
            const double middle = 0.5 * (EdgeOf(bin) + EdgeOf(bin + 1));
            sum += static_cast<double>(bins_[bin]) * std::log2(std::max(middle, floor));
            count += bins_[bin];
        }
    }
    return count > 0 ? sum / static_cast<double>(count) : std::log2(floor);
}

} // namespace qva
