// Small JPEG files, with or without a gain map behind the picture.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qva::samples {

/// An application segment: its number (1 for APP1) and what stands in it.
using Segment = std::pair<int, std::string>;

struct JpegKind {
    int channels = 3; ///< 1 grey, 3 YCbCr, 4 CMYK
    bool isProgressive = false;
    int dotsPerInch = 0; ///< 0: a JFIF header without
    std::vector<Segment> segments = {};
};

/// A JPEG stream of the best quality, all channels of full size.
/// @param codes  interleaved, row by row.
std::string Jpeg(ImageSize size, const std::vector<unsigned char>& codes, const JpegKind& kind);

/// A picture and a map behind it, with the directory of a multi-picture file.
std::string WithMap(const std::string& picture, const std::string& map, bool isLittle = true);

// What a map's segments say: gains from 0 to 2 stops, gamma 1, no offsets, 2 stops of headroom.
Segment IsoSegment(int version = 0);
Segment XmpSegment(const std::string& properties);
Segment HdrgmSegment(const std::string& version = "1.0");
Segment AppleSegment(); ///< a factor of 4

/// Exif data of one SHORT entry each, after the name of the segment.
Segment ExifSegment(const std::vector<std::pair<int, int>>& entries, bool isLittle);

} // namespace qva::samples
