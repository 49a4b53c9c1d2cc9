// Colours outside BT.2020, brought in.
#pragma once

#include <cstddef>

namespace qva {

/// Moves a colour with a negative component on the straight line to the grey of its luminance,
/// until the lowest component is 0: luminance and dominant wavelength stay, where cutting the
/// component would turn the hue and add light.
///
/// The colour has to be one. Where the lowest component is further below 0 than the luminance is
/// above it, the light is next to none, and the straight line would end at black; this goes over to
/// cutting the components at 0, alone from three times as far on.
class ColourFit {
public:
    /// @param rgb  linear light with the primaries of BT.2020, changed in place. A pixel with a
    ///             channel that is infinite stays.
    void operator()(float* rgb, std::size_t pixels) const;
};

} // namespace qva
