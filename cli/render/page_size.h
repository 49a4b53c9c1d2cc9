// A page of a stated size, and the part of a picture that is to fill it.
#pragma once

#include "picture/source_description.h"

#include <string>

namespace qva {

/// How a picture of another shape meets a page.
enum class Fit {
    Contain, ///< all of it, in as much of the page as it fills
    Cover,   ///< as much of its middle as fills the page
};

/// Lengths in inches.
struct PageSize {
    double width = 0.0; ///< after trimming
    double height = 0.0;
    double bleed = 0.0; ///< on each side, to be cut away
    double dpi = 0.0;
    Fit fit = Fit::Contain;
};

/// A part of a picture and the pixels that are made of it.
struct Resampling {
    double left = 0.0; ///< of the part, in pixels of the picture, as width and height
    double top = 0.0;
    double width = 0.0;
    double height = 0.0;
    ImageSize target;

    /// Pixels made of one pixel's width.
    double Enlargement() const { return static_cast<double>(target.width) / width; }
};

/// @param picture  upright.
/// @param name     of the picture, for messages.
/// @throws Failure where the page has no pixels, or more than the limits allow.
Resampling PlanResampling(const PageSize& page, ImageSize picture, const SizeLimits& limits,
                          const std::string& name);

} // namespace qva
