// What superpixel runs of one image share: its channels as floats.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

namespace lumo {

/// Channel planes of an image, read-only once built; pixel i = y * cols + x.
class SlicPlanes {
public:
    /// @param src  D8U, D16U or D32F with three channels, whose values are taken as they are.
    explicit SlicPlanes(const Matrix& src);
    /// @param src  one channel each, D16U or D32F, of one size.
    explicit SlicPlanes(const Matrix (&src)[3]);

    int64_t PixelCount() const { return static_cast<int64_t>(rows) * cols; }

    int32_t rows;
    int32_t cols;
    Vector<float> channel[3];

    /// Squared differences of the vertical and of the horizontal neighbours, summed over the
    /// channels; the largest float at the border.
    float Edge(int64_t pixel) const;

private:
    void Allocate();
    template <typename T>
    void Split(const Matrix& src);
    float Across(int64_t before, int64_t after) const;
};

} // namespace lumo
