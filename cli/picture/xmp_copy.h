// The part of an XMP packet that stays true of a print.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace qva {

struct XmpCopy {
    std::vector<unsigned char> packet;
    std::size_t kept = 0; ///< properties
    std::size_t leftOut = 0;
    bool isDamaged = false; ///< nothing could be kept
};

/// Cuts out of a packet what the print makes wrong: gain maps, depth maps, films and the list of
/// pictures behind the first, size, orientation, resolution and coding of the file, colour spaces,
/// thumbnails, settings of raw development, and the reference to a second packet.
/// @param packet    UTF-8, without a document type; other packets count as damaged.
/// @param isTurned  the print has other sides than the file: regions in the picture go, too.
/// @return no packet where no property is left.
XmpCopy CopyXmp(std::span<const unsigned char> packet, bool isTurned);

} // namespace qva
