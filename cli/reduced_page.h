// The small copy of a page that is analysed, made from its lines as they pass.
#pragma once

#include "page.h"

#include <cstdint>
#include <vector>

namespace qva {

/// The size of the copy: unchanged up to the given longer side, else reduced to it.
ImageSize ReducedSize(ImageSize page, std::int64_t longerSide);

/// Averages boxes of pixels. Sums are whole numbers, so that the copy is the same in whatever
/// blocks the lines come, on every machine.
class PageReducer {
public:
    /// @param lines       of the page.
    /// @param lineLength  pixels.
    /// @param copy        columns along a line, rows across lines; no larger than the page.
    PageReducer(std::int64_t lines, std::int64_t lineLength, ImageSize copy);

    /// Takes the next lines.
    void Add(const std::uint16_t* codes, std::int64_t count);

    /// The averages, rounded to the nearest code, with lines as rows.
    Page Result() const;

    /// A number that any change of any code changes, but for a chance of one in 2^64.
    std::uint64_t Digest() const;

private:
    void AddColumns(const std::uint16_t* codes, std::int64_t count, std::int64_t first,
                    std::int64_t last);

    std::int64_t lines_;
    ImageSize copy_;
    std::int64_t lineLength_;
    std::int64_t next_ = 0;
    std::vector<std::int64_t> columnStarts_; ///< first pixel of every box, and the end
    std::vector<std::uint64_t> sums_;
};

/// Rows become columns.
Page Transposed(const Page& page);

} // namespace qva
