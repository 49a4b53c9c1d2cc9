// How many pixels of a segment lie around every position.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// A rectangle of label positions, inclusive; empty where a minimum exceeds its maximum.
struct LabelBox {
    int32_t minX;
    int32_t maxX;
    int32_t minY;
    int32_t maxY;
};

/// The box grown by r, inside the label image.
LabelBox Widen(const LabelBox& box, int32_t r, const Matrix& labels);

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
/// (x - r, x + r], both ends clamped into the image first.
class WindowCounter {
public:
    /// @param box  bounds of the segment; not empty.
    WindowCounter(const Matrix_t<int>& labels, int32_t s, const LabelBox& box, int32_t r);

    /// The widened box, to which the counts are limited.
    const LabelBox& Region() const { return region_; }
    /// Counts of row y of the region, from its first column on; valid until the next call.
    const float* Row(int32_t y);

private:
    void Accumulate(const Matrix_t<int>& labels, int32_t s);
    void RowOfIntegers(int32_t top, int32_t bottom);
    void RowOfFloats(int32_t top, int32_t bottom);

    LabelBox box_;
    LabelBox region_;
    int32_t r_;
    int32_t rows_;
    int32_t cols_;
    bool exact_;             // counts stay far below 2^24, where floats stop being exact
    Vector<int32_t> sums_;   // integral image of the box below a row of zeros
    Vector<int32_t> column_; // difference of two of its rows
    Matrix integral_;        // of the whole image, where integers would differ
    Vector<float> counts_;
};

} // namespace lumo
