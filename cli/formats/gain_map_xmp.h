// What XMP packets say about gain maps.
#pragma once

#include "colour/gain_map.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qva {

/// A picture that a packet lists behind the first, which is listed too.
struct XmpItem {
    std::string semantic;    ///< "Primary", "GainMap"
    std::uint64_t bytes = 0; ///< of its stream, 0 where not stated
};

struct GainMapXmp {
    /// The properties of the namespace "hdrgm" by their names, each with one value or three.
    std::map<std::string, std::vector<std::string>> properties;
    bool isAppleMap = false;             ///< of a map, that it is one of Apple's
    std::optional<double> appleHeadroom; ///< a factor
    std::vector<XmpItem> items;
};

/// @return what could be read up to the first error of the packet.
GainMapXmp ReadGainMapXmp(std::span<const unsigned char> packet);

/// @throws GainMapProblem for an unknown version, numbers that are missing, or make no sense.
GainMapNumbers NumbersOf(const GainMapXmp& xmp);

/// Apple's maps: the headroom stands in their XMP, or with the camera's notes.
/// @param exif  of the picture that the map belongs to.
/// @throws GainMapProblem where neither tells it.
GainMapNumbers AppleNumbers(const GainMapXmp& xmp, std::span<const unsigned char> exif);

} // namespace qva
