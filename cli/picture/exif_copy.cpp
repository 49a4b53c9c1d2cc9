#include "picture/exif_copy.h"

#include "picture/exif_tags.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qva {

namespace {

// Exif 2.32, section 4.6.
constexpr std::uint16_t thumbnailTag = 513;

/// Description, make, model, date, artist, copyright.
constexpr std::array<std::uint16_t, 6> keptInMain = {270, 271, 272, 306, 315, 33432};

/// From the exposure time to the exposure times of a composite.
constexpr std::uint16_t firstExifTag = 33434;
constexpr std::uint16_t lastExifTag = 42081;

/// Component order, compression, subject area, maker note, colour space, width, height, sound file,
/// place of the interoperability directory, frequency response, focal plane resolution (three),
/// subject location, mosaic, device settings.
constexpr std::array<std::uint16_t, 16> leftOutOfExif = {
    37121, 37122, 37396, makerNoteTag, 40961, 40962, 40963, 40964,
    40965, 41484, 41486, 41487,        41488, 41492, 41730, 41995};

/// From the version to the positioning error.
constexpr std::uint16_t lastGpsTag = 31;

template <typename Container>
bool Contains(const Container& tags, std::uint16_t tag)
{
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

void AppendNumber(std::vector<unsigned char>& bytes, std::uint64_t number, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        bytes.push_back(static_cast<unsigned char>(number >> 8 * i));
    }
}

/// Bytes of the numbers that a value of a type is made of.
std::size_t UnitOf(std::uint16_t type)
{
    constexpr std::uint16_t unsignedRational = 5;
    constexpr std::uint16_t signedRational = 10;
    return type == unsignedRational || type == signedRational ? 4 : TiffStructure::SizeOfType(type);
}

void Swap(std::vector<unsigned char>& bytes, std::size_t first, std::size_t unit)
{
    for (std::size_t i = first; unit > 1 && i + unit <= bytes.size(); i += unit) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(i);
        std::reverse(begin, begin + static_cast<std::ptrdiff_t>(unit));
    }
}

/// Whether undefined bytes are text of two bytes a letter, in the order of the data (Exif 2.32,
/// table 9).
bool IsWideText(std::uint16_t type, const std::vector<unsigned char>& values)
{
    constexpr std::uint16_t undefined = 7;
    constexpr std::array<unsigned char, 8> name = {'U', 'N', 'I', 'C', 'O', 'D', 'E', 0};
    return type == undefined && values.size() > name.size() &&
           std::equal(name.begin(), name.end(), values.begin());
}

/// Copies entries of one structure as long as there are bytes for them.
class EntryCopier {
public:
    explicit EntryCopier(const TiffStructure& structure)
        : structure_(structure), left_(structure.Bytes().size())
    {
    }

    template <typename Keep>
    std::vector<NewEntry> Copy(std::size_t place, ExifLeftOut& leftOut, const Keep& keep)
    {
        std::vector<NewEntry> copies;
        for (const TiffEntry& entry : structure_.Entries(place)) {
            if (keep(entry.tag) && entry.bytes <= left_) {
                const std::span<const unsigned char> values = structure_.Values(entry);
                left_ -= entry.bytes;
                copies.push_back(MakeEntry(entry.tag, entry.type, entry.count,
                                           {values.begin(), values.end()}, structure_.IsLittle()));
            } else if (entry.tag == makerNoteTag) {
                leftOut.makerNote = true;
            } else if (entry.tag != exifTag && entry.tag != gpsTag) {
                ++leftOut.entries;
            }
        }
        SortEntries(copies);
        return copies;
    }

private:
    const TiffStructure& structure_;
    std::size_t left_;
};

bool IsKeptOfExif(std::uint16_t tag)
{
    return tag >= firstExifTag && tag <= lastExifTag && tag != exifTag && tag != gpsTag &&
           !Contains(leftOutOfExif, tag);
}

NewEntry PlaceEntry(std::uint16_t tag, std::uint64_t place)
{
    constexpr std::uint16_t unsignedLong = 4;
    NewEntry entry{tag, unsignedLong, 1, {}};
    AppendNumber(entry.values, place, 4);
    return entry;
}

std::size_t EvenSize(std::size_t size)
{
    return (size + 1) & ~std::size_t{1};
}

std::size_t SizeOf(const std::vector<NewEntry>& entries)
{
    return WriteDirectory(entries, 0, false).size();
}

} // namespace

bool DescribesPhotograph(std::uint16_t tag)
{
    return Contains(keptInMain, tag);
}

NewEntry MakeEntry(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                   std::vector<unsigned char> values, bool isLittle)
{
    NewEntry entry{tag, type, count, std::move(values)};
    if (!isLittle) {
        const bool isWide = IsWideText(type, entry.values);
        Swap(entry.values, isWide ? 8 : 0, isWide ? 2 : UnitOf(type));
    }
    return entry;
}

void SortEntries(std::vector<NewEntry>& entries)
{
    std::stable_sort(entries.begin(), entries.end(),
                     [](const NewEntry& a, const NewEntry& b) { return a.tag < b.tag; });
    entries.erase(std::unique(entries.begin(), entries.end(),
                              [](const NewEntry& a, const NewEntry& b) { return a.tag == b.tag; }),
                  entries.end());
}

ExifDirectories CopyExif(std::span<const unsigned char> exif, ExifLeftOut* leftOut)
{
    const TiffStructure structure(exif);
    ExifDirectories copy;
    ExifLeftOut found;
    if (!structure.First()) {
        return copy;
    }
    EntryCopier copier(structure);
    copy.main = copier.Copy(*structure.First(), found, DescribesPhotograph);
    if (const auto place = structure.Number(*structure.First(), exifTag)) {
        copy.exif = copier.Copy(static_cast<std::size_t>(*place), found, IsKeptOfExif);
    }
    if (const auto place = structure.Number(*structure.First(), gpsTag)) {
        copy.gps = copier.Copy(static_cast<std::size_t>(*place), found,
                               [](std::uint16_t tag) { return tag <= lastGpsTag; });
    }
    const auto next = structure.Next(*structure.First());
    found.thumbnail = next && structure.Find(*next, thumbnailTag).has_value();
    if (leftOut != nullptr) {
        *leftOut = found;
    }
    return copy;
}

std::vector<unsigned char> WriteDirectory(const std::vector<NewEntry>& entries, std::uint64_t place,
                                          bool isBig)
{
    const std::size_t word = isBig ? 8 : 4;
    const std::size_t counter = isBig ? 8 : 2;
    std::vector<unsigned char> bytes;
    std::vector<unsigned char> values;
    const std::uint64_t valuesPlace = place + counter + entries.size() * (4 + 2 * word) + word;
    AppendNumber(bytes, entries.size(), counter);
    for (const NewEntry& entry : entries) {
        AppendNumber(bytes, entry.tag, 2);
        AppendNumber(bytes, entry.type, 2);
        AppendNumber(bytes, entry.count, word);
        if (entry.values.size() <= word) {
            bytes.insert(bytes.end(), entry.values.begin(), entry.values.end());
            bytes.resize(bytes.size() + word - entry.values.size());
        } else {
            AppendNumber(bytes, valuesPlace + values.size(), word);
            values.insert(values.end(), entry.values.begin(), entry.values.end());
            values.resize(EvenSize(values.size()));
        }
    }
    AppendNumber(bytes, 0, word);
    bytes.insert(bytes.end(), values.begin(), values.end());
    return bytes;
}

std::vector<unsigned char> WriteExif(const ExifDirectories& directories)
{
    constexpr std::size_t headerBytes = 8;
    if (directories.main.empty() && directories.exif.empty() && directories.gps.empty()) {
        return {};
    }
    std::vector<NewEntry> main = directories.main;
    main.push_back({orientationTag, 3, 1, {1, 0}});
    if (!directories.exif.empty()) {
        main.push_back(PlaceEntry(exifTag, 0));
    }
    if (!directories.gps.empty()) {
        main.push_back(PlaceEntry(gpsTag, 0));
    }
    std::sort(main.begin(), main.end(),
              [](const NewEntry& a, const NewEntry& b) { return a.tag < b.tag; });
    const std::size_t exifPlace = headerBytes + SizeOf(main);
    const std::size_t gpsPlace =
        exifPlace + (directories.exif.empty() ? 0 : SizeOf(directories.exif));
    for (NewEntry& entry : main) {
        if (entry.tag == exifTag || entry.tag == gpsTag) {
            entry = PlaceEntry(entry.tag, entry.tag == exifTag ? exifPlace : gpsPlace);
        }
    }
    std::vector<unsigned char> bytes = {'I', 'I', 42, 0, headerBytes, 0, 0, 0};
    const auto append = [&bytes](const std::vector<NewEntry>& directory) {
        if (!directory.empty()) {
            const auto part = WriteDirectory(directory, bytes.size(), false);
            bytes.insert(bytes.end(), part.begin(), part.end());
        }
    };
    append(main);
    append(directories.exif);
    append(directories.gps);
    return bytes;
}

} // namespace qva
