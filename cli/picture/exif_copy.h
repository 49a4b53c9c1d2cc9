// The part of Exif data that stays true of a print, written anew.
#pragma once

#include "picture/tiff_structure.h"

#include <cstdint>
#include <span>
#include <vector>

namespace qva {

/// One entry to be written; numbers are little-endian.
struct NewEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::vector<unsigned char> values;
};

/// The directories of Exif data.
struct ExifDirectories {
    std::vector<NewEntry> main; ///< without the places of the other two
    std::vector<NewEntry> exif;
    std::vector<NewEntry> gps;

    std::size_t Entries() const { return main.size() + exif.size() + gps.size(); }
};

/// What CopyExif leaves out, for people.
struct ExifLeftOut {
    bool makerNote = false;
    bool thumbnail = false;
    std::size_t entries = 0; ///< all others
};

/// Whether an entry of the first directory describes the photograph and not its pixels.
bool DescribesPhotograph(std::uint16_t tag);

/// Takes what describes the photograph. Left out is what the print makes wrong: the thumbnail,
/// orientation, resolution, dimensions, places in the picture, colour spaces, compression, makers'
/// notes, whose places would no longer hold, and whatever is not of the standard.
/// @param exif     from the byte-order mark on; damaged data have fewer entries.
/// @param leftOut  may be nullptr.
/// @return no more bytes of values than exif has: no honest entries share theirs.
ExifDirectories CopyExif(std::span<const unsigned char> exif, ExifLeftOut* leftOut = nullptr);

/// @param values  as stored.
NewEntry MakeEntry(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                   std::vector<unsigned char> values, bool isLittle);

/// Puts entries into the order of their tags, each tag once: the first that there is.
void SortEntries(std::vector<NewEntry>& entries);

/// Bytes of a directory and its values, little-endian.
/// @param place  of the directory in the file, even.
/// @param isBig  for a TIFF of 8-byte places.
std::vector<unsigned char> WriteDirectory(const std::vector<NewEntry>& entries, std::uint64_t place,
                                          bool isBig);

/// A TIFF structure of all directories, upright; empty where these are.
std::vector<unsigned char> WriteExif(const ExifDirectories& directories);

} // namespace qva
