#include "picture/exif_data.h"

#include "picture/exif_tags.h"
#include "picture/tiff_structure.h"

#include <algorithm>
#include <string_view>

namespace qva {

namespace {

// Tags of Exif 2.32, section 4.6.
constexpr std::uint16_t xResolutionTag = 282;
constexpr std::uint16_t yResolutionTag = 283;
constexpr std::uint16_t resolutionUnitTag = 296;

/// The maker note of Apple's cameras: its name, then a directory whose places count from the note.
std::optional<TiffStructure> AppleNote(const TiffStructure& exif)
{
    using namespace std::string_view_literals;
    constexpr std::string_view name = "Apple iOS\0\0\1"sv;
    if (!exif.First()) {
        return std::nullopt;
    }
    const std::optional<double> directory = exif.Number(*exif.First(), exifTag);
    const std::optional<TiffEntry> note =
        directory ? exif.Find(static_cast<std::size_t>(*directory), makerNoteTag) : std::nullopt;
    if (!note || note->bytes < name.size() + 2) {
        return std::nullopt;
    }
    const std::span<const unsigned char> bytes = exif.Values(*note);
    if (!std::equal(name.begin(), name.end(), bytes.begin(),
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }))
    {
        return std::nullopt;
    }
    return TiffStructure(bytes, bytes[name.size()] == 'I');
}

} // namespace

int ExifOrientation(std::span<const unsigned char> exif)
{
    const TiffStructure structure(exif);
    const double value =
        structure.First() ? structure.Number(*structure.First(), orientationTag).value_or(1) : 1;
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

double ExifResolution(std::span<const unsigned char> exif)
{
    const TiffStructure structure(exif);
    if (!structure.First()) {
        return 0.0;
    }
    const std::size_t directory = *structure.First();
    const double x = structure.Number(directory, xResolutionTag).value_or(0.0);
    const double y = structure.Number(directory, yResolutionTag).value_or(0.0);
    // 2 is the inch, also where no unit is stated; 3 the centimetre.
    const double unit = structure.Number(directory, resolutionUnitTag).value_or(2.0);
    return x != y ? 0.0 : unit == 2.0 ? x : unit == 3.0 ? x * 2.54 : 0.0;
}

std::optional<double> AppleHeadroom(std::span<const unsigned char> exif)
{
    constexpr std::size_t noteDirectory = 14;
    const std::optional<TiffStructure> note = AppleNote(TiffStructure(exif));
    const std::optional<double> headroom = note ? note->Number(noteDirectory, 33) : std::nullopt;
    const std::optional<double> gain = note ? note->Number(noteDirectory, 48) : std::nullopt;
    if (!headroom || !gain) {
        return std::nullopt;
    }
    // Four straight lines, published by Apple, "Applying Apple HDR effect to your photos".
    const double stops = *headroom < 1.0
                             ? (*gain <= 0.01 ? 1.8 - 20.0 * *gain : 1.601 - 0.101 * *gain)
                             : (*gain <= 0.01 ? 3.0 - 70.0 * *gain : 2.303 - 0.303 * *gain);
    return std::max(stops, 0.0);
}

} // namespace qva
