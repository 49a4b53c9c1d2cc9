// What Exif data say about a picture.
#pragma once

#include <optional>
#include <span>

namespace qva {

/// @param exif  from the byte-order mark of its TIFF structure on; damaged data say nothing.
/// @return 1 ... 8, the values of the TIFF tag 274; 1 where nothing is said.
int ExifOrientation(std::span<const unsigned char> exif);

/// @return pixels per inch, 0 where they are not stated or not the same both ways.
double ExifResolution(std::span<const unsigned char> exif);

/// The headroom in stops of an Apple gain map, as the maker note of its camera tells it.
std::optional<double> AppleHeadroom(std::span<const unsigned char> exif);

} // namespace qva
