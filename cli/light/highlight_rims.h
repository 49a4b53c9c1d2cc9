// The colour of light far above what paper shows, taken away.
#pragma once

#include <cstddef>

namespace qva {

/// Mixes the brightest light with the grey of its luminance. Paper renders it with its full chroma
/// up to paper white, so that a flame would be a flat yellow with arcs in it, and the sun would
/// stand in coloured rims; in both the eye expects white. Coloured glass before the sky is dimmer
/// and keeps its colour.
///
/// The share of grey is a smooth step of the logarithm of the largest component.
class HighlightRims {
public:
    // Found by looking at prints, see docs/light.md.
    static constexpr float dimmest = 30000.0f; ///< cd/m², from here on
    static constexpr float white = 100000.0f;  ///< cd/m², nothing but grey

    /// @param rgb  linear light with the primaries of BT.2020, cd/m², changed in place. A pixel
    ///             with a channel that is infinite stays.
    void operator()(float* rgb, std::size_t pixels) const;
};

} // namespace qva
