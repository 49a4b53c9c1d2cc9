// The rows of a picture as codes of a range.
#pragma once

#include "colour/range_choice.h"
#include "colour/scene_decoder.h"
#include "formats/image_source.h"
#include "light/light_steps.h"

#include <cstdint>
#include <vector>

namespace qva {

/// Reads stored rows, changes their light and codes them. Reads ahead and holds back by the rows
/// that the light steps have to see above and below, so that a row becomes the same wherever
/// reading began. The rows of a range that passes codes through are handed on as they are.
class LightRows {
public:
    /// @param source  opened; read from only.
    LightRows(ImageSource& source, const SceneDecoder& decoder, const LightSteps& light,
              const RenderRange& range);

    /// @return the row that the source has to stand at before Start(row).
    std::int64_t FirstFor(std::int64_t row) const;

    /// Goes to a row: the source stands at FirstFor(row) now.
    void Start(std::int64_t row);

    /// Reads the next rows.
    void Read(std::int64_t count, std::uint16_t* codes);

    /// The row that Read begins with.
    std::int64_t Next() const { return next_; }

    /// The row that the source stands at.
    std::int64_t SourceRow() const { return first_ + held_; }

private:
    void Hold(std::int64_t end);
    void Drop(std::int64_t first);
    void Encode(float* rgb, std::uint16_t* codes) const;

    ImageSource& source_;
    const SceneDecoder& decoder_;
    const LightSteps& light_;
    RenderRange range_;
    ImageSize size_;
    std::int64_t reach_;
    std::int64_t next_ = 0;
    std::int64_t first_ = 0;    ///< row that rows_ begins with
    std::int64_t held_ = 0;     ///< rows in rows_
    std::vector<float> rows_;   ///< decoded, not yet changed
    std::vector<float> single_; ///< one row a thread
};

} // namespace qva
