// Tags of Exif 2.32, section 4.6, that more than one source asks for.
#pragma once

#include <cstdint>

namespace qva {

constexpr std::uint16_t orientationTag = 274;
constexpr std::uint16_t exifTag = 34665; ///< place of the Exif directory
constexpr std::uint16_t gpsTag = 34853;  ///< place of the GPS directory
constexpr std::uint16_t makerNoteTag = 37500;

} // namespace qva
