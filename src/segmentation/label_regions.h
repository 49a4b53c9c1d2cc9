// Connected regions of a label image.
#pragma once

#include "core/matrix.h"

#include <cstdint>

namespace lumo {

/// Renumbers the connected regions (four neighbours) of `labels` densely, in the raster order of
/// their first pixels. A region of at most `limit` pixels takes the number of a region next to its
/// first pixel (the last of left, up, right, down that already has one; 0 where none has) and does
/// not advance the count.
///
/// @param labels  D32S, one channel; refers to a new buffer afterwards.
/// @returns the number of regions, 0 where every region was folded away.
int32_t NumberRegions(Matrix& labels, int64_t limit);

} // namespace lumo
