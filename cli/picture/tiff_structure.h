// The directories of a TIFF structure in memory, as Exif data and other parts of picture files are
// made of. Every access is checked; what lies outside is as if it were not there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qva {

/// One entry of a directory; its values lie inside the structure.
struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0; ///< 1 ... 13, TIFF 6.0 section 2 and supplement 1
    std::uint32_t count = 0;
    std::size_t place = 0; ///< of the values in the structure
    std::size_t bytes = 0; ///< of all values
};

/// Reads bytes that stay with the caller.
class TiffStructure {
public:
    /// @param bytes  from the byte-order mark on.
    explicit TiffStructure(std::span<const unsigned char> bytes);

    /// For a structure without a header of its own.
    TiffStructure(std::span<const unsigned char> bytes, bool isLittle);

    /// Where the first directory lies; nothing where the bytes begin no TIFF structure.
    std::optional<std::size_t> First() const { return first_; }

    /// The entries of a directory, in the order of the file; those that lie outside are left out.
    std::vector<TiffEntry> Entries(std::size_t directory) const;

    /// The place of the directory behind another.
    std::optional<std::size_t> Next(std::size_t directory) const;

    /// @return the first entry of the tag in a directory.
    std::optional<TiffEntry> Find(std::size_t directory, std::uint16_t tag) const;

    /// @return a value of an integer or rational type; nothing for other types, index beyond the
    ///         count, and rationals with a denominator of 0.
    std::optional<double> Number(const TiffEntry& entry, std::size_t index = 0) const;

    /// @return the same of the first entry of the tag in a directory.
    std::optional<double> Number(std::size_t directory, std::uint16_t tag) const;

    std::span<const unsigned char> Values(const TiffEntry& entry) const;
    std::span<const unsigned char> Bytes() const { return bytes_; }
    bool IsLittle() const { return isLittle_; }

    /// @return an unsigned number of 1, 2 or 4 bytes; 0 outside the structure.
    std::uint32_t Raw(std::size_t place, std::size_t count) const;

    /// Bytes of one value of a type, 0 for types that are not known.
    static std::size_t SizeOfType(std::uint16_t type);

private:
    std::span<const unsigned char> bytes_;
    bool isLittle_ = false;
    std::optional<std::size_t> first_;
};

} // namespace qva
