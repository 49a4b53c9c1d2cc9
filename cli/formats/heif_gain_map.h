// The gain map of a HEIF file: the item "tmap" (ISO 21496-1), or Apple's auxiliary picture.
#pragma once

#include "colour/gain_map_light.h"
#include "formats/heif_picture.h"
#include "formats/heif_view.h"
#include "formats/ycbcr_rows.h"

#include <array>
#include <memory>

namespace qva {

/// A decoded gain map.
class HeifGainMap {
public:
    /// Finds, checks and decodes the map of a picture.
    /// @param view    of the picture; that of the map must be turned alike.
    /// @param exif    of the picture: Apple's cameras tell the headroom there.
    /// @return nullptr where it has none.
    /// @throws GainMapProblem where it has one that cannot be used.
    static std::unique_ptr<HeifGainMap> Find(const std::string& path, const HeifItems& items,
                                             const HeifItem& primary, const StoredView& view,
                                             const std::vector<unsigned char>& exif,
                                             const SizeLimits& limits);

    const GainMapFile& File() const { return file_; }
    std::uint64_t DecodeBytes() const { return picture_.DecodeBytes(); }

    /// The number of the map's item.
    std::uint32_t Id() const { return id_; }

    /// A row of File().channels interleaved samples of 0 ... 1, kept until two others were asked
    /// for.
    const float* Row(std::int64_t row);

private:
    HeifGainMap(const std::string& path, const HeifItems& items, const HeifItem& map,
                const SizeLimits& limits);
    void Load(const std::string& path, const std::vector<HeifProperty>& properties,
              const StoredView& view);

    GainMapFile file_;
    std::uint32_t id_ = 0;
    HeifPicture picture_;
    StoredView view_;
    std::optional<YcbcrRows> rows_;
    std::vector<float> stored_; ///< one row of R, G, B
    struct Kept {
        std::int64_t row = -1;
        std::vector<float> samples;
    };
    std::array<Kept, 2> kept_;
};

/// What an auxiliary picture is for: the name in its property auxC, "" where it has none.
std::string AuxiliaryKind(const HeifItems& items, std::uint32_t id);

} // namespace qva
