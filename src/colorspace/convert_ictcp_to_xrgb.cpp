#include "colorspace/convert_ictcp_to_xrgb.h"

#include "colorspace/ictcp_matrices.h"
#include "colorspace/pq.h"
#include "colorspace/pq_decoding_curve.h"
#include "core/simd.h"

namespace lumo {
namespace {

constexpr uint64_t decodingSamples = 65536;

} // namespace

namespace kernels {

LUMO_CLONES void ICtCpToLms(double chromaOffset, double* x, double* y, double* z)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double intensity = x[i];
        const double t = y[i] + chromaOffset;
        const double p = z[i] + chromaOffset;
        x[i] = intensity + 0.0086 * t + 0.111 * p;
        y[i] = intensity - 0.0086 * t - 0.111 * p;
        z[i] = intensity + 0.56 * t - 0.3206 * p;
    }
}

} // namespace kernels

ConvertICtCp2xRGB::ConvertICtCp2xRGB(double codeMax, double codeMin, double pqMax, double pqMin,
                                     double linearMax, double linearMin, double chromaShift,
                                     int32_t colorSpace)
    : valueMax(linearMax), valueMin(linearMin), signalStart(pqFloor), chromaOffset(chromaShift)
{
    const PQDecoding decoding(codeMax, codeMin, pqMax, pqMin, linearMax, linearMin);
    codeAtOne = decoding.codeAtOne;
    codeAtFloor = decoding.codeAtFloor;
    signalPerCode = decoding.signalPerCode;
    valueScale = decoding.valueScale;
    lumiStartNeg = decoding.lumiStartNeg;
    decoding.Sample(decodingSamples, curve);
    fromLms = FromLmsMatrix(colorSpace);
}

void ConvertICtCp2xRGB::operator()(const double* in, double* out) const
{
    const double t = in[1] + chromaOffset;
    const double p = in[2] + chromaOffset;
    const double l = curve.Evaluate(in[0] + 0.0086 * t + 0.111 * p);
    const double m = curve.Evaluate(in[0] - 0.0086 * t - 0.111 * p);
    const double s = curve.Evaluate(in[0] + 0.56 * t - 0.3206 * p);
    out[0] = fromLms[0] * l + fromLms[1] * m + fromLms[2] * s;
    out[1] = fromLms[3] * l + fromLms[4] * m + fromLms[5] * s;
    out[2] = fromLms[6] * l + fromLms[7] * m + fromLms[8] * s;
}

void ConvertICtCp2xRGB::ConvertBlock(PixelBlock& block, int32_t, size_t) const
{
    kernels::ICtCpToLms(chromaOffset, block.channel[0], block.channel[1], block.channel[2]);
    for (auto& plane : block.channel) {
        curve.EvaluateBlock(plane, plane);
    }
    MultiplyBlock(fromLms, block);
}

} // namespace lumo
