// The rows of a picture as codes of a range.
#pragma once

#include "formats/image_source.h"
#include "render/row_encoder.h"

#include <cstdint>
#include <vector>

namespace qva {

/// Reads stored rows, changes their light and codes them on all threads. Reads ahead and holds back
/// by the rows that the light steps have to see above and below, so that a row becomes the same
/// wherever reading began. The rows of a range that passes codes through are handed on as they are.
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
    void ReadAlone(std::int64_t count, std::uint16_t* codes);
    void ReadStored(std::int64_t count, std::uint16_t* samples, float* rgb);
    void ReadAmongOthers(std::int64_t count, std::uint16_t* codes);
    void Hold(std::int64_t end);
    void Drop(std::int64_t first);

    ImageSource& source_;
    RowEncoder encoder_;
    ImageSize size_;
    bool has16Bits_; ///< samples of the source
    ScratchRows scratch_;
    std::int64_t next_ = 0;
    std::int64_t first_ = 0;             ///< row that rows_ begins with
    std::int64_t held_ = 0;              ///< rows in rows_
    std::vector<float> rows_;            ///< decoded, not yet changed
    std::vector<std::uint16_t> samples_; ///< of the rows that are being decoded
};

} // namespace qva
