// What a HEIF file (AVIF, HEIC) is made of: its items, their properties and how they refer to each
// other (ISO/IEC 14496-12, 8.11; ISO/IEC 23008-12). Nothing is decoded here.
#pragma once

#include "formats/bit_reader.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qva {

/// Four letters as the number that boxes, items and properties are named with.
constexpr std::uint32_t FourLetters(const char (&name)[5])
{
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(name[i]);
    }
    return number;
}

struct HeifItem {
    std::uint32_t id = 0;
    std::uint32_t type = 0;   ///< FourLetters; 0 where the file says none
    bool isHidden = false;    ///< not to be shown alone
    std::string contentType;  ///< of items of the type "mime"
    bool isInIdat = false;    ///< its extents count from the data within the meta box
    bool isElsewhere = false; ///< its data are in another file, or within another item
    std::vector<std::pair<std::uint64_t, std::uint64_t>> extents; ///< place and length
    std::vector<std::uint16_t> properties; ///< from 1, in the order in which they apply
};

struct HeifReference {
    std::uint32_t type = 0;
    std::uint32_t from = 0;
    std::vector<std::uint32_t> to;
};

struct HeifProperty {
    std::uint32_t type = 0;
    Bytes payload;
};

/// The items of one file. Memory and time are proportional to the file's size.
class HeifItems {
public:
    /// @param file  all bytes of it; they must outlive the object.
    /// @throws Failure where the boxes are damaged, or hold no still picture.
    HeifItems(const std::string& path, Bytes file);

    /// @return nullptr where there is none.
    const HeifItem* Find(std::uint32_t id) const;
    const HeifItem& Primary() const { return items_.at(primary_); }
    const std::map<std::uint32_t, HeifItem>& All() const { return items_; }

    /// The pieces of an item's data, one behind the other.
    /// @throws Failure where they lie outside the file, or are more than the file holds.
    std::vector<unsigned char> DataOf(const HeifItem& item) const;

    /// The properties of an item, as the file orders them; numbers without a property are left out.
    std::vector<HeifProperty> PropertiesOf(const HeifItem& item) const;

    /// The first property of a type; empty where the item has none.
    Bytes PropertyOf(const HeifItem& item, std::uint32_t type) const;

    /// What an item refers to, for a type of reference.
    std::vector<std::uint32_t> TargetsOf(std::uint32_t from, std::uint32_t type) const;

    /// The items that refer to one, for a type of reference.
    std::vector<std::uint32_t> SourcesOf(std::uint32_t to, std::uint32_t type) const;

    /// Whether other pictures may be shown alone: not hidden, and of no use to another.
    bool HasPicturesBeside(std::uint32_t id) const;

    /// Whether the file holds a track of pictures too.
    bool HasMovie() const { return hasMovie_; }

private:
    void ReadMeta(Bytes box);
    void ReadEntries(Bytes box);
    void ReadEntry(Bytes box);
    void ReadPlaces(Bytes box);
    void ReadPlacesOf(ByteReader& reader, int version, const int sizes[4]);
    void ReadReferences(Bytes box);
    void ReadProperties(Bytes box);
    void ReadAssociations(Bytes box);

    std::string path_;
    Bytes file_;
    Bytes idat_;
    bool hasMeta_ = false;
    bool hasMovie_ = false;
    std::uint32_t primary_ = 0;
    std::map<std::uint32_t, HeifItem> items_;
    std::vector<HeifReference> references_;
    std::vector<HeifProperty> properties_;
};

} // namespace qva
