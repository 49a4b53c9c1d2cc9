// The undershoot of resampled pictures, filled.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qva {

/// Rows of linear light with the primaries of BT.2020, cd/m², one behind the other.
struct RowBlock {
    const float* rgb;
    std::int64_t width; ///< pixels
    std::int64_t height;
};

/// Fills the pixels of negative luminance that sharpening resamplers leave beside bright light and
/// that would print as black outlines.
///
/// Undershoot is what has, at most `reach` pixels away in every direction, light at least as bright
/// as diffuse white and as five times the pixel's depth below 0. It takes the darkest of the
/// nearest pixels that are a colour. Other light below 0, such as the errors of a shadow, stays.
class NegativeRepair {
public:
    /// Pixels beside, and rows above and below, that decide a pixel: three, as far as the usual
    /// resamplers look.
    static constexpr std::int64_t reach = 3;

    /// @param around    rows that begin and end `reach` rows from this one, or with the picture.
    /// @param row       in `around`.
    /// @param repaired  the pixels of the row; changed where they are filled, not part of `around`.
    void operator()(const RowBlock& around, std::int64_t row, float* repaired) const;
};

} // namespace qva
