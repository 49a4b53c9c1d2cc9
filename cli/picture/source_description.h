// What a picture file says about itself, before anybody decides what it means.
#pragma once

#include "picture/chromaticities.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// The longest side that is read: a row of it takes 50 MB as floats.
constexpr std::int64_t longestSide = 1 << 22;

/// Columns and rows. Sides lie in 1 ... longestSide once a size has been checked.
struct ImageSize {
    std::int64_t width = 0;
    std::int64_t height = 0;
};

/// Larger pictures are refused before memory is taken for them.
struct SizeLimits {
    std::uint64_t pixels = 1000000000;
    std::int64_t side = longestSide; ///< at most longestSide
    /// Stops above SDR white of which a gain map makes use; all that it has where not given.
    std::optional<double> headroom = std::nullopt;

    bool operator==(const SizeLimits&) const = default;
};

/// Code points of ITU-T H.273, as a PNG cICP chunk or an ICC cicp tag holds them.
struct CodePoints {
    int primaries = 0;
    int transfer = 0;
    int matrix = 0;
    bool fullRange = true;
};

/// The statements about colour found in a file; nothing is set that the file does not say.
struct ColourTags {
    std::optional<CodePoints> codePoints;
    std::string codePointsFrom = "cICP chunk"; ///< for people: where they were found
    std::vector<unsigned char> profile;        ///< bytes of an embedded ICC profile
    bool srgb = false;                         ///< PNG's sRGB chunk
    std::optional<double> gamma;               ///< exponent from signal to light, PNG's gAMA
    std::optional<Chromaticities> chromaticities;
    std::optional<double> whiteLuminance; ///< cd/m² of the value 1.0
};

/// What describes a picture and goes on to its print; empty where the file has none.
struct Metadata {
    std::vector<unsigned char> exif; ///< from the byte-order mark of its TIFF structure on
    std::vector<unsigned char> xmp;  ///< the packet, UTF-8
    std::vector<unsigned char> iptc; ///< IIM datasets
};

/// One more thing that a file says about itself, for people.
struct Finding {
    std::string label; ///< at most 13 characters: "gain map"
    std::string text;
};

/// What a sample fits into with nothing lost.
enum class SampleKind {
    Codes,  ///< integers of 8 or 16 bits
    Halves, ///< floating-point numbers of 16 bits
    Floats
};
/// The finding of a picture whose light can be taken to another headroom.
constexpr const char* headroomLabel = "headroom";

/// A picture file as it was found.
struct SourceDescription {
    std::string path;
    std::string format;  ///< for people: "OpenEXR", "PNG"
    ImageSize size;      ///< as stored, before the orientation is applied
    int orientation = 1; ///< 1 ... 8, the values of the TIFF tag 274
    int bits = 0;        ///< of one sample
    int codeBits = 0;    ///< of the integer codes that are delivered; 0: as many as stored
    bool isFloat = false;
    bool isGrey = false; ///< one channel, delivered as three equal ones
    bool hasAlpha = false;
    bool hasMorePictures = false;  ///< behind the first, which is read
    double dpi = 0.0;              ///< pixels per inch; 0: not stated, or not the same both ways
    bool isInterlaced = false;     ///< decoded through a scratch file
    bool sceneLinear = false;      ///< the format holds scene-linear values by definition
    std::uint64_t decodeBytes = 0; ///< memory that decoding takes, where it is not just some rows
    ColourTags tags;
    Metadata metadata;
    std::vector<Finding> findings;  ///< what only this format states
    std::vector<std::string> notes; ///< what the reader left out or could not use
};

/// @return the largest integer code that is delivered, or 1 for floating-point samples.
double FullScale(const SourceDescription& description);

/// @return the size after the orientation is applied.
ImageSize UprightSize(const SourceDescription& description);

} // namespace qva
