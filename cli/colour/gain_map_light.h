// A picture with its gain map as one source of light: what readers of such files deliver.
#pragma once

#include "colour/base_light.h"
#include "colour/gain_map.h"

#include <optional>
#include <string>
#include <vector>

namespace qva {

/// What a reader found out about a gain map; the samples stay with it.
struct GainMapFile {
    GainMapNumbers numbers;
    std::string kind; ///< for people: "ISO 21496-1"
    ImageSize size;
    int channels = 1;                        ///< 1 or 3
    std::optional<Chromaticities> alternate; ///< primaries of the other rendition, where stated
};

/// Turns rows of codes into rows of light. Apply changes nothing of the object.
class GainMapLight {
public:
    /// @param base      describes the codes, as it would be without a map.
    /// @param headroom  stops of which use is made; all where not given.
    /// @throws GainMapProblem where the base's colours cannot be told.
    GainMapLight(const SourceDescription& base, const GainMapFile& map,
                 const std::optional<double>& headroom);

    /// Makes the description one of linear light, with findings about base, map and headroom.
    void Describe(SourceDescription& description) const;

    /// Which rows of the map a row of the picture lies between.
    GainMapper::Rows RowsFor(std::int64_t row) const { return mapper_.RowsFor(row); }

    /// @param upper, lower  those rows of the map, interleaved samples of 0 ... 1.
    /// @param rgb           a row of codes; becomes light, 1.0 being SDR white.
    void Apply(const GainMapper::Rows& rows, const float* upper, const float* lower,
               float* rgb) const;

private:
    void ChooseColours(const GainMapFile& map);

    ImageSize size_;
    BaseLight base_;
    std::vector<Finding> findings_;
    std::vector<std::string> notes_;
    std::optional<Matrix3> matrix_; ///< to the primaries that the gains hold for
    Chromaticities primaries_;
    GainMapper mapper_;
};

} // namespace qva
