// What light a picture really holds, gathered in one pass over its rows.
#pragma once

#include "colour/light_histogram.h"

#include <cstddef>
#include <cstdint>

namespace qva {

/// Collects two levels of every pixel in cd/m²: the largest of R, G and B, the channel that would
/// be cut first, and the luminance. Infinite values are left out.
class PictureStatistics {
public:
    PictureStatistics();

    /// @param rgb  linear light with the primaries of ITU-R BT.2020, cd/m².
    void Add(const float* rgb, std::size_t pixels);

    /// Takes over what another has collected before any scaling.
    void Add(const PictureStatistics& other);

    /// Tells of the light as if all of it had been multiplied.
    void Scale(double factor) { scale_ *= factor; }

    /// @return the largest value, 0 for a picture without a positive one.
    double Peak() const { return scale_ * peak_; }

    /// @param share  0 ... 1.
    /// @return a level that at least this share of the pixels does not exceed: the upper edge of
    ///         a bin 0.8 % wide, but never above the peak.
    double Percentile(double share) const;

    /// @return the logarithmic mean of the luminance, cd/m², without pixels of none. What lies more
    ///         than 24 stops below the brightest percent counts as lying there. 0 where no pixel
    ///         has any.
    double LogMeanLuminance() const;

    std::uint64_t Pixels() const { return pixels_; }

    /// Pixels with a component below 0: colours outside BT.2020, or negative samples.
    std::uint64_t PixelsBelowZero() const { return below_; }

    /// Pixels whose luminance is below 0, which no colour has.
    std::uint64_t DarkerThanBlack() const { return darker_; }

private:
    LightHistogram highest_;
    LightHistogram luminance_;
    std::uint64_t pixels_ = 0;
    std::uint64_t below_ = 0;
    std::uint64_t darker_ = 0;
    float peak_ = 0.0f;
    double scale_ = 1.0;
};

} // namespace qva
