// The sampled curve from PQ codes to linear values.
#pragma once

#include "core/linear_interpolation.h"

namespace lumo {

/// How codes lie on the whole PQ signal range, and what their luminances become.
struct PQDecoding {
    /// Codes codeMin ... codeMax stand for signals pqMin ... pqMax, whose luminances become
    /// valueMin ... valueMax.
    PQDecoding(double codeMax, double codeMin, double pqMax, double pqMin, double linearMax,
               double linearMin);

    /// Fills `curve` with samples over the codes of the whole signal range.
    void Sample(uint64_t sampleCount, LinearInterpolationFast& curve) const;

    double codeAtOne;
    double codeAtFloor;
    double signalPerCode;
    double valueScale;
    double lumiStartNeg;
    double valueMin;
};

} // namespace lumo
