// ICtCp back to linear RGB or XYZ.
#pragma once

#include "core/linear_interpolation.h"
#include "core/pixel_block.h"

#include <cstddef>

namespace lumo {

/// The inverse of ConvertxRGB2ICtCp, per pixel.
class ConvertICtCp2xRGB {
public:
    /// Codes codeMin ... codeMax stand for the signals pqMin ... pqMax, whose luminances come out
    /// as valueMin ... valueMax. chromaShift is added to Ct and Cp: the negated forward offset.
    /// Ranges are not checked.
    /// @throws Exception code 3 for a colour space other than 1, 3, 6.
    ConvertICtCp2xRGB(double codeMax, double codeMin, double pqMax, double pqMin, double linearMax,
                      double linearMin, double chromaShift, int32_t colorSpace);

    void operator()(const double* in, double* out) const;
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const;

    double codeAtOne;
    double codeAtFloor;
    double valueMax;
    double valueMin;
    double signalPerCode;
    double signalStart;
    double valueScale;
    double lumiStartNeg;
    LinearInterpolationFast curve;
    const double* fromLms;
    double chromaOffset;
};

} // namespace lumo
