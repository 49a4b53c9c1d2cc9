// The small copy of a page that is analysed, made from its lines as they pass.
#pragma once

#include "picture/reduced_size.h"
#include "render/scan_load.h"

#include <cstdint>
#include <vector>

namespace qva {

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

    /// A digest of all codes in their order.
    std::uint64_t Digest() const { return digest_; }

private:
    void AddColumns(const std::uint16_t* codes, std::int64_t count, std::int64_t first,
                    std::int64_t last);

    void AddToDigest(const std::uint16_t* codes, std::int64_t count);

    std::int64_t lines_;
    ImageSize copy_;
    std::int64_t lineLength_;
    std::int64_t next_ = 0;
    std::vector<std::int64_t> columnStarts_; ///< first pixel of every box, and the end
    std::vector<std::uint64_t> sums_;
    std::uint64_t digest_ = 0;
};

/// Rows become columns.
Page Transposed(const Page& page);

} // namespace qva
