// What describes the picture in a PNG file, wherever it stands in it.
#pragma once

#include "picture/source_description.h"

#include <string>

namespace qva {

/// The keyword of a text with an XMP packet (XMP, part 3, 1.1.5).
constexpr const char* pngXmpKeyword = "XML:com.adobe.xmp";

/// The keyword of a text with resources of an image editor as hexadecimal digits; no standard, but
/// what common programs write and read.
constexpr const char* pngIptcKeyword = "Raw profile type iptc";

/// Reads Exif, XMP and IPTC from the chunks eXIf, iTXt and zTXt, also behind the pixels, where many
/// programs write them. What is damaged or longer than mostMetadata is as if it were not there.
Metadata ReadPngMetadata(const std::string& path);

/// The text under pngIptcKeyword.
std::string PngIptcText(const std::vector<unsigned char>& iptc);

} // namespace qva
