// Resizes images.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

namespace lumo {

/// The base of the resizers.
class ImageScaling {
public:
    virtual ~ImageScaling() = default;
    virtual void operator()(const Matrix& src, Matrix& dst) = 0;
    /// @param newSize  {rows, cols}.
    virtual void Resize(const Matrix& src, Matrix& dst, const int newSize[2]) = 0;
};

/// Separable bilinear interpolation, first and last samples aligned. The horizontal pass rounds to
/// float; the vertical one stores with the saturation of the source's depth.
class ImageScalingBilinear : public ImageScaling {
public:
    /// output = weight0 * source[index0] + weight1 * source[index1], along one axis.
    struct INTERPOLATION_PARAMS {
        int32_t index0;
        int32_t index1;
        double weight0;
        double weight1;
    };

    /// Resizes to as many rows and columns as rowParams and colParams have entries.
    ///
    /// @param src  D8U, D16U or D32F; only read.
    /// @param dst  always re-created in src's type; a deep copy where the size agrees.
    /// @throws Exception code 3 for a size below 1, then code 2 for another depth.
    void operator()(const Matrix& src, Matrix& dst) override;

    /// Sets the size to newSize = {rows, cols} and resizes.
    void Resize(const Matrix& src, Matrix& dst, const int newSize[2]) override;

    /// The table of one axis.
    static void BuildInterpolationParams(int32_t srcSize, int32_t dstSize,
                                         Vector<INTERPOLATION_PARAMS>& params);

    Vector<INTERPOLATION_PARAMS> colParams;
    Vector<INTERPOLATION_PARAMS> rowParams;
};

} // namespace lumo
