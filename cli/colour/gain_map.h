// Gain maps: a small second picture that says how far each pixel of the first lies from its other
// rendition, mostly how much brighter the photographed light was (ISO 21496-1).
#pragma once

#include "picture/source_description.h"

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace qva {

/// What turns the map's samples of one channel into gains. Gains are in stops from the darker
/// rendition to the brighter one; offsets are light, 1.0 being SDR white.
struct GainMapChannel {
    double min = 0.0; ///< gain of the sample 0
    double max = 1.0; ///< gain of the sample 1
    double gamma = 1.0;
    double baseOffset = 1.0 / 64.0;
    double alternateOffset = 1.0 / 64.0;
};

/// How a sample stands for a gain.
enum class GainCurve {
    Stops,       ///< min + (max - min) sample ^ (1 / gamma) stops (ISO 21496-1)
    Proportional ///< the share of the headroom's factor, coded by ITU-R BT.709: Apple's own maps
};

/// The numbers that come with a gain map. The base is the picture as stored, the alternate what
/// the map makes of it. Headrooms are stops above SDR white for which each was made.
struct GainMapNumbers {
    GainCurve curve = GainCurve::Stops;
    std::array<GainMapChannel, 3> channels; ///< not used by GainCurve::Proportional
    double baseHeadroom = 0.0;
    double alternateHeadroom = 1.0;
    bool usesBaseColours = true; ///< false: to be applied to light in the alternate's primaries
};

/// Why a gain map cannot be used: a reason such as "is of the unknown version 2". Readers go on
/// with the base picture and tell.
class GainMapProblem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the binary record, as JPEG files hold it behind the name of its APP2 segment.
/// @throws GainMapProblem for an unknown version, a record that ends early, numbers that
///         CheckGainMap refuses.
GainMapNumbers ParseGainMap(std::span<const unsigned char> record);

/// Reads the same record behind one byte of version, as the item "tmap" of AVIF and HEIC holds it.
/// @throws GainMapProblem as ParseGainMap, and for an unknown version of the item.
GainMapNumbers ParseGainMapItem(std::span<const unsigned char> payload);

/// @throws GainMapProblem for numbers that no gain map has: not finite, a gamma that is not
///         positive, more than 32 stops, a minimum above the maximum, a headroom below 0.
void CheckGainMap(const GainMapNumbers& numbers);

/// @return the headroom in stops of the brighter rendition: all light that the file holds.
double FullHeadroom(const GainMapNumbers& numbers);

/// The share of the gains that leads from the base to the rendition for a headroom in stops:
/// 0 ... 1 where the alternate is the brighter one, -1 ... 0 where the base is.
double GainWeight(const GainMapNumbers& numbers, double headroom);

/// Applies a gain map row by row to a picture of the same or another size: samples lie in the
/// centres of their pixels, and the map is interpolated between its four nearest samples.
/// Read-only after construction; Apply takes no memory.
class GainMapper {
public:
    /// A row of the picture lies between two rows of the map, which are one at the border.
    struct Rows {
        std::int64_t upper;
        std::int64_t lower;
        float fraction; ///< 0 at the upper row ... 1 at the lower
    };

    /// @param mapChannels  1 or 3.
    /// @param headroom     stops, as in GainWeight.
    GainMapper(const GainMapNumbers& numbers, ImageSize map, int mapChannels, ImageSize picture,
               double headroom);

    /// @param row  0 ... rows of the picture - 1. Neither row of the map goes back as it grows.
    Rows RowsFor(std::int64_t row) const;

    /// @param upper, lower  the rows of the map, mapChannels interleaved samples of 0 ... 1 each.
    /// @param rgb  one row of the picture in linear light, 1.0 being SDR white; changed in place.
    ///             No light becomes negative that was not.
    void Apply(const Rows& rows, const float* upper, const float* lower, float* rgb) const;

private:
    struct Place {
        std::uint32_t left;
        std::uint32_t right;
        float fraction;
    };

    void BuildGains(const GainMapNumbers& numbers, double headroom);
    float GainAt(int channel, float sample) const;

    ImageSize map_;
    int channels_;
    ImageSize picture_;
    bool isGrey_ = false;        ///< one gain for all channels
    std::vector<Place> columns_; ///< of every column of the picture, in samples of a map row
    std::array<std::vector<float>, 3> gains_; ///< factors, over samples of 0 ... 1
    std::array<float, 3> baseOffsets_{};
    std::array<float, 3> alternateOffsets_{};
};

} // namespace qva
