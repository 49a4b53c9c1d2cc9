// A page of one even region, continued beyond its end, so that it can be rendered in bands.
#pragma once

#include "picture/rendered_page.h"

#include <cstdint>

namespace qva {

/// A page that goes on behind the real one, and its small copy.
struct ContinuedPage {
    ImageSize size;
    Page reduced;
};

/// Continues a page behind its longer side: first by its own last line, further than the library
/// looks around a place, then by another tone. The library finds two regions in that, and no place
/// of the real page feels the second one: it gets the tone curve of its own pixels, and the other
/// tone lies between black and paper white, so that it widens no range.
/// @param reduced    upright, linear codes.
/// @param whiteCode  the code of paper white.
ContinuedPage ContinuePage(const Page& reduced, ImageSize page, double whiteCode);

} // namespace qva
