// Makes the strips of a rendered TIFF.
#pragma once

#include "formats/tiff_strips.h"

#include <cstdint>
#include <functional>

struct tiff;

namespace qva {

/// Makes the bytes that strips have in the file, on all threads, and hands them over in the order
/// of the file, on the caller's, while later ones are made.
/// @param codes  of the strips first ... first + count - 1, packed.
void EncodeStrips(const TiffPage& page, std::int64_t first, std::int64_t count,
                  const std::uint16_t* codes, const std::function<void(const EncodedStrip&)>& take);

/// Sets the tags that decide how strips are encoded.
/// @param lines  of the file: one strip's, or all.
/// @return false where the library refuses one.
bool SetStripTags(tiff* file, const TiffPage& page, std::int64_t lines);

} // namespace qva
