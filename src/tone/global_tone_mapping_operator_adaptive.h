// The tone curve of one segment.
#pragma once

#include "core/linear_interpolation.h"
#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// Spends the output codes where the pixels are. Shadows up to the threshold are copied code for
/// code; above it each of numBins steps rises with the cube root of its pixel count, never so
/// little that tones merge (minSlope) nor so much that they spread (maxSlope). What that leaves
/// over of the output range, or lacks, is shared out among the steps that still can give or take.
/// Between threshold and knee one manner fades into the other.
class GlobalToneMappingOperatorAdaptive {
public:
    /// The threshold is clamped into [histMin, histMax].
    void SetParameters(double inputMax, double inputMin, double outputMax, double outputMin,
                       double thresholdCode, double kneeCode, int32_t bins, double slopeMax,
                       double slopeMin);

    /// Builds the curve of the pixels of src whose mask is above 0.
    /// @param src   D8U, D16U or D32F.
    /// @param mask  as ImageHistogram takes it.
    /// @throws Exception code 2 for the depth of src, code 3 for numBins 0, then as ImageHistogram.
    void MakeLUT(const Matrix& src, const Matrix& mask);

    /// The same from counts that the caller has.
    /// @param counts  numBins of them; copied.
    void MakeLUT(const Vector<double>& counts);

    Vector<double> slopes;
    LinearInterpolationFast lut;
    Vector<double> histogram;
    double histMax = 0.0;
    double histMin = 0.0;
    double outMax = 0.0;
    double outMin = 0.0;
    double threshold = 0.0;
    double knee = 0.0;
    int32_t numBins = 0;
    double maxSlope = 0.0;
    double minSlope = 0.0;
    double binsPerUnit = 0.0;
    double binWidth = 0.0;

private:
    void EnsureBins() const;
    void ComputeSlopes();
    int32_t FirstBinAbove() const;
    void FollowHistogram(int32_t first);
    void BlendToKnee(int32_t first);
    void ClipSlopes(int32_t first);
    void Balance(int32_t first);
    void RaiseSlopes(int32_t first, double amount);
    void LowerSlopes(int32_t first, double amount);
    void BuildLut();
};

} // namespace lumo
