#include "tone/work_space.h"

#include "colorspace/convert_xrgb_to_ictcp.h"
#include "colorspace/ictcp_matrices.h"
#include "colorspace/pq.h"
#include "colorspace/pq_decoding_curve.h"
#include "core/exception.h"

#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr uint64_t encodingSamples = 1024;
constexpr uint64_t decodingSamples = 65535;

constexpr double identity[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
// IEC 61966-2-1, which prints both.
constexpr double srgbToXyz[9] = {0.4124, 0.3576, 0.1805, 0.2126, 0.7152,
                                 0.0722, 0.0193, 0.1192, 0.9505};
constexpr double xyzToSrgb[9] = {3.2406, -1.5372, -0.4986, -0.9689, 1.8758,
                                 0.0415, 0.0557,  -0.204,  1.057};
// By the primaries of ITU-R BT.2020-2, table 3, to six decimals; its inverse to four.
constexpr double bt2020ToXyz[9] = {0.636958, 0.144617, 0.168881, 0.2627,  0.677998,
                                   0.059302, 0.0,      0.028073, 1.060985};
constexpr double xyzToBt2020[9] = {1.7167, -0.3557, -0.2534, -0.6667, 1.6165,
                                   0.0158, 0.0176,  -0.0428, 0.9421};

// ConvertICtCp2xRGB is no ImageConverterInterface.
class FromICtCp : public ImageConverterInterface {
public:
    FromICtCp(const LuminanceRange& output, const CodeRange& code, double chromaOffset)
        : converter_(code.codeMax, code.codeMin, code.pqMax, code.pqMin, output.valueMax,
                     output.valueMin, -chromaOffset, output.colorSpace)
    {
    }
    void operator()(const double* in, double* out, size_t) const override { converter_(in, out); }
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const override
    {
        converter_.ConvertBlock(block, count, channels);
    }

private:
    ConvertICtCp2xRGB converter_;
};

} // namespace

ConvertRGB2xyY::ConvertRGB2xyY(const LuminanceRange& input, const CodeRange& code)
    : matrix_(MatrixOfColorSpace(input.colorSpace, identity, srgbToXyz, bt2020ToXyz)),
      codeMin_(code.codeMin),
      codeSpan_(code.codeMax - code.codeMin)
{
    Vector<double> x(encodingSamples);
    Vector<double> y(encodingSamples);
    const double gain = (input.lumiMax - input.lumiMin) / (input.valueMax - input.valueMin);
    const double span = PQ(input.lumiMax) - PQ(input.lumiMin);
    for (uint64_t i = 0; i < encodingSamples; ++i) {
        const double share = static_cast<double>(i) / (encodingSamples - 1);
        x[i] = input.valueMin + share * (input.valueMax - input.valueMin);
        const double signal = PQ((x[i] - input.valueMin) * gain + input.lumiMin);
        y[i] = code.codeMin + (signal - PQ(input.lumiMin)) * codeSpan_ / span;
    }
    table_.Initialize(x, y);
}

void ConvertRGB2xyY::operator()(const double* in, double* out, size_t) const
{
    const double* m = matrix_;
    const double x = m[0] * in[0] + m[1] * in[1] + m[2] * in[2];
    const double y = m[3] * in[0] + m[4] * in[1] + m[5] * in[2];
    const double z = m[6] * in[0] + m[7] * in[1] + m[8] * in[2];
    const double sum = x + y + z;
    const double k = sum > 0.0 ? 1.0 / sum : 0.0;
    out[0] = table_.Evaluate(y);
    out[1] = x * k * codeSpan_ + codeMin_;
    out[2] = y * k * codeSpan_ + codeMin_;
}

ConvertxyY2RGB::ConvertxyY2RGB(const LuminanceRange& output, const CodeRange& code)
    : matrix_(MatrixOfColorSpace(output.colorSpace, identity, xyzToSrgb, xyzToBt2020)),
      valueMax_(output.valueMax)
{
    const PQDecoding decoding(code.codeMax, code.codeMin, code.pqMax, code.pqMin, output.valueMax,
                              output.valueMin);
    decoding.Sample(decodingSamples, table_);
}

void ConvertxyY2RGB::operator()(const double* in, double* out, size_t) const
{
    const double y = table_.Evaluate(in[0]);
    const bool black = std::abs(in[2]) <= std::numeric_limits<double>::epsilon();
    const double k = black ? 0.0 : y / in[2];
    const double x = k * in[1];
    const double z = k * (valueMax_ - in[1] - in[2]);
    const double* m = matrix_;
    out[0] = m[0] * x + m[1] * y + m[2] * z;
    out[1] = m[3] * x + m[4] * y + m[5] * z;
    out[2] = m[6] * x + m[7] * y + m[8] * z;
}

std::unique_ptr<ImageConverterInterface> MakeWorkConverter(const LuminanceRange& input,
                                                           const CodeRange& code,
                                                           double chromaOffset)
{
    switch (code.workColorSpace) {
    case ICtCp:
        return std::make_unique<ConvertxRGB2ICtCp>(input.valueMax, input.valueMin, input.lumiMax,
                                                   input.lumiMin, code.codeMax, code.codeMin,
                                                   chromaOffset, input.colorSpace);
    case xyYwithPQ:
        return std::make_unique<ConvertRGB2xyY>(input, code);
    default:
        throw Exception(
            exceptionFormat,
            "Error in Htr::Convert2WorkColorSpace, work color space must be ICtCp/xyYwithPQ.");
    }
}

std::unique_ptr<ImageConverterInterface> MakeDestinationConverter(const LuminanceRange& output,
                                                                  const CodeRange& code,
                                                                  double chromaOffset)
{
    switch (code.workColorSpace) {
    case ICtCp:
        return std::make_unique<FromICtCp>(output, code, chromaOffset);
    case xyYwithPQ:
        return std::make_unique<ConvertxyY2RGB>(output, code);
    default:
        throw Exception(
            exceptionFormat,
            "Error in Htr::Convert2DstColorSpace, work color space must be ICtCp/YwithPQxy");
    }
}

} // namespace lumo
