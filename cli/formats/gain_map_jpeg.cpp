#include "formats/gain_map_jpeg.h"

#include "formats/gain_map_xmp.h"
#include "picture/tiff_structure.h"

#include <algorithm>

namespace qva {

namespace {

/// Where the directory of a multi-picture file says that the pictures behind the first begin.
std::vector<std::int64_t> StartsInDirectory(const JpegSegments& primary)
{
    // CIPA DC-007: of the entry tag, 16 bytes a picture, whose place counts from the directory's
    // own header; the first picture's is 0.
    constexpr std::uint16_t entryTag = 0xb002;
    constexpr std::size_t entryBytes = 16;
    std::vector<std::int64_t> starts;
    const TiffStructure structure(primary.pictures);
    const auto entries =
        structure.First() ? structure.Find(*structure.First(), entryTag) : std::nullopt;
    for (std::size_t i = 1; entries && (i + 1) * entryBytes <= entries->bytes; ++i) {
        const std::uint32_t place = structure.Raw(entries->place + i * entryBytes + 8, 4);
        if (place != 0) {
            starts.push_back(primary.picturesPlace + place);
        }
    }
    return starts;
}

/// Where the first picture's XMP says that its gain map begins: the pictures end with the file.
std::optional<std::int64_t> StartInXmp(const GainMapXmp& xmp, std::int64_t fileBytes)
{
    std::uint64_t behind = 0;
    for (auto item = xmp.items.rbegin(); item != xmp.items.rend(); ++item) {
        behind += item->bytes;
        if (item->bytes == 0 || behind > static_cast<std::uint64_t>(fileBytes)) {
            return std::nullopt;
        }
        if (item->semantic == "GainMap") {
            return fileBytes - static_cast<std::int64_t>(behind);
        }
    }
    return std::nullopt;
}

bool IsJpeg(std::FILE* file, std::int64_t start)
{
    return fseeko(file, start, SEEK_SET) == 0 && std::fgetc(file) == 0xff &&
           std::fgetc(file) == 0xd8 && std::fgetc(file) == 0xff;
}

/// @return whether the picture is a gain map, which is then in `more`, or else its problem.
bool TakeGainMap(const JpegSegments& segments, std::int64_t start, const JpegSegments& primary,
                 MorePictures& more)
{
    const GainMapXmp xmp = ReadGainMapXmp(segments.metadata.xmp);
    bool isMap = false;
    const auto attempt = [&](bool isKind, const char* kind, const auto& read) {
        if (!isKind || more.gainMap) {
            return;
        }
        isMap = true;
        try {
            more.gainMap = JpegGainMap{read(), kind, start, segments.profile};
        } catch (const GainMapProblem& problem) {
            more.problem = problem.what();
        }
    };
    attempt(!segments.gainMap.empty(), "ISO 21496-1",
            [&] { return ParseGainMap(segments.gainMap); });
    attempt(!xmp.properties.empty(), "hdrgm", [&] { return NumbersOf(xmp); });
    attempt(xmp.isAppleMap, "Apple", [&] { return AppleNumbers(xmp, primary.metadata.exif); });
    return isMap;
}

} // namespace

MorePictures FindMorePictures(std::FILE* file, const JpegSegments& primary)
{
    MorePictures more;
    const GainMapXmp xmp = ReadGainMapXmp(primary.metadata.xmp);
    std::vector<std::int64_t> starts = StartsInDirectory(primary);
    const std::size_t listed = starts.size();
    if (fseeko(file, 0, SEEK_END) == 0) {
        if (const auto start = StartInXmp(xmp, ftello(file))) {
            starts.push_back(*start);
        }
    }
    bool isFound = false;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const bool isMap = !more.gainMap && IsJpeg(file, starts[i]) &&
                           TakeGainMap(ReadJpegSegments(file, starts[i]), starts[i], primary, more);
        isFound = isFound || isMap;
        more.others += !isMap && i < listed ? 1 : 0;
    }
    const bool isPromised = !xmp.properties.empty() || !primary.gainMap.empty();
    if (!isFound && isPromised) {
        more.problem = "is not where the file says";
    }
    return more;
}

} // namespace qva
