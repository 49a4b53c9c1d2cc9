// What superpixel runs of one image share: its channels as floats and its edge map.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

namespace lumo {

/// Channel planes and edge map of an image, read-only once built; pixel i = y * cols + x.
class SlicPlanes {
public:
    /// @param src  D8U, D16U or D32F with three channels, whose values are taken as they are.
    explicit SlicPlanes(const Matrix& src);

    int64_t PixelCount() const { return static_cast<int64_t>(rows) * cols; }

    int32_t rows;
    int32_t cols;
    Vector<float> channel[3];
    /// Squared differences of the vertical and of the horizontal neighbours, summed over the
    /// channels; the largest float at the border.
    Vector<float> edge;

private:
    template <typename T>
    void Split(const Matrix& src);
    void FillEdges();
};

} // namespace lumo
