// Statistics of the segments of a label image.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

namespace lumo {

/// One entry a segment in every array.
struct SegmentsInfo {
    Vector<double> pixelCount;
    Vector<double> mean;     ///< of all channel values; 0 without pixels
    Vector<double> stdDev;   ///< of all channel values; 0 without pixels
    Vector<double> maxValue; ///< never below 0
    Vector<double> minValue; ///< 0 without pixels
    Vector<int32_t> maxX;    ///< the smallest integer without pixels
    Vector<int32_t> minX;    ///< the largest integer without pixels
    Vector<int32_t> maxY;
    Vector<int32_t> minY;
};

class ImagSegments {
public:
    /// Measures every segment on a value image.
    ///
    /// @tparam T         uint16_t for a D16U image, float for D32F.
    /// @param image      any number of channels; only rows of its region count.
    /// @param labels     one channel of labels 0 ... numSegments - 1, the size of image.
    /// @param info       its arrays are replaced.
    /// @throws Exception code 2 where the sizes differ; info is left as it was.
    template <typename T>
    static void GetSegmentsInfo(const Matrix& image, const Matrix_t<int>& labels, int numSegments,
                                SegmentsInfo& info);
};

} // namespace lumo
