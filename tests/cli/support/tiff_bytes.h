// TIFF structures, as Exif data are made of, and chunks of PNG, byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qva::samples {

using Bytes = std::vector<unsigned char>;

struct Entry {
    unsigned tag;
    unsigned type;
    std::uint32_t count;
    std::string value; ///< as the file has it; up to four bytes stand in the entry itself
};

std::string Number(std::uint64_t number, int count, bool isLittle);

/// With no directory behind it, but the longer values.
/// @param place  of the directory in the file.
std::string Directory(const std::vector<Entry>& entries, bool isLittle, std::size_t place = 0);

/// The first directory lies behind it.
std::string Header(bool isLittle);

Bytes AsBytes(const std::string& text);

/// A chunk of a PNG with its length and checksum (ISO/IEC 15948, 5.3).
std::string PngChunk(const std::string& name, const std::string& data);

/// The data of all chunks of a name, found by walking over them.
std::string PngDataOf(const std::string& png, const std::string& name);

} // namespace qva::samples
