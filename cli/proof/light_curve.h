// How a picture's light is spread, to be drawn.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qva {

/// Counts of luminance in bins of a tenth of a decade, from 0.01 to 10000 cd/m². What lies outside
/// is counted in the first and the last bin.
class LightCurve {
public:
    static constexpr std::size_t bins = 60;
    static constexpr double lowest = 0.01; ///< cd/m²
    static constexpr double binsPerDecade = 10.0;

    void Add(double luminance);

    /// Percent of the counts.
    double PercentIn(std::size_t bin) const;

private:
    std::array<std::uint64_t, bins> counts_{};
    std::uint64_t all_ = 0;
};

} // namespace qva
