#include "colorspace/pq_decoding_curve.h"

#include "colorspace/pq.h"
#include "core/parallel.h"

#include <utility>

namespace lumo {

PQDecoding::PQDecoding(double codeMax, double codeMin, double pqMax, double pqMin, double linearMax,
                       double linearMin)
{
    const double span = (codeMax - codeMin) / (pqMax - pqMin);
    codeAtOne = codeMax + (1.0 - pqMax) * span;
    codeAtFloor = codeMin - (pqMin - pqFloor) * span;
    signalPerCode = pqFloorToOne / (codeAtOne - codeAtFloor);
    valueScale = (linearMax - linearMin) / (EOTF(pqMax) - EOTF(pqMin));
    lumiStartNeg = -EOTF(pqMin);
    valueMin = linearMin;
}

void PQDecoding::Sample(uint64_t sampleCount, LinearInterpolationFast& curve) const
{
    Vector<double> x(sampleCount);
    Vector<double> y(sampleCount);
    const auto last = static_cast<double>(sampleCount - 1);
    ParallelFor(0, static_cast<int64_t>(sampleCount), [&](int32_t i) {
        x[i] = i / last * (codeAtOne - codeAtFloor) + codeAtFloor;
        const double signal = (x[i] - codeAtFloor) * signalPerCode + pqFloor;
        y[i] = (EOTF(signal) + lumiStartNeg) * valueScale + valueMin;
    });
    curve.Initialize(std::move(x), std::move(y));
}

} // namespace lumo
