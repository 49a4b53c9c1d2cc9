#include "colorspace/apply_pq_inv_eotf.h"

#include "colorspace/pq.h"
#include "core/parallel.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace lumo {
namespace {

struct BandEnd {
    double x;
    double y;
    double luminance;
};

void FillCurve(PQSegment& segment)
{
    Vector<double> x(pqBandSamples);
    Vector<double> y(pqBandSamples);
    ParallelFor(0, pqBandSamples, [&](int32_t i) {
        x[i] = (i / 8191.0) * (segment.xMax - segment.xMin) + segment.xMin;
        const double luminance = (x[i] - segment.xMin) * segment.lumiSlope + segment.lumiStart;
        y[i] = (PQ(luminance) + segment.pqStartNeg) * segment.outScale + segment.yMin;
    });
    segment.curve.Initialize(std::move(x), std::move(y));
}

PQSegment* NewSegment(const BandEnd& low, const BandEnd& high)
{
    auto segment = std::make_unique<PQSegment>();
    segment->xMax = high.x;
    segment->xMin = low.x;
    segment->yMax = high.y;
    segment->yMin = low.y;
    segment->lumiSlope = (high.luminance - low.luminance) / (high.x - low.x);
    segment->lumiStart = low.luminance;
    segment->outScale = (high.y - low.y) / (PQ(high.luminance) - PQ(low.luminance));
    segment->pqStartNeg = -PQ(low.luminance);
    FillCurve(*segment);
    return segment.release();
}

void Require(bool condition, const char* message)
{
    if (!condition) {
        throw Exception(exceptionArgument, message);
    }
}

} // namespace

void ApplyPQInvEOTF::EnsureArguments(double srcMax, double srcMin, double srcLumiMax,
                                     double srcLumiMin, double dstMax, double dstMin)
{
    Require(!(srcMin >= srcMax),
            "Error in ApplyPQInvEOTF::EnsureArguments, srcMax must be greater than srcMin");
    Require(!(srcLumiMax > pqPeak),
            "Error in ApplyPQInvEOTF::EnsureArguments, srcLumiMax must be smaller than 10000");
    Require(!(srcLumiMin < 0.0),
            "Error in ApplyPQInvEOTF::EnsureArguments, srcLumiMin must be greater than 0");
    Require(!(srcLumiMin >= srcLumiMax),
            "Error in ApplyPQInvEOTF::EnsureArguments, srcLumiMax must be greater than srcLumiMin");
    Require(!(dstMax > 65535.0),
            "Error in ApplyPQInvEOTF::EnsureArguments, dstMax must be smaller than 65535");
    Require(!(dstMin < 0.0),
            "Error in ApplyPQInvEOTF::EnsureArguments, dstMin must be greater than 0");
    Require(!(dstMin >= dstMax),
            "Error in ApplyPQInvEOTF::EnsureArguments, dstMax must be greater than dstMin");
}

ApplyPQInvEOTF::ApplyPQInvEOTF(double sourceMax, double sourceMin, double sourceLumiMax,
                               double sourceLumiMin, double destinationMax, double destinationMin)
    : srcMax(sourceMax),
      dstMax(destinationMax),
      srcLumiMax(sourceLumiMax),
      srcMin(sourceMin),
      dstMin(destinationMin),
      srcLumiMin(sourceLumiMin)
{
    EnsureArguments(srcMax, srcMin, srcLumiMax, srcLumiMin, dstMax, dstMin);
    PlaceKnots();
    try {
        BuildSegments();
    } catch (...) {
        ReleaseSegments();
        throw;
    }
}

ApplyPQInvEOTF::~ApplyPQInvEOTF()
{
    ReleaseSegments();
}

double ApplyPQInvEOTF::operator()(double value) const
{
    if (knot1 >= value) {
        return segments[0]->curve.Evaluate(value);
    }
    return segments[knot2 >= value ? 1 : 2]->curve.Evaluate(value);
}

PQBands ApplyPQInvEOTF::Bands() const
{
    PQBands bands = {};
    bands.samples = samples_.data;
    bands.knot1 = knot1;
    bands.knot2 = knot2;
    for (int band = 0; band < 3; ++band) {
        const LinearInterpolationFast& curve = segments[band]->curve;
        bands.xFirst[band] = curve.xFirst;
        bands.width[band] = curve.xLast - curve.xFirst;
    }
    return bands;
}

// The bands meet at a third and at two thirds of the signal, for a source that reaches the curve's
// 10000 cd/m2; where it reaches less they stay at the same part of srcMax.
void ApplyPQInvEOTF::PlaceKnots()
{
    const double lumiRange = srcLumiMax - srcLumiMin;
    const double slope = lumiRange / (srcMax - srcMin);
    const double scale = (dstMax - dstMin) / (PQ(srcLumiMax) - PQ(srcLumiMin));
    knot1 = EOTF(0.3333333333333333) * srcMax / pqPeak;
    knot2 = EOTF(0.6666666666666666) * srcMax / pqPeak;
    const auto out = [&](double knot) {
        return (PQ((knot - srcMin) * slope + srcLumiMin) - PQ(srcLumiMin)) * scale + dstMin;
    };
    knot1Out = out(knot1);
    knot2Out = out(knot2);
    knot1Lumi = knot1 * lumiRange / srcMax + srcLumiMin;
    knot2Lumi = knot2 * lumiRange / srcMax + srcLumiMin;
}

void ApplyPQInvEOTF::BuildSegments()
{
    const BandEnd ends[4] = {{srcMin, dstMin, srcLumiMin},
                             {knot1, knot1Out, knot1Lumi},
                             {knot2, knot2Out, knot2Lumi},
                             {srcMax, dstMax, srcLumiMax}};
    samples_ = Vector<double>(3 * pqBandSamples);
    for (int band = 0; band < 3; ++band) {
        segments[band] = NewSegment(ends[band], ends[band + 1]);
        const Vector<double>& y = segments[band]->curve.luty;
        std::copy(y.data, y.data + y.size, samples_.data + band * pqBandSamples);
    }
    for (const PQSegment* segment : segments) {
        Require(segment != nullptr, "Error in ApplyPQInvEOTF::ApplyPQInvEOTF, set lut is failed");
    }
}

void ApplyPQInvEOTF::ReleaseSegments()
{
    for (PQSegment*& segment : segments) {
        delete segment;
        segment = nullptr;
    }
}

} // namespace lumo
