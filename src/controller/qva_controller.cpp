#include "controller/qva_controller.h"

#include "controller/argument_checks.h"
#include "controller/device_black.h"
#include "controller/encoding_sink.h"
#include "controller/process_tables.h"
#include "controller/source_decoding.h"
#include "core/allocation.h"
#include "core/block_pool.h"
#include "core/debug_stream.h"
#include "core/exception.h"
#include "core/parallel.h"
#include "print/dpg_stage.h"
#include "tone/htr_color_luts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr double referencePixels = 30105600.0; // 6720 × 4480
constexpr int32_t renderingLongSide = 1024;
constexpr double renderingWindow = 256.0;
constexpr double transformMax = 2.0;

float SizeFactor(int64_t pixelCount)
{
    return static_cast<float>(std::sqrt(static_cast<double>(pixelCount) / referencePixels));
}

int64_t PixelCount(const Matrix& image)
{
    return static_cast<int64_t>(image.rows) * image.cols;
}

} // namespace

QvaController::QvaController() : outputCurve(UsualPowerCurve(PowerCurve::encoding))
{
    PrepareProcessTables();
    SilenceLibraryOutput();
}

uint32_t QvaController::Apply(const QVA_IMAGE* dst, const QVA_IMAGE* src,
                              const QVA_SOURCE_ENCODING* encoding,
                              const QVA_OUTPUT_CONDITIONS* conditions, bool print)
{
    if (!IsValidPair(src, dst) || !AreValidConditions(encoding, conditions)) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    htrParameters.resizedLongSide = renderingLongSide;
    htrParameters.regionWindowSize = renderingWindow;
    try {
        const CallMemory memory;
        const SmallWork small(IsSmall(*src));
        Print(*dst, *src, *encoding, *conditions, print);
        return QVA_OK;
    } catch (...) {
        return QVA_ERROR_PROCESSING;
    }
}

void QvaController::Print(const QVA_IMAGE& dst, const QVA_IMAGE& src,
                          const QVA_SOURCE_ENCODING& encoding,
                          const QVA_OUTPUT_CONDITIONS& conditions, bool print) const
{
    const ProfilePair profiles(src.colorSpace);
    const uint32_t intent = RvxIntent(conditions.renderingIntent);
    const bool option = RvxOption(conditions.optionFlag);
    const double black = MeasureBlackLuminance(profiles.source.Bytes(), profiles.xyz.Bytes(),
                                               conditions.outputProfile, intent, option);
    const double sourceBlack = SourceBlack(black, encoding);
    const LuminanceRangePair ranges =
        MakeRanges(encoding, conditions, sourceBlack,
                   RenderedBlack(sourceBlack, conditions.outputLuminanceMax));
    const Matrix source = WrapImage(src);
    Matrix destination = WrapImage(dst);
    MatrixSink<uint16_t> sink(destination);
    const HtrColorCompression& compression = UsualColorCompression();
    WorkPlanes planes;
    if (!print || !(black > 0.0)) {
        Render(source, sink, encoding, ranges, planes, &compression);
        return;
    }
    Tintrix transform(profiles.source.Bytes(), profiles.xyz.Bytes(), conditions.outputProfile,
                      intent, transformMax, 0.0, option);
    const Dpg dpg(DpgRanges(ranges), PrepareDpgParameters(PixelCount(source), transform));
    // The table is all that the pixels need, and a transform that cannot be released must end the
    // call before the destination is touched.
    transform.Release();
    DpgStage<uint16_t> stage(dpg, source.rows, source.cols, planes);
    Render(source, stage, encoding, ranges, planes, &compression);
    stage.Drain(sink);
}

HtrParameters QvaController::ParametersFor(int64_t pixelCount,
                                           const LuminanceRangePair& ranges) const
{
    HtrParameters params = htrParameters;
    params.wlsLambda *= SizeFactor(pixelCount);
    params.luminanceThreshold =
        std::min(std::max(params.luminanceThreshold, ranges.input.lumiMin), ranges.input.lumiMax);
    return params;
}

void QvaController::Render(const Matrix& source, PixelSink& sink,
                           const QVA_SOURCE_ENCODING& encoding, const LuminanceRangePair& ranges,
                           WorkPlanes& planes, const ImageConverterInterface* compression) const
{
    const LinearSource linear(source, encoding, nullptr);
    const Htr htr(ranges, ParametersFor(PixelCount(source), ranges));
    const Vector<uint16_t> curve = MakePowerCurveMap(outputCurve);
    EncodingSink encoded(curve.data, compression, sink);
    htr.Render<uint16_t>(linear, encoded, planes);
}

void QvaController::RenderTone(const Matrix& src, Matrix& dst, const QVA_SOURCE_ENCODING& encoding,
                               const LuminanceRangePair& ranges) const
{
    WorkPlanes planes;
    Matrix encoded(src.rows, src.cols, rgb16Type);
    MatrixSink<uint16_t> sink(encoded);
    Render(src, sink, encoding, ranges, planes, nullptr);
    dst = encoded;
}

void QvaController::Convert2Linear(const Matrix& src, Matrix& dst, uint32_t gammaType,
                                   double luminanceMin, double luminanceMax)
{
    const Vector<uint16_t> map = MakeLinearMap(gammaType, luminanceMin, luminanceMax);
    if (gammaType == 0) {
        dst = src;
        return;
    }
    ApplyCodeMap(src, dst, map.data);
}

DpgParameters QvaController::PrepareDpgParameters(int64_t pixelCount,
                                                  const Tintrix& transform) const
{
    DpgParameters params = dpgParameters;
    params.wlsLambda = SizeFactor(pixelCount) * params.wlsLambda;
    const Lut3D sampled(transform, 65535.0);
    const std::lock_guard<std::recursive_mutex> hold(allocLock);
    params.printLut = SharedObject<Lut3D>(new Lut3D(sampled));
    return params;
}

void QvaController::ApplyDpg(const Matrix& src, Matrix& dst, const LuminanceRangePair& ranges,
                             const Tintrix& transform) const
{
    const Dpg dpg(DpgRanges(ranges), PrepareDpgParameters(PixelCount(src), transform));
    dpg(src, dst);
}

LuminanceRangePair DpgRanges(const LuminanceRangePair& ranges)
{
    LuminanceRange range = ranges.output;
    range.lumiMax = 100.0;
    range.lumiMin = 0.0;
    return {range, range};
}

bool IsSmall(const QVA_IMAGE& image)
{
    constexpr uint64_t smallPixels = 128 * 128;
    return uint64_t{image.width} * image.height <= smallPixels;
}

Matrix WrapImage(const QVA_IMAGE& image)
{
    // The first position behind the last block of a row must be an integer too.
    constexpr uint32_t sideLimit = std::numeric_limits<int32_t>::max() - blockSize;
    if (image.width > sideLimit || image.height > sideLimit) {
        throw Exception(exceptionSize, "Error in EnsureDataSize, data size is too large.");
    }
    return Matrix(static_cast<int32_t>(image.height), static_cast<int32_t>(image.width),
                  image.stride / 2, image.pixels);
}

void WriteDestination(const Matrix& image, const QVA_IMAGE& dst)
{
    const int64_t samples = RowLength(image);
    auto* pixels = static_cast<uint16_t*>(dst.pixels);
    ParallelFor(image.roi.y, static_cast<int64_t>(image.roi.y) + image.roi.height,
                [&](int32_t row) {
                    const auto* in = RowOf<uint16_t>(image, row);
                    std::copy(in, in + samples,
                              pixels + static_cast<uint64_t>(row) * dst.width * dst.channels);
                });
}

} // namespace lumo
