// TIFF structures byte by byte, as Exif data are made of.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qva::samples {

using Bytes = std::vector<unsigned char>;

struct Entry {
    unsigned tag;
    unsigned type;
    std::uint32_t count;
    std::string value; ///< four bytes
};

std::string Number(std::uint64_t number, int count, bool isLittle);

/// With no directory behind it.
std::string Directory(const std::vector<Entry>& entries, bool isLittle);

/// The first directory lies behind it.
std::string Header(bool isLittle);

Bytes AsBytes(const std::string& text);

} // namespace qva::samples
