// Rendered TIFF by strips: how they lie, and what else the file holds. Strips are encoded apart
// from the file (strip_encoder.h), so that cores share the work and finished strips can be copied
// from file (strip_reader.h) to file (strip_writer.h).
#pragma once

#include "formats/row_writer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

/// Lines of pixels in strips of a fixed number of lines, but for the last.
struct StripLayout {
    std::int64_t lineLength = 0; ///< pixels
    std::int64_t lines = 0;
    std::int64_t stripLines = 0;

    std::int64_t Strips() const { return (lines + stripLines - 1) / stripLines; }
    std::int64_t LinesIn(std::int64_t strip) const;
    /// In bytes, before compression.
    std::size_t SizeOf(std::int64_t strip) const;
};

/// Lines of a strip of about a quarter of a megabyte.
std::int64_t StripLines(std::int64_t lineLength, std::int64_t lines);

/// Everything that makes a TIFF of rendered codes but its pixels.
struct TiffPage {
    StripLayout layout;
    WriteSettings settings;
    std::vector<unsigned char> profile; ///< none where empty
    int orientation = 1;                ///< 1, or 5 where lines are the columns of the page
    std::string description;            ///< text for programs; none where empty
};

using EncodedStrip = std::vector<unsigned char>;

/// CRC-32 of a strip behind those of an earlier checksum; 0 before the first.
std::uint32_t Checksum(std::uint32_t before, const EncodedStrip& strip);

} // namespace qva
