// The upright page as lines of codes, read from its file again and again without holding it.
#pragma once

#include "base/progress.h"
#include "colour/range_choice.h"
#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "page/band_plan.h"
#include "page/turned_lines.h"
#include "render/light_rows.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// Where the lines of a page come from.
struct LineOrder {
    bool across = false;   ///< lines run across the stored rows
    bool backward = false; ///< the last line is stored first
    bool mirrored = false; ///< the last pixel of a line is stored first
};

/// @param orientation  1 ... 8, as stored.
LineOrder OrderOf(int orientation, Direction direction);

/// Why a page is decoded into a scratch file; empty where it is not.
std::string ScratchReasonOf(const SourceDescription& description, Direction direction);

/// Lines in the order of the page. A file whose rows come in another order is decoded once into a
/// scratch file.
class PageLines {
public:
    /// @param source   opened; only its description is used yet.
    /// @param folder   where a scratch file can lie.
    PageLines(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
              const RenderRange& range, Direction direction, const SizeLimits& limits,
              const std::string& folder);

    std::string ScratchReason() const { return scratchReason_; }

    /// Goes to a line. The first call of all decodes the page where it needs a scratch file.
    void Seek(std::int64_t line, Progress& progress);

    /// Reads the next lines.
    void Read(std::int64_t count, std::uint16_t* codes);

    /// The line that Read begins with.
    std::int64_t Next() const { return next_; }

private:
    void SeekStored(std::int64_t row);
    void ReadStored(std::int64_t count, std::uint16_t* codes);
    void Spool(Progress& progress);
    void PlaceRows(std::int64_t first, std::int64_t count, std::uint16_t* codes);

    ImageSource& source_;
    std::string path_;
    LightRows rows_;
    LineOrder order_;
    std::string scratchReason_;
    SizeLimits limits_;
    std::string folder_;
    ImageSize stored_;
    std::int64_t next_ = 0;
    bool isOpen_ = false; ///< and read by rows_
    std::optional<TurnedLines> scratch_;
};

} // namespace qva
