// What light a picture really holds, gathered in one pass over its rows.
#pragma once

#include "colour/scene_decoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qva {

/// Collects the largest of R, G and B of every pixel in cd/m²: the channel that would be cut
/// first. Infinite values are left out.
class PictureStatistics {
public:
    PictureStatistics();

    void Add(const float* rgb, std::size_t pixels);

    /// Takes over what another has collected.
    void Add(const PictureStatistics& other);

    /// @return the largest value, 0 for a picture without a positive one.
    double Peak() const { return peak_; }

    /// @param share  0 ... 1.
    /// @return a level that at least this share of the pixels does not exceed: the upper edge of
    ///         a bin 0.8 % wide, but never above the peak.
    double Percentile(double share) const;

    std::uint64_t Pixels() const { return pixels_; }

    /// Pixels with a component below 0: colours outside BT.2020, or negative samples.
    std::uint64_t PixelsBelowZero() const { return below_; }

private:
    std::vector<std::uint64_t> bins_;
    std::uint64_t pixels_ = 0;
    std::uint64_t below_ = 0;
    float peak_ = 0.0f;
};

} // namespace qva
