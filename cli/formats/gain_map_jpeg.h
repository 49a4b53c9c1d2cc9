// Finds the gain map of a JPEG file: its numbers, and where its picture lies.
#pragma once

#include "colour/gain_map.h"
#include "formats/jpeg_segments.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace qva {

struct JpegGainMap {
    GainMapNumbers numbers;
    std::string kind;                   ///< for people: "ISO 21496-1"
    std::int64_t start = 0;             ///< of its stream in the file
    std::vector<unsigned char> profile; ///< ICC profile of the other rendition; may be empty
};

/// What lies in a file behind its first picture.
struct MorePictures {
    std::optional<JpegGainMap> gainMap;
    std::string problem; ///< why a gain map that the file tells of cannot be used
    int others = 0;      ///< pictures that are no gain map
};

/// Looks where the directory of a multi-picture file points, then where the XMP of the first
/// picture does, for a picture with the numbers of ISO 21496-1, with those of the XMP namespace
/// "hdrgm", or marked as one of Apple's.
/// @param primary  of the first picture.
MorePictures FindMorePictures(std::FILE* file, const JpegSegments& primary);

} // namespace qva
