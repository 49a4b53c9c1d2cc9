#include "picture/tiff_structure.h"

#include <algorithm>
#include <array>

namespace qva {

namespace {

constexpr std::size_t entryBytes = 12;

// TIFF 6.0, section 2; 13 is that of supplement 1.
enum Type : std::uint16_t {
    unsignedByte = 1,
    unsignedShort = 3,
    unsignedLong = 4,
    unsignedRational = 5,
    signedByte = 6,
    signedShort = 8,
    signedLong = 9,
    signedRational = 10,
    directory = 13
};

} // namespace

TiffStructure::TiffStructure(std::span<const unsigned char> bytes) : bytes_(bytes)
{
    if (bytes.size() < 8 || bytes[0] != bytes[1] || (bytes[0] != 'I' && bytes[0] != 'M')) {
        return;
    }
    isLittle_ = bytes[0] == 'I';
    if (Raw(2, 2) == 42) {
        first_ = Raw(4, 4);
    }
}

TiffStructure::TiffStructure(std::span<const unsigned char> bytes, bool isLittle)
    : bytes_(bytes), isLittle_(isLittle)
{
}

std::uint32_t TiffStructure::Raw(std::size_t place, std::size_t count) const
{
    if (place > bytes_.size() || bytes_.size() - place < count) {
        return 0;
    }
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        number = number << 8 | bytes_[place + (isLittle_ ? count - 1 - i : i)];
    }
    return number;
}

std::size_t TiffStructure::SizeOfType(std::uint16_t type)
{
    constexpr std::array<std::size_t, 14> sizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < sizes.size() ? sizes[type] : 0;
}

std::vector<TiffEntry> TiffStructure::Entries(std::size_t directory) const
{
    std::vector<TiffEntry> entries;
    const std::size_t count = Raw(directory, 2);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = directory + 2 + i * entryBytes;
        if (place > bytes_.size() || bytes_.size() - place < entryBytes) {
            break;
        }
        TiffEntry entry;
        entry.tag = static_cast<std::uint16_t>(Raw(place, 2));
        entry.type = static_cast<std::uint16_t>(Raw(place + 2, 2));
        entry.count = Raw(place + 4, 4);
        entry.bytes = entry.count * SizeOfType(entry.type);
        entry.place = entry.bytes <= 4 ? place + 8 : Raw(place + 8, 4);
        if (entry.bytes > 0 && entry.place <= bytes_.size() &&
            entry.bytes <= bytes_.size() - entry.place) {
            entries.push_back(entry);
        }
    }
    return entries;
}

std::optional<std::size_t> TiffStructure::Next(std::size_t directory) const
{
    const std::size_t next = Raw(directory + 2 + Raw(directory, 2) * entryBytes, 4);
    return next == 0 ? std::nullopt : std::optional(next);
}

std::optional<TiffEntry> TiffStructure::Find(std::size_t directory, std::uint16_t tag) const
{
    const std::vector<TiffEntry> entries = Entries(directory);
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [tag](const TiffEntry& entry) { return entry.tag == tag; });
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

std::optional<double> TiffStructure::Number(const TiffEntry& entry, std::size_t index) const
{
    const std::size_t place = entry.place + index * SizeOfType(entry.type);
    if (index >= entry.count) {
        return std::nullopt;
    }
    const auto asSigned = [this](std::size_t at) { return static_cast<std::int32_t>(Raw(at, 4)); };
    switch (entry.type) {
    case unsignedByte:
        return Raw(place, 1);
    case signedByte:
        return static_cast<std::int8_t>(Raw(place, 1));
    case unsignedShort:
        return Raw(place, 2);
    case signedShort:
        return static_cast<std::int16_t>(Raw(place, 2));
    case unsignedLong:
    case directory:
        return Raw(place, 4);
    case signedLong:
        return asSigned(place);
    case unsignedRational:
        if (Raw(place + 4, 4) != 0) {
            return static_cast<double>(Raw(place, 4)) / Raw(place + 4, 4);
        }
        return std::nullopt;
    case signedRational:
        if (asSigned(place + 4) != 0) {
            return static_cast<double>(asSigned(place)) / asSigned(place + 4);
        }
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

std::optional<double> TiffStructure::Number(std::size_t directory, std::uint16_t tag) const
{
    const std::optional<TiffEntry> entry = Find(directory, tag);
    return entry ? Number(*entry) : std::nullopt;
}

std::span<const unsigned char> TiffStructure::Values(const TiffEntry& entry) const
{
    return bytes_.subspan(entry.place, entry.bytes);
}

} // namespace qva
