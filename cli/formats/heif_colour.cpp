#include "formats/heif_colour.h"

#include "base/errors.h"

#include <fmt/format.h>

namespace qva {

namespace {

constexpr int unspecified = 2;

bool IsWhole(const CodePoints& points)
{
    return points.primaries != unspecified && points.transfer != unspecified;
}

/// Takes the first of each kind, as the file orders them.
void ReadColourBox(Bytes payload, std::optional<CodePoints>& points,
                   std::vector<unsigned char>& profile)
{
    if (payload.size() < 4) {
        return;
    }
    ByteReader reader(payload);
    const std::uint32_t kind = reader.Word();
    if (kind == FourLetters("nclx") && payload.size() >= 11 && !points) {
        CodePoints found;
        found.primaries = static_cast<int>(reader.Number(2));
        found.transfer = static_cast<int>(reader.Number(2));
        found.matrix = static_cast<int>(reader.Number(2));
        found.fullRange = (reader.Number(1) & 0x80) != 0;
        points = found;
    } else if ((kind == FourLetters("prof") || kind == FourLetters("rICC")) && profile.empty()) {
        profile.assign(payload.begin() + 4, payload.end());
    }
}

/// The TIFF structure of an Exif item, before which stands how far away it is.
std::vector<unsigned char> TiffOf(const std::vector<unsigned char>& data)
{
    if (data.size() < 4) {
        return {};
    }
    const std::uint64_t start = std::uint64_t{ByteReader(data).Word()} + 4;
    if (start >= data.size()) {
        return {};
    }
    return {data.begin() + static_cast<std::ptrdiff_t>(start), data.end()};
}

} // namespace

HeifColour ColourOf(const std::vector<HeifProperty>& properties, const CodedHeader& header)
{
    HeifColour colour;
    for (const HeifProperty& property : properties) {
        if (property.type == FourLetters("colr")) {
            ReadColourBox(property.payload, colour.points, colour.tags.profile);
        }
    }
    const bool hasBox = colour.points.has_value();
    colour.tags.codePointsFrom = hasBox ? "nclx box" : "header of the bit stream";
    const std::optional<CodePoints>& points = hasBox ? colour.points : header.points;
    if (!points) {
        return colour;
    }
    const bool hasProfile = !colour.tags.profile.empty();
    if (hasProfile ? hasBox && IsWhole(*points)
                   : points->primaries != unspecified || points->transfer != unspecified)
    {
        colour.tags.codePoints = CodePoints{points->primaries, points->transfer, 0, true};
    }
    return colour;
}

std::vector<Finding> LightFindings(const std::vector<HeifProperty>& properties)
{
    std::vector<Finding> findings;
    for (const HeifProperty& property : properties) {
        ByteReader reader(property.payload);
        const auto level = [&reader](int bytes, double unit) {
            return static_cast<double>(reader.Number(bytes)) * unit;
        };
        if (property.type == FourLetters("clli") && reader.Left() >= 4) {
            const double peak = level(2, 1.0);
            findings.push_back(
                {"light levels", fmt::format("brightest pixel {:.6g} cd/m2, frame average {:.6g} "
                                             "cd/m2 (clli box)",
                                             peak, level(2, 1.0))});
        } else if (property.type == FourLetters("mdcv") && reader.Left() >= 24) {
            reader.Take(16);
            const double top = level(4, 0.0001);
            findings.push_back({"mastered on", fmt::format("{:.6g} to {:.6g} cd/m2 (mdcv box)",
                                                           level(4, 0.0001), top)});
        }
    }
    return findings;
}

Metadata MetadataOf(const HeifItems& items, const HeifItem& item)
{
    Metadata metadata;
    for (const std::uint32_t id : items.SourcesOf(item.id, FourLetters("cdsc"))) {
        const HeifItem* found = items.Find(id);
        try {
            if (found != nullptr && found->type == FourLetters("Exif") && metadata.exif.empty()) {
                metadata.exif = TiffOf(items.DataOf(*found));
            } else if (found != nullptr && found->contentType == "application/rdf+xml" &&
                       metadata.xmp.empty()) {
                metadata.xmp = items.DataOf(*found);
            }
        } catch (const Failure&) {
            // The picture can be printed without what describes it.
        }
    }
    return metadata;
}

} // namespace qva
