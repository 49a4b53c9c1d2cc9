// Small pictures for the eye: 8-bit sRGB PNG.
#pragma once

#include "base/output_file.h"
#include "picture/source_description.h"

#include <vector>

namespace qva {

/// @param rgb  size.width * size.height packed pixels.
/// @throws Failure where the file cannot be written.
void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb);

} // namespace qva
