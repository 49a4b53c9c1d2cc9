// Print and preview of whole images.
#include "controller/argument_checks.h"
#include "controller/call_conditions.h"
#include "controller/encoding_sink.h"
#include "controller/process_tables.h"
#include "controller/qva_controller.h"
#include "controller/source_decoding.h"
#include "core/block_pool.h"
#include "core/team_size.h"
#include "print/dpg_stage.h"

namespace lumo {
namespace {

constexpr int32_t renderingLongSide = 1024;
constexpr double renderingWindow = 256.0;

} // namespace

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
        const parallel::PictureThreads threads(src->width, src->height);
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
    const CallConditions call(src, encoding, conditions);
    const LuminanceRangePair ranges = call.RenderedRanges(encoding, conditions);
    const Matrix source = WrapImage(src);
    Matrix destination = WrapImage(dst);
    MatrixSink<uint16_t> sink(destination);
    const HtrColorCompression& compression = UsualColorCompression();
    WorkPlanes planes;
    if (!print || !(call.black > 0.0)) {
        Render(source, sink, encoding, ranges, planes, &compression);
        return;
    }
    Tintrix transform = call.MakeTransform(conditions);
    const Dpg dpg(DpgRanges(ranges), PrepareDpgParameters(PixelCount(source), transform));
    // The table is all that the pixels need, and a transform that cannot be released must end the
    // call before the destination is touched.
    transform.Release();
    DpgStage<uint16_t> stage(dpg, source.rows, source.cols, planes);
    Render(source, stage, encoding, ranges, planes, &compression);
    stage.Drain(sink);
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

} // namespace lumo
