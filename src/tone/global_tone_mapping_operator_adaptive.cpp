#include "tone/global_tone_mapping_operator_adaptive.h"

#include "core/exception.h"
#include "tone/image_histogram.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr int balanceRounds = 9;

} // namespace

void GlobalToneMappingOperatorAdaptive::SetParameters(double inputMax, double inputMin,
                                                      double outputMax, double outputMin,
                                                      double thresholdCode, double kneeCode,
                                                      int32_t bins, double slopeMax,
                                                      double slopeMin)
{
    histMax = inputMax;
    histMin = inputMin;
    outMax = outputMax;
    outMin = outputMin;
    threshold = std::max(std::min(thresholdCode, histMax), histMin);
    knee = kneeCode;
    numBins = bins;
    maxSlope = slopeMax;
    minSlope = slopeMin;
    binsPerUnit = numBins / (histMax - histMin);
    binWidth = 1.0 / binsPerUnit;
}

void GlobalToneMappingOperatorAdaptive::MakeLUT(const Vector<double>& counts)
{
    EnsureBins();
    counts.CopyTo(histogram);
    ComputeSlopes();
    BuildLut();
}

void GlobalToneMappingOperatorAdaptive::EnsureBins() const
{
    if (numBins == 0) {
        throw Exception(exceptionArgument,
                        "Error in ImageHistogram::operator(), numBins must be greater than 0");
    }
}

void GlobalToneMappingOperatorAdaptive::ComputeSlopes()
{
    slopes = Vector<double>(static_cast<uint64_t>(numBins), minSlope);
    const int32_t first = FirstBinAbove();
    std::fill(slopes.data, slopes.data + first, maxSlope);
    FollowHistogram(first);
    BlendToKnee(first);
    for (int32_t i = first; i < numBins; ++i) {
        slopes[i] = std::max(slopes[i], minSlope);
    }
    ClipSlopes(first);
    Balance(first);
}

int32_t GlobalToneMappingOperatorAdaptive::FirstBinAbove() const
{
    const double position = (threshold - histMin) * binsPerUnit;
    if (!(position > 0.0)) {
        return 0;
    }
    return position >= numBins ? numBins : static_cast<int32_t>(position);
}

void GlobalToneMappingOperatorAdaptive::FollowHistogram(int32_t first)
{
    double sum = 0.0;
    for (int32_t i = first; i < numBins; ++i) {
        slopes[i] = std::pow(histogram[i], 1.0 / 3.0);
        sum += slopes[i];
    }
    if (sum > 0.0) {
        const double factor = (outMax - threshold) / (sum * binWidth);
        for (int32_t i = first; i < numBins; ++i) {
            slopes[i] *= factor;
        }
    }
}

void GlobalToneMappingOperatorAdaptive::BlendToKnee(int32_t first)
{
    if (!(knee > threshold)) {
        return;
    }
    for (int32_t i = first; i < numBins; ++i) {
        const double x = histMin + (static_cast<double>(i) / (numBins - 1)) * (histMax - histMin);
        if (x <= knee) {
            const double w = (x - threshold) / (knee - threshold);
            slopes[i] = w * slopes[i] + (1.0 - w);
        }
    }
}

// What bins above the limit lose goes to the bins below it that hold pixels, evenly and only up to
// the limit; the rest is lost.
void GlobalToneMappingOperatorAdaptive::ClipSlopes(int32_t first)
{
    double excess = 0.0;
    int32_t receivers = 0;
    const auto receives = [&](int32_t i) { return histogram[i] > 0.0; };
    Vector<uint8_t> listed(static_cast<uint64_t>(numBins), uint8_t{0});
    for (int32_t i = first; i < numBins; ++i) {
        if (slopes[i] > maxSlope) {
            excess += slopes[i] - maxSlope;
            slopes[i] = maxSlope;
        } else if (receives(i)) {
            listed[i] = 1;
            ++receivers;
        }
    }
    if (receivers == 0) {
        return;
    }
    const double share = excess / receivers;
    for (int32_t i = first; i < numBins; ++i) {
        if (listed[i] != 0) {
            slopes[i] = std::min(slopes[i] + share, maxSlope);
        }
    }
}

void GlobalToneMappingOperatorAdaptive::Balance(int32_t first)
{
    for (int round = 0; round < balanceRounds; ++round) {
        double total = 0.0;
        for (int32_t i = 0; i < numBins; ++i) {
            total += slopes[i];
        }
        const double missing = (outMax - outMin) * binsPerUnit - total;
        if (std::abs(missing) <= std::numeric_limits<double>::min()) {
            return;
        }
        if (missing > 0.0) {
            RaiseSlopes(first, missing);
        } else {
            LowerSlopes(first, missing);
        }
    }
}

void GlobalToneMappingOperatorAdaptive::RaiseSlopes(int32_t first, double amount)
{
    const auto qualifies = [&](double slope) { return slope < maxSlope; };
    const auto count = std::count_if(slopes.data + first, slopes.data + numBins, qualifies);
    for (int32_t i = first; i < numBins; ++i) {
        if (qualifies(slopes[i])) {
            slopes[i] = std::min(slopes[i] + amount / static_cast<double>(count), maxSlope);
        }
    }
}

void GlobalToneMappingOperatorAdaptive::LowerSlopes(int32_t first, double amount)
{
    const auto qualifies = [&](double slope) { return slope > minSlope; };
    const auto count = std::count_if(slopes.data + first, slopes.data + numBins, qualifies);
    for (int32_t i = first; i < numBins; ++i) {
        if (qualifies(slopes[i])) {
            slopes[i] = std::max(slopes[i] + amount / static_cast<double>(count), minSlope);
        }
    }
}

void GlobalToneMappingOperatorAdaptive::BuildLut()
{
    const auto knots = static_cast<uint64_t>(numBins) + 1;
    Vector<double> x(knots);
    Vector<double> y(knots);
    x[0] = histMin;
    y[0] = outMin;
    for (int32_t i = 1; i <= numBins; ++i) {
        x[i] = histMin + i * binWidth;
        y[i] = y[i - 1] + slopes[i - 1] * binWidth;
    }
    lut.Initialize(x, y);
}

} // namespace lumo
