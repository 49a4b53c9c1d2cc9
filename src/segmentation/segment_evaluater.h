// Chooses how many segments an image is divided into.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "segmentation/fast_slic.h"

namespace lumo {

/// Tries every candidate count and keeps the division with the best score. For k segments that is
/// (1/k) Σ pixelCount exp(-alpha stdDev): few segments and even ones win.
class SegmentEvaluater {
public:
    SegmentEvaluater(const FastSlic& slic, double alpha) : slic_(slic), alpha_(alpha) {}

    /// @tparam T              uint16_t for D16U images, float for D32F.
    /// @param src             the three-channel image to divide.
    /// @param image           one channel, the same size: homogeneity is measured on it.
    /// @param numSegmentsSet  1 ... 8 candidates of 1 ... 5000; the first best one wins.
    /// @returns how many labels the winner has; they stay in labels_.
    /// @throws Exception code 3 for more than 8 candidates, for none (empty message), or for one
    ///         outside its range; all before any work.
    template <typename T>
    int CalculateOptimalSegmentsNumber(const Matrix& src, const Matrix& image,
                                       const Vector<int>& numSegmentsSet);

    /// The same with the image to divide as planes.
    template <typename T>
    int CalculateOptimalSegmentsNumber(const SlicPlanes& planes, const Matrix& image,
                                       const Vector<int>& numSegmentsSet);

    Matrix_t<int> labels_;
    FastSlic slic_;
    double alpha_;
    int32_t optimalSegmentsNumber_ = 0;
};

} // namespace lumo
