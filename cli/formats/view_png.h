// Pictures for a display as PNG, row by row.
#pragma once

#include "formats/png_file.h"

#include <cstdint>
#include <vector>

namespace qva {

/// 8 or 16 bits of R, G, B.
class ViewPng {
public:
    /// @param bits     8 or 16.
    /// @param profile  of the display; sRGB where empty.
    ViewPng(const OutputFile& file, ImageSize size, int bits,
            const std::vector<unsigned char>& profile);

    /// The next row, of one code a sample: bytes, or 16-bit numbers of this machine's order.
    void Write(const void* row);

    /// Completes the file; every row must have come.
    void Finish() { png_.Finish(); }

private:
    PngFile png_;
};

} // namespace qva
