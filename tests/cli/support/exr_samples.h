// OpenEXR files of the rarer kinds.
#pragma once

#include "picture/source_description.h"

#include <OpenEXR/ImfCompression.h>
#include <string>
#include <vector>

namespace qva::samples {

/// Luminance and chroma channels, interleaved R, G, B in; from (left, top) on.
void WriteChromaExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                    int left = 0, int top = 0);

/// A picture of half samples, compressed as asked for.
void WriteCompressedExr(const std::string& path, ImageSize size, const std::vector<float>& rgb,
                        Imf::Compression compression);

/// One part of float samples for each name, all of one size.
struct ExrPart {
    std::string name;
    std::vector<std::string> channels;
    float value = 0.0f; ///< of all samples
};

void WriteExrParts(const std::string& path, ImageSize size, const std::vector<ExrPart>& parts);

} // namespace qva::samples
