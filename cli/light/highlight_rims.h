// Coloured rims around the brightest light, taken away.
#pragma once

#include <cstddef>

namespace qva {

/// Mixes bright light that is nearly white with the grey of its luminance. Paper renders it with
/// its full chroma up to paper white and jumps to white there; what remains of its colour would
/// stand around every light as a rim. A light with a colour of its own keeps it.
///
/// The share of grey is a smooth step of the largest component from 1500 to 8000 cd/m², times a
/// smooth step of the ratio of the smallest to the largest from 0.35 to 0.62.
class HighlightRims {
public:
    /// @param rgb  linear light with the primaries of BT.2020, cd/m², changed in place. A pixel
    /// with
    ///             a channel that is infinite stays.
    void operator()(float* rgb, std::size_t pixels) const;
};

} // namespace qva
