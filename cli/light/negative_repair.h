// The undershoot of resampled pictures, filled.
#pragma once

#include <cstddef>

namespace qva {

/// Replaces pixels whose luminance is below 0, which sharpening resamplers leave beside bright
/// light and which would print as black outlines. A run of them in a row takes the darker of the
/// pixels at its two ends. A row knows nothing of its neighbours, so that the result is the same in
/// bands.
class NegativeRepair {
public:
    /// @param row    linear light with the primaries of BT.2020, changed in place.
    /// @param width  pixels of the whole stored row.
    void operator()(float* row, std::size_t width) const;
};

} // namespace qva
