// JPEG XL files, written with the codec's own library.
#pragma once

#include "picture/source_description.h"

#include <jxl/color_encoding.h>
#include <string>
#include <vector>

namespace qva::samples {

struct JxlKind {
    int bits = 16;
    bool isFloat = false;
    int channels = 3; ///< 1 grey, 2 with alpha, 3 RGB, 4 with alpha
    bool isLossless = true;
    bool hasContainer = false;
    int orientation = 1;
    int frames = 1;
    float intensity = 0.0f; ///< cd/m²; 0 leaves it to the library
    JxlTransferFunction transfer = JXL_TRANSFER_FUNCTION_SRGB;
    JxlPrimaries primaries = JXL_PRIMARIES_SRGB;
    std::vector<unsigned char> profile = {}; ///< in place of transfer and primaries
    std::vector<unsigned char> exif = {};    ///< from its byte-order mark on
    std::string xmp = {};
};

/// Interleaved samples, row by row; codes of kind.bits, or floats.
void WriteJxl(const std::string& path, ImageSize size, const std::vector<double>& samples,
              const JxlKind& kind);

} // namespace qva::samples
