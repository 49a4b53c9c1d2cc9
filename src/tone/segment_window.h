// How many pixels of a segment lie around every position.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// A rectangle of label positions, inclusive; empty where a minimum exceeds its maximum.
struct LabelBox {
    int32_t minX = 0;
    int32_t maxX = -1;
    int32_t minY = 0;
    int32_t maxY = -1;

    int32_t Width() const { return maxX - minX + 1; }
};

/// @throws Exception code 2 if labels has not one channel.
void EnsureLabelChannels(const Matrix& labels);

/// mask = 1 where the label is s, else 0: D8U of the labels' size.
/// @throws Exception code 2 if labels has not one channel.
void GetSegmentMask(const Matrix_t<int>& labels, int32_t s, Matrix& mask);

/// integral(y, x) = the sum of mask over rows 0 ... y and columns 0 ... x, in float.
/// @param mask  D8U. @param integral re-created as D32F.
/// @throws Exception code 2 if mask has not one channel.
void MakeIntegralImage(const Matrix& mask, Matrix& integral);

/// Counts the pixels of one segment in square windows: those in rows (y - r, y + r] and columns
/// (x - r, x + r], both ends clamped into the image first. Read-only once built.
class WindowCounter {
public:
    /// Counts nothing anywhere.
    WindowCounter() = default;
    /// @param box  bounds of the segment; not empty.
    WindowCounter(const Matrix_t<int>& labels, int32_t s, const LabelBox& box, int32_t r);

    /// The box widened by r, to which the counts are limited.
    const LabelBox& Region() const { return region_; }
    /// Floats that Row needs as scratch.
    int32_t ScratchSize() const { return region_.Width() + 2 * reach_; }
    /// Counts of row y of the region, from its first column on.
    void Row(int32_t y, float* scratch, float* counts) const;

private:
    void Accumulate(const Matrix_t<int>& labels, int32_t s);
    void RowOfIntegers(int32_t top, int32_t bottom, float* scratch, float* counts) const;
    void RowOfFloats(int32_t top, int32_t bottom, float* counts) const;

    LabelBox box_;
    LabelBox region_;
    int32_t r_ = 0;
    int32_t reach_ = 0; // r, but not beyond the image
    int32_t rows_ = 0;
    int32_t cols_ = 0;
    bool exact_ = true;    // counts stay far below 2^24, where floats stop being exact
    Vector<int32_t> sums_; // integral image of the box below a row of zeros
    Matrix integral_;      // of the whole image, where integers would differ
};

} // namespace lumo
