// What describes the picture in a TIFF file, or in a raw file that is built like one.
#pragma once

#include "picture/source_description.h"

#include <string>

namespace qva {

/// Reads Exif, XMP and IPTC from the first directory of a file, classic or of 8-byte places. What
/// is damaged, and what is longer than mostMetadata, is as if it were not there.
/// @return Exif little-endian, with no entry of the pixels; nothing for files of other kinds.
Metadata ReadTiffMetadata(const std::string& path);

} // namespace qva
