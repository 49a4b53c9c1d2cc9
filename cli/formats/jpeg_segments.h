// What stands before the pixels of a JPEG stream: its frame and its application segments.
#pragma once

#include "picture/source_description.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// The segments of a JPEG stream that readers ask for, put together where a file has to cut them
/// up. Empty where there are none or their parts do not fit together.
struct JpegSegments {
    std::vector<unsigned char> profile; ///< ICC profile
    bool isProfileDamaged = false;      ///< there are parts of one
    Metadata metadata;
    std::vector<unsigned char> gainMap;  ///< the record of ISO 21496-1 behind its name
    std::vector<unsigned char> pictures; ///< the directory of a multi-picture file (CIPA DC-007)
    std::int64_t picturesPlace = 0;      ///< where that directory begins in the file
};

/// Reads the segments from the start of a stream to its first scan. Damage ends the reading without
/// a word: the decoder will find it again.
/// @param start  where the stream begins in the file.
JpegSegments ReadJpegSegments(std::FILE* file, std::int64_t start);

} // namespace qva
