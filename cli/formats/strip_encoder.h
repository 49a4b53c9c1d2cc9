// Makes the strips of a rendered TIFF.
#pragma once

#include "formats/tiff_strips.h"

#include <cstdint>
#include <vector>

struct tiff;

namespace qva {

/// The bytes that strips have in the file.
/// @param codes  of the strips first ... first + count - 1, packed.
std::vector<EncodedStrip> EncodeStrips(const TiffPage& page, std::int64_t first, std::int64_t count,
                                       const std::uint16_t* codes);

/// Sets the tags that decide how strips are encoded.
/// @param lines  of the file: one strip's, or all.
/// @return false where the library refuses one.
bool SetStripTags(tiff* file, const TiffPage& page, std::int64_t lines);

} // namespace qva
