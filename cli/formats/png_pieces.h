// Pieces of a PNG's data, each made by itself.
#pragma once

#include "formats/deflater.h"
#include "picture/source_description.h"

#include <cstdint>
#include <vector>

namespace qva {

/// Rows of a piece of about a quarter of a megabyte.
std::int64_t PngPieceRows(ImageSize size);

/// Rows of a picture of 16-bit R, G, B.
struct PngRows {
    const std::uint16_t* codes = nullptr;
    const std::uint16_t* above =
        nullptr;            ///< the row before the first; none for the picture's first
    std::int64_t first = 0; ///< of the picture
    std::int64_t count = 0;
};

struct PngPiece {
    std::vector<unsigned char> bytes; ///< of the deflate stream
    std::size_t length = 0;           ///< before compression, in bytes
    std::uint32_t checksum = 0;       ///< Adler-32 of these
};

/// Filters and deflates rows, on one thread.
class PngPieceEncoder {
public:
    /// @param isPacked  false: rows are stored as they are.
    PngPieceEncoder(ImageSize size, bool isPacked);

    void Encode(const PngRows& rows, PngPiece& piece);

private:
    void Filter(const PngRows& rows);
    void Store(bool isLast, std::vector<unsigned char>& out) const;

    ImageSize size_;
    bool isPacked_;
    Deflater deflater_;
    std::vector<unsigned char> filtered_;
    std::vector<unsigned char> above_; ///< a row as bytes in the file's order, a black pixel before
    std::vector<unsigned char> row_;
};

} // namespace qva
