// What the pixels of a row add to their clusters, for several superpixel runs side by side.
#pragma once

#include <cstdint>

namespace lumo {

/// Sums over the pixels of one cluster, in float, pixel after pixel.
struct SlicSums {
    float c[3];
    float x;
    float y;
    int32_t count;
};

/// Runs that can go side by side.
constexpr int32_t slicLanes = 8;

/// The largest of many values is the largest of these.
struct SlicLargest {
    float value[slicLanes];
};

/// One superpixel run as a row sees it.
struct SlicLane {
    const int32_t* label; ///< of the row
    const float* colour;  ///< colour distances of the row
    SlicSums* sums;       ///< by cluster
    SlicLargest* largest; ///< by cluster: colour distances
};

/// Bytes that AddSlicRow needs as scratch.
constexpr uint64_t SlicScratchSize(int32_t cols)
{
    return static_cast<uint64_t>(cols) + 8;
}

/// Adds row y to sums and largest distances of every lane's clusters. The sums of a cluster follow
/// the order of its pixels, whatever the other lanes do.
/// @param lanes    1 ... slicLanes of them.
/// @param channel  the row of each channel.
void AddSlicRow(const SlicLane* lanes, int32_t count, const float* const* channel, int32_t cols,
                int32_t y, uint8_t* scratch);

} // namespace lumo
