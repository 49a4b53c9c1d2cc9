// Analysis of a reduced page and correction of its bands.
#include "controller/argument_checks.h"
#include "controller/call_conditions.h"
#include "controller/encoding_sink.h"
#include "controller/qva_controller.h"
#include "controller/source_decoding.h"
#include "core/block_pool.h"
#include "core/debug_stream.h"
#include "core/exception.h"
#include "core/parallel.h"
#include "print/dpg_stage.h"
#include "tone/htr_color_luts.h"

#include <algorithm>
#include <limits>

namespace lumo {
namespace {

constexpr uint32_t analysisLongSide = longestAnalysis;

// The factors in another order than RenderedRanges takes them: a last bit may differ.
double CorrectedBlack(double sourceBlack, int32_t outputLuminanceMax)
{
    return outputLuminanceMax > 100 ? sourceBlack * outputLuminanceMax * 0.01 : sourceBlack;
}

// What the first correction of the process fixes for all later ones.
struct CorrectionValues {
    CorrectionValues(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                     const QVA_OUTPUT_CONDITIONS& conditions)
        : call(src, encoding, conditions),
          outputBlack(CorrectedBlack(call.sourceBlack, conditions.outputLuminanceMax))
    {
    }
    CallConditions call;
    double outputBlack;
};

const CorrectionValues& FirstValues(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                                    const QVA_OUTPUT_CONDITIONS& conditions)
{
    static const CorrectionValues values(src, encoding, conditions);
    return values;
}

// Runs an operation; failures end in status 1, with their message on the library's stream.
template <typename Operation>
uint32_t Report(const QVA_IMAGE& src, Operation&& operation)
{
    try {
        const CallMemory memory;
        const parallel::PictureThreads threads(src.width, src.height);
        operation();
        return QVA_OK;
    } catch (const Exception& failure) {
        WriteLibraryLine(failure.message);
        return QVA_ERROR_PROCESSING;
    } catch (...) {
        return QVA_ERROR_PROCESSING;
    }
}

BandRect MakeBandRect(const QVA_BAND_AREA& band, const QVA_PAGE_AREA& page)
{
    BandRect rect = {};
    rect.left = static_cast<int32_t>(page.left);
    rect.top = static_cast<int32_t>(page.top);
    rect.right = static_cast<int32_t>(page.right);
    rect.bottom = static_cast<int32_t>(page.bottom);
    for (int flag = 0; flag < 4; ++flag) {
        rect.edgeFlags[flag] = band.flags[flag] != 0;
    }
    return rect;
}

int32_t LargestLabel(const Matrix& labels)
{
    constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
    Vector<int32_t> rowMaxima(static_cast<uint64_t>(labels.rows), lowest);
    ParallelFor(0, labels.rows, [&](int32_t row) {
        const auto* label = RowOf<int32_t>(labels, row);
        for (int64_t i = 0; i < RowLength(labels); ++i) {
            rowMaxima[row] = std::max(rowMaxima[row], label[i]);
        }
    });
    return *std::max_element(rowMaxima.data, rowMaxima.data + rowMaxima.size);
}

} // namespace

uint32_t ValidateAnalysis(const HtrAnalysis& analysis)
{
    constexpr auto longest = static_cast<int32_t>(analysisLongSide);
    const auto isSide = [](int32_t side) { return side >= 1 && side <= longest; };
    if (!isSide(analysis.analysisRows) || !isSide(analysis.analysisCols)) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    if (analysis.labels.rows < 1 || LargestLabel(analysis.labels) == 0) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    if (analysis.toneCurves.size == 0) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    const Vector<double>& curve = analysis.toneCurves[0];
    double largest = std::numeric_limits<double>::lowest();
    for (uint64_t i = 0; i < curve.size; ++i) {
        largest = std::max(largest, curve[i]);
    }
    return largest == 0.0 ? QVA_ERROR_INVALID_ARGUMENT : QVA_OK;
}

uint32_t QvaController::Analysis(const QVA_IMAGE* src, const QVA_SOURCE_ENCODING* encoding,
                                 const QVA_OUTPUT_CONDITIONS* conditions)
{
    if (!IsValidImage(src) || !AreValidConditions(encoding, conditions)) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    htrParameters.luminanceThreshold = static_cast<double>(conditions->paramLuminanceThreshold);
    if (std::max(src->width, src->height) > analysisLongSide) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    analysisState.analysisRows = static_cast<int32_t>(src->height);
    analysisState.analysisCols = static_cast<int32_t>(src->width);
    return Report(*src, [&] { Analyse(*src, *encoding, *conditions); });
}

void QvaController::Analyse(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                            const QVA_OUTPUT_CONDITIONS& conditions)
{
    const CallConditions call(src, encoding, conditions);
    const LuminanceRangePair ranges = call.RenderedRanges(encoding, conditions);
    const Matrix source = WrapImage(src);
    const HtrColorCorrection correction(ranges);
    const LinearSource linear(source, encoding, &correction);
    const Htr htr(ranges, ParametersFor(PixelCount(source), ranges));
    WorkPlanes planes;
    htr.AnalyzeStream(linear, analysisState, planes);
}

uint32_t QvaController::CorrectionForPrint(const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                           const QVA_SOURCE_ENCODING* encoding,
                                           const QVA_OUTPUT_CONDITIONS* conditions,
                                           const QVA_BAND_AREA* band, const QVA_PAGE_AREA* page)
{
    if (!IsValidPair(src, dst) || !AreValidConditions(encoding, conditions) ||
        !IsValidBand(band, page, *src))
    {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    uint32_t usable = QVA_OK;
    if (Report(*src, [&] { usable = ValidateAnalysis(analysisState); }) != QVA_OK) {
        return QVA_ERROR_PROCESSING;
    }
    if (usable != QVA_OK) {
        return usable;
    }
    analysisState.imageRows = static_cast<int32_t>(page->pageHeight);
    analysisState.imageCols = static_cast<int32_t>(page->pageWidth);
    analysisState.bandRows = static_cast<int32_t>(band->bottom - band->top + 1);
    return Report(*src,
                  [&] { Correct(*dst, *src, *encoding, *conditions, MakeBandRect(*band, *page)); });
}

// The strength of both smoothers is that of the whole page, so that bands agree.
void QvaController::Correct(const QVA_IMAGE& dst, const QVA_IMAGE& src,
                            const QVA_SOURCE_ENCODING& encoding,
                            const QVA_OUTPUT_CONDITIONS& conditions, const BandRect& band) const
{
    const CorrectionValues& first = FirstValues(src, encoding, conditions);
    const LuminanceRangePair ranges =
        MakeRanges(encoding, conditions, first.call.sourceBlack, first.outputBlack);
    const int64_t pagePixels =
        static_cast<int64_t>(analysisState.imageRows) * analysisState.imageCols;
    const Matrix source = WrapImage(src);
    const HtrColorCorrection correction(ranges);
    const LinearSource linear(source, encoding, &correction);
    const Htr htr(ranges, ParametersFor(pagePixels, ranges));
    Tintrix transform = first.call.MakeTransform(conditions);
    const Dpg dpg(DpgRanges(ranges), PrepareDpgParameters(pagePixels, transform));
    transform.Release(); // before the destination is touched, as for a whole print
    WorkPlanes planes;
    DpgStage<uint16_t> stage(dpg, source.rows, source.cols, planes);
    const Vector<uint16_t> curve = MakePowerCurveMap(outputCurve);
    EncodingSink encoded(curve.data, nullptr, stage);
    htr.CorrectStream(linear, encoded, analysisState, band, planes);
    Matrix destination = WrapImage(dst);
    MatrixSink<uint16_t> sink(destination);
    stage.Drain(sink);
}

} // namespace lumo
