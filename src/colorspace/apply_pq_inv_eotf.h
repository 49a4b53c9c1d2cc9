// Linear code values to PQ-coded values through three sampled tables.
#pragma once

#include "core/interpolate.h"
#include "core/linear_interpolation.h"

namespace lumo {

/// One luminance band of the mapping.
struct PQSegment {
    double xMax;
    double xMin;
    double yMax;
    double yMin;
    double lumiSlope;  ///< cd/m2 per source unit
    double lumiStart;  ///< cd/m2 at xMin
    double outScale;   ///< destination units per unit of signal
    double pqStartNeg; ///< minus the signal of lumiStart
    LinearInterpolationFast curve;
};

/// Samples of each band.
constexpr int32_t pqBandSamples = 8192;

/// What a block kernel needs of the three bands, whose samples follow one another.
struct PQBands {
    const double* samples;
    double xFirst[3];
    double width[3];
    double knot1;
    double knot2;
};

/// From codes in proportion to light (srcMin is srcLumiMin, srcMax is srcLumiMax) to codes in
/// proportion to the PQ signal, dstMin ... dstMax over the same light. PQ is steep where it is
/// dark; three tables of 8,192 samples, the first over 0.15 % of the source, follow it closely
/// enough.
class ApplyPQInvEOTF {
public:
    /// @throws Exception code 3 as EnsureArguments; what an allocation throws.
    ApplyPQInvEOTF(double sourceMax, double sourceMin, double sourceLumiMax, double sourceLumiMin,
                   double destinationMax, double destinationMin);
    ApplyPQInvEOTF(const ApplyPQInvEOTF&) = delete;
    ApplyPQInvEOTF& operator=(const ApplyPQInvEOTF&) = delete;
    virtual ~ApplyPQInvEOTF();

    /// @throws Exception code 3 at the first of: srcMin >= srcMax; srcLumiMax > 10000;
    ///         srcLumiMin < 0; srcLumiMin >= srcLumiMax; dstMax > 65535; dstMin < 0;
    ///         dstMin >= dstMax.
    static void EnsureArguments(double srcMax, double srcMin, double srcLumiMax, double srcLumiMin,
                                double dstMax, double dstMin);

    double operator()(double value) const;

    /// The tables, laid out for a block kernel; valid as long as the object.
    PQBands Bands() const;

    double knot1 = 0.0;
    double knot1Out = 0.0;
    double knot1Lumi = 0.0;
    double knot2 = 0.0;
    double knot2Out = 0.0;
    double knot2Lumi = 0.0;
    double srcMax;
    double dstMax;
    double srcLumiMax;
    double srcMin;
    double dstMin;
    double srcLumiMin;
    PQSegment* segments[3] = {nullptr, nullptr, nullptr};

private:
    void PlaceKnots();
    void BuildSegments();
    void ReleaseSegments();

    Vector<double> samples_;
};

/// Where a value lies in the bands' samples, for block kernels.
LUMO_INLINE void LocatePQ(const PQBands& bands, double value, int32_t& index, double& fraction)
{
    constexpr double last = pqBandSamples - 1;
    const bool dark = bands.knot1 >= value;
    const bool middle = bands.knot2 >= value;
    const int32_t start = dark ? 0 : (middle ? pqBandSamples : 2 * pqBandSamples);
    const double xFirst = dark ? bands.xFirst[0] : (middle ? bands.xFirst[1] : bands.xFirst[2]);
    const double width = dark ? bands.width[0] : (middle ? bands.width[1] : bands.width[2]);
    ClampPosition((value - xFirst) * last / width, last, start, index, fraction);
}

} // namespace lumo
