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

} // namespace qva
