// One tone curve, built from the histogram of an image region.
#pragma once

#include "core/linear_interpolation.h"
#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// A monotone curve from input codes histMin ... histMax to output codes from outMin on: slope 1
/// below a threshold, a slope that follows the cube root of the histogram above it, a soft
/// transition up to a knee, slopes between minSlope and maxSlope, and a total rise equal to the
/// output range where the limits allow it.
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
