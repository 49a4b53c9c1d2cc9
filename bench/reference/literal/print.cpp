#include "literal/print.h"

#include "colorspace/convert_ictcp_to_xrgb.h"
#include "colorspace/convert_xrgb_to_ictcp.h"
#include "colorspace/pq.h"
#include "controller/call_conditions.h"
#include "controller/qva_controller.h"
#include "controller/source_decoding.h"
#include "literal/pixels.h"
#include "literal/smoother.h"
#include "literal/superpixels.h"
#include "literal/tones.h"
#include "tone/htr_color_luts.h"

#include <algorithm>
#include <cmath>

namespace lumo::literal {
namespace {

constexpr double codeMax = 65535.0;

// A single-pixel call of the library that is told the number of channels.
auto ThreeChannels(const ImageConverterInterface& converter)
{
    return [&converter](const double* in, double* out) { converter(in, out, 3); };
}

Matrix DecodeSource(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding)
{
    const Matrix codes = ConvertPixels(WrapImage(src), ThreeChannels(MakeNormalization(encoding)));
    if (encoding.gammaType == 0) {
        return codes;
    }
    const auto low = static_cast<double>(encoding.luminanceMin);
    const auto high = static_cast<double>(encoding.luminanceMax);
    return MapCodes(codes, MakeLinearMap(encoding.gammaType, low, high).data);
}

Htr MakeOperator(const LuminanceRangePair& ranges, HtrParameters params, double pixels)
{
    params.resizedLongSide = 1024;
    params.regionWindowSize = 256.0;
    params.wlsLambda *= static_cast<float>(std::sqrt(pixels / 30105600.0));
    params.luminanceThreshold =
        std::min(std::max(params.luminanceThreshold, ranges.input.lumiMin), ranges.input.lumiMax);
    return Htr(ranges, params);
}

Matrix ReduceToLongSide(const Matrix& work, int32_t longSide)
{
    const int32_t longest = std::max(work.rows, work.cols);
    if (longest <= longSide) {
        return work;
    }
    const auto shorter = [&](int64_t side) {
        return static_cast<int32_t>(std::max(int64_t{1}, side * longSide / longest));
    };
    return work.rows <= work.cols ? Resize(work, shorter(work.rows), longSide)
                                  : Resize(work, longSide, shorter(work.cols));
}

int32_t FindSegments(const Matrix& work, const Htr& htr, Matrix_t<int>& labels)
{
    const Matrix small = ReduceToLongSide(work, htr.params.resizedLongSide);
    const double compactness = 0.01 * htr.inputCode.codeMax;
    const Vector<int>& set = htr.params.numSegmentsSet;
    const int32_t n =
        htr.params.evaluateSegmentsNumber
            ? BestSuperpixels(small, PlaneOf(small, 0), compactness,
                              htr.params.segmentEvaluationParam, {set.data, set.data + set.size},
                              labels)
            : Superpixels<uint16_t>(small, compactness, 4, htr.params.numSegments, labels);
    return std::max(n, 1);
}

// Pixel by pixel, `value` of the codes of the planes.
template <typename Value, typename... Planes>
Matrix Combine(Value&& value, const Matrix& first, const Planes&... others)
{
    Matrix dst(first.rows, first.cols, D16U);
    for (int32_t row = 0; row < first.rows; ++row) {
        for (int32_t col = 0; col < first.cols; ++col) {
            RowOf<uint16_t>(dst, row)[col] = Saturate<uint16_t>(
                value(static_cast<double>(RowOf<uint16_t>(first, row)[col]),
                      static_cast<double>(RowOf<uint16_t>(others, row)[col])...));
        }
    }
    return dst;
}

// Detail above the highlights' knee would be compressed; the knee of a new handle lies at the top.
Matrix MapIntensity(const Matrix& intensity, const Htr& htr, const Matrix_t<int>& labels, int32_t n)
{
    if (!htr.params.useWlsFilter) {
        return MapTones(intensity, htr, labels, n);
    }
    const double offset = htr.inputCode.codeMax * 0.5;
    const FastWlsFilter filter(htr.params.wlsSigma, htr.params.wlsLambda);
    const Matrix guide = MultiplyCodes(intensity, 255.0 / htr.inputCode.codeMax);
    const Matrix base = SmoothByLines<uint16_t>(filter, intensity, guide);
    const Matrix detail =
        Combine([=](double v, double b) { return v + offset - b; }, intensity, base);
    const Matrix mapped = MapTones(base, htr, labels, n);
    return Combine([=](double b, double d) { return 1.0 * (d - offset) + b; }, mapped, detail);
}

Matrix Render(const Matrix& linear, const Htr& htr)
{
    const LuminanceRange& in = htr.input;
    const LuminanceRange& out = htr.output;
    const CodeRange& from = htr.inputCode;
    const CodeRange& to = htr.outputCode;
    const double offset = from.codeMax * 0.5;
    const HtrColorCorrection correction({in, out});
    const Matrix corrected = ConvertPixels(linear, ThreeChannels(correction));
    const ConvertxRGB2ICtCp toWork(in.valueMax, in.valueMin, in.lumiMax, in.lumiMin, from.codeMax,
                                   from.codeMin, offset, in.colorSpace);
    Matrix work = ConvertPixels(corrected, ThreeChannels(toWork));
    Matrix_t<int> labels;
    const int32_t n = FindSegments(work, htr, labels);
    ReplacePlane(work, 0, MapIntensity(PlaneOf(work, 0), htr, labels, n));
    return ConvertPixels(work,
                         ConvertICtCp2xRGB(to.codeMax, to.codeMin, to.pqMax, to.pqMin, out.valueMax,
                                           out.valueMin, -offset, out.colorSpace));
}

Matrix Encode(const Matrix& toned, const PowerCurveTable& curve)
{
    const Matrix encoded = ConvertPixels(toned, [&](const double* in, double* out) {
        for (int32_t k = 0; k < 3; ++k) {
            out[k] = curve.table(in[k]);
        }
    });
    return ConvertPixels(encoded, ThreeChannels(HtrColorCompression()));
}

// The detail that the print would lose put back; a toe near black.
Matrix RestoreDetail(const Matrix& intensity, const Matrix& printed, const DpgParameters& params)
{
    const FastWlsFilter filter(params.wlsSigma, params.wlsLambda);
    const Matrix guide = MultiplyCodes(intensity, 255.0 / codeMax);
    const double k1 = codeMax * 0.005, k2 = 1.0 / (codeMax * 0.01);
    return Combine(
        [=](double i, double b1, double p, double b2) {
            const double d = i - b1, dp = p - b2;
            const double r = b1 + (2.0 * d - dp);
            return b1 > 0.0 && r < 0.0 + k1 ? 0.0 + k1 * std::exp(d * k2) : r;
        },
        intensity, SmoothByLines<uint16_t>(filter, intensity, guide), printed,
        SmoothByLines<uint16_t>(filter, printed, guide));
}

Matrix ApplyDevice(const Matrix& encoded, const DpgParameters& params, const PowerCurveTable& curve)
{
    const double offset = codeMax * 0.5;
    const ConvertxRGB2ICtCp toWork(codeMax, 0.0, 100.0, 0.0, codeMax, 0.0, offset, BT2020RGB);
    const ConvertxRGB2ICtCp ofPrint(1.0, 0.0, 100.0, 0.0, codeMax, 0.0, offset, XYZ);
    const Lut3D& table = *params.printLut.object;
    Matrix work = ConvertPixels(MapCodes(encoded, DecodingMap().data), ThreeChannels(toWork));
    const Matrix printed = ConvertPixels(encoded, [&](const double* in, double* out) {
        double xyz[3];
        table(in, xyz, 3);
        ofPrint(xyz, out, 3);
    });
    ReplacePlane(work, 0, RestoreDetail(PlaneOf(work, 0), PlaneOf(printed, 0), params));
    const Matrix linear = ConvertPixels(work, ConvertICtCp2xRGB(codeMax, 0.0, PQ(100.0), PQ(0.0),
                                                                codeMax, 0.0, -offset, BT2020RGB));
    return MapCodes(linear, MakePowerCurveMap(curve).data);
}

} // namespace

void Print(const QVA_IMAGE& dst, const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
           const QVA_OUTPUT_CONDITIONS& conditions, bool print)
{
    const QvaController controller;
    const CallConditions call(src, encoding, conditions);
    const LuminanceRangePair ranges = call.RenderedRanges(encoding, conditions);
    const int64_t pixels = int64_t{src.width} * src.height;
    const Htr htr = MakeOperator(ranges, controller.htrParameters, static_cast<double>(pixels));
    Matrix result = Encode(Render(DecodeSource(src, encoding), htr), controller.outputCurve);
    if (print && call.black > 0.0) {
        const Tintrix transform = call.MakeTransform(conditions);
        result = ApplyDevice(result, controller.PrepareDpgParameters(pixels, transform),
                             controller.outputCurve);
    }
    const auto* codes = RowOf<uint16_t>(result, 0);
    std::copy(codes, codes + 3 * pixels, static_cast<uint16_t*>(dst.pixels));
}

} // namespace lumo::literal
