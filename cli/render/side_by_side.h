// A small sheet that shows what the rendering did: a plain clip on the left, the print on the
// right.
#pragma once

#include "base/output_file.h"
#include "colour/range_choice.h"
#include "picture/rendered_page.h"

#include <cstdint>
#include <vector>

namespace qva {

/// A picture reduced by a box filter in linear light, as 8-bit sRGB.
struct Panel {
    ImageSize size;
    std::vector<unsigned char> rgb;
};

/// The size a picture takes on the sheet: unchanged, or as wide as half a sheet of 1600 pixels.
ImageSize PanelSize(ImageSize size);

/// @param light  for each of the 65,536 codes, linear light where 1 is paper white.
Panel ReducePage(const Page& page, const std::vector<float>& light);

/// The same in a size of the caller's, each side at most the page's.
Panel ReducePage(const Page& page, const std::vector<float>& light, ImageSize size);

/// The light of source codes when everything above paper white is cut.
std::vector<float> ClippedLight(const RenderRange& range, int paperWhite);

/// The light of rendered codes: the power 2.2.
std::vector<float> RenderedLight();

/// Writes both panels, which are of one size, with a thin grey line between them.
void WriteSideBySide(const OutputFile& file, const Panel& left, const Panel& right);

} // namespace qva
