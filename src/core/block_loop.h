// The loop over the blocks of an image.
#pragma once

#include "core/parallel.h"
#include "core/pixel_block.h"

#include <algorithm>
#include <cstdint>

namespace lumo {

/// Calls body(col, count) for the blocks of a row, from the left.
template <typename Body>
void ForEachBlock(int32_t cols, Body&& body)
{
    for (int32_t col = 0; col < cols; col += blockSize) {
        body(col, std::min(blockSize, cols - col));
    }
}

/// Calls body(row, col, count, scratch) for the blocks of rows first ... last - 1 in parallel, each
/// thread with its own scratch = prepare(), as ParallelRangesWith.
template <typename Prepare, typename Body>
void ForEachBlockWith(int64_t first, int64_t last, int32_t cols, Prepare&& prepare, Body&& body)
{
    ParallelRangesWith(first, last, prepare, [&](int64_t begin, int64_t end, auto& scratch) {
        for (auto row = static_cast<int32_t>(begin); row < end; ++row) {
            ForEachBlock(cols, [&](int32_t col, int32_t count) { body(row, col, count, scratch); });
        }
    });
}

/// The same with a PixelBlock as scratch.
template <typename Body>
void ForEachBlock(int64_t first, int64_t last, int32_t cols, Body&& body)
{
    ForEachBlockWith(
        first, last, cols, [] { return PixelBlock(); }, body);
}

} // namespace lumo
