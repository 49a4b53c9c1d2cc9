// The steps that Htr's entry points share, as passes over streams of pixels.
#include "core/block_loop.h"
#include "core/image_scaling.h"
#include "core/saturate.h"
#include "segmentation/fast_slic.h"
#include "segmentation/segment_evaluater.h"
#include "segmentation/slic_planes.h"
#include "smoothing/fast_wls_filter.h"
#include "smoothing/wls_solver.h"
#include "tone/detail_recombination.h"
#include "tone/fast_object_adaptive_tone_mapping.h"
#include "tone/htr.h"
#include "tone/htr_color_luts.h"
#include "tone/work_space.h"

#include <algorithm>
#include <type_traits>

namespace lumo {
namespace {

constexpr int32_t slicIterations = 4;

template <typename T>
constexpr int32_t PlaneType()
{
    return MakeType(std::is_same_v<T, float> ? D32F : D16U, 1);
}

// The size of the image that is segmented: the long side at most `longSide`.
ImageSize ResizeToLongSide(int32_t rows, int32_t cols, int32_t longSide)
{
    const int32_t longest = std::max(rows, cols);
    const int64_t target = std::min(longest, longSide);
    if (target >= longest) {
        return {rows, cols};
    }
    if (rows <= cols) {
        const auto newRows = static_cast<int32_t>(rows * target / cols);
        return {std::max(1, newRows), static_cast<int32_t>(target)};
    }
    const auto newCols = static_cast<int32_t>(cols * target / rows);
    return {static_cast<int32_t>(target), std::max(1, newCols)};
}

// Linear pixels after the colour correction, as a store into T leaves them.
template <typename T>
void LoadCorrected(const PixelSource& source, const ImageConverterInterface* correction,
                   int32_t row, int32_t col, int32_t count, PixelBlock& block)
{
    if (correction == nullptr) {
        source.Load(row, col, count, block);
        return;
    }
    if constexpr (std::is_same_v<T, uint16_t>) {
        CodeBlock codes;
        source.LoadCodes(row, col, count, codes);
        correction->ConvertCodes(codes, count, block);
    } else {
        source.Load(row, col, count, block);
        correction->ConvertBlock(block, count, 3);
    }
    SaturateBlock<T>(block);
}

// Values as a store into T and a load leave them.
template <typename T>
void StoreSaturated(const double* values, int32_t count, double* saturated)
{
    std::transform(values, values + count, saturated,
                   [](double value) { return static_cast<double>(Saturate<T>(value)); });
}

// What a thread needs for the blend and what follows it.
struct ToneScratch {
    ToneBlend::Row weights;
    PixelBlock block;
    double toned[blockSize];
};

} // namespace

template <typename T>
void Htr::ToPlanes(const PixelSource& source, const ImageConverterInterface* correction,
                   WorkPlanes& planes) const
{
    const auto converter = MakeWorkConverter(input, inputCode, ChromaOffset());
    const int32_t rows = source.Rows();
    const int32_t cols = source.Cols();
    Matrix* const targets[3] = {&planes.intensity, &planes.chroma1, &planes.chroma2};
    for (Matrix* plane : targets) {
        plane->Ensure(rows, cols, PlaneType<T>());
    }
    ForEachBlock(0, rows, cols, [&](int32_t row, int32_t col, int32_t count, PixelBlock& block) {
        LoadCorrected<T>(source, correction, row, col, count, block);
        converter->ConvertBlock(block, count, 3);
        for (int c = 0; c < 3; ++c) {
            StorePlane(block.channel[c], count, RowOf<T>(*targets[c], row) + col);
        }
    });
}

template <typename T, typename Image>
int32_t Htr::Divide(const Image& work, const Matrix& intensity, Matrix_t<int>& labels,
                    int32_t numSegments) const
{
    FastSlic slic(0.01 * inputCode.codeMax, slicIterations);
    int32_t count = 0;
    if (params.evaluateSegmentsNumber) {
        SegmentEvaluater evaluater(slic, params.segmentEvaluationParam);
        count = evaluater.CalculateOptimalSegmentsNumber<T>(work, intensity, params.numSegmentsSet);
        labels = evaluater.labels_;
    } else if constexpr (std::is_same_v<Image, SlicPlanes>) {
        count = slic.Segment(work, numSegments, labels);
    } else {
        count = slic(work, numSegments, labels);
    }
    // Where every region was folded away all labels are 0: one segment.
    return std::max(count, 1);
}

template <typename T>
int32_t Htr::SegmentImage(const Matrix& work, const Matrix& intensity, Matrix_t<int>& labels,
                          int32_t numSegments) const
{
    return Divide<T>(work, intensity, labels, numSegments);
}

template <typename T>
int32_t Htr::SegmentImage(const Matrix (&work)[3], Matrix_t<int>& labels, int32_t numSegments) const
{
    return Divide<T>(SlicPlanes(work), work[0], labels, numSegments);
}

template <typename T>
Matrix_t<int> Htr::SegmentPlanes(const WorkPlanes& planes, int32_t longSide, int32_t& count) const
{
    const Matrix* const full[3] = {&planes.intensity, &planes.chroma1, &planes.chroma2};
    const ImageSize size = ResizeToLongSide(full[0]->rows, full[0]->cols, longSide);
    const bool reduce = size.rows != full[0]->rows || size.cols != full[0]->cols;
    Matrix small[3];
    for (int c = 0; c < 3; ++c) {
        if (reduce) {
            const int newSize[2] = {size.rows, size.cols};
            ImageScalingBilinear().Resize(*full[c], small[c], newSize);
        } else {
            small[c] = *full[c];
        }
    }
    Matrix_t<int> labels;
    count = SegmentImage<T>(small, labels, params.numSegments);
    return labels;
}

template <typename T>
void Htr::SplitBase(WorkPlanes& planes) const
{
    const FastWlsFilter filter(params.wlsSigma, params.wlsLambda);
    const WlsSolver<T> solver(filter.weights_, filter.lambda_);
    planes.second.Ensure(planes.intensity.rows, planes.intensity.cols, planes.intensity.type);
    solver.Smooth(planes.intensity, {planes.intensity, 255.0 / inputCode.codeMax}, planes.second);
}

template <typename T>
void Htr::FromPlanes(const ToneBlend& blend, const WorkPlanes& planes, bool adjustChroma,
                     PixelSink& sink) const
{
    const auto converter = MakeDestinationConverter(output, outputCode, ChromaOffset());
    const DetailRecombination recombination(inputCode.codeMax, params.thresholdHighX,
                                            params.thresholdHighY);
    const bool split = params.useWlsFilter;
    const Matrix& basePlane = split ? planes.second : planes.intensity;
    const auto prepare = [&] { return ToneScratch{ToneBlend::Row(blend), {}, {}}; };
    ForEachBlockWith(0, basePlane.rows, basePlane.cols, prepare,
                     [&](int32_t row, int32_t col, int32_t count, ToneScratch& scratch) {
                         auto& [weights, block, toned] = scratch;
                         const T* intensity = RowOf<T>(planes.intensity, row) + col;
                         const T* base = RowOf<T>(basePlane, row) + col;
                         blend.Blend(base, row, col, count, weights, toned);
                         if (split) {
                             recombination.Apply(toned, intensity, base, count, block.channel[0]);
                         } else {
                             StoreSaturated<T>(toned, count, block.channel[0]);
                         }
                         LoadPlane(RowOf<T>(planes.chroma1, row) + col, count, block.channel[1]);
                         LoadPlane(RowOf<T>(planes.chroma2, row) + col, count, block.channel[2]);
                         if (adjustChroma) {
                             AdjustChroma(intensity, count, ChromaOffset(), block);
                         }
                         converter->ConvertBlock(block, count, 3);
                         sink.Store(row, col, count, block);
                     });
}

template <typename T>
void Htr::Render(const PixelSource& source, PixelSink& sink, WorkPlanes& planes) const
{
    {
        const HtrColorCorrection correction({input, output});
        ToPlanes<T>(source, &correction, planes);
    }
    int32_t count = 0;
    const Matrix_t<int> labels = SegmentPlanes<T>(planes, params.resizedLongSide, count);
    if (params.useWlsFilter) {
        SplitBase<T>(planes);
    }
    const FastObjectAdaptiveToneMapping mapping(params.regionWindowSize, params.regionWeightDecay);
    const ToneBlend blend = mapping.MakeBlend<T>(
        params.useWlsFilter ? planes.second : planes.intensity, Codes(), labels, count);
    FromPlanes<T>(blend, planes, params.useChromaAdjustment, sink);
}

void Htr::AnalyzeStream(const PixelSource& source, HtrAnalysis& analysis, WorkPlanes& planes) const
{
    ToPlanes<uint16_t>(source, nullptr, planes);
    int32_t count = 0;
    const int32_t longSide = std::max(source.Rows(), source.Cols());
    const Matrix_t<int> labels = SegmentPlanes<uint16_t>(planes, longSide, count);
    if (params.useWlsFilter) {
        SplitBase<uint16_t>(planes);
    }
    // Everything new stands beside the stored record until it is complete.
    const auto needed = static_cast<uint64_t>(count);
    VectorC<Vector<double>> curves(std::max(analysis.toneCurves.size, needed));
    for (uint64_t s = 0; s < curves.size; ++s) {
        curves[s] = s < needed ? Vector<double>(65536) : analysis.toneCurves[s];
    }
    VectorC<Matrix> masks;
    const FastObjectAdaptiveToneMapping mapping(params.regionWindowSize, params.regionWeightDecay);
    mapping(params.useWlsFilter ? planes.second : planes.intensity, Codes(), labels, count, curves,
            masks);
    analysis.segmentCount = count;
    analysis.labels = labels;
    analysis.toneCurves = curves;
    analysis.regionWeights = masks;
}

void Htr::CorrectStream(const PixelSource& source, PixelSink& sink, const HtrAnalysis& analysis,
                        const BandRect& band, WorkPlanes& planes) const
{
    EnsureBand(source.Rows(), source.Cols(), analysis, band);
    ToPlanes<uint16_t>(source, nullptr, planes);
    if (params.useWlsFilter) {
        SplitBase<uint16_t>(planes);
    }
    const bool byRows = band.edgeFlags[0] || band.edgeFlags[1];
    const ToneBlend blend = FastObjectAdaptiveToneMapping::MakeBandBlend(
        {source.Rows(), source.Cols()}, {analysis.imageRows, analysis.imageCols},
        {analysis.analysisRows, analysis.analysisCols}, analysis.toneCurves, analysis.regionWeights,
        byRows ? band.top : band.left, byRows ? BandDirection::rows : BandDirection::columns);
    FromPlanes<uint16_t>(blend, planes, false, sink);
}

template void Htr::Render<uint16_t>(const PixelSource&, PixelSink&, WorkPlanes&) const;
template void Htr::Render<float>(const PixelSource&, PixelSink&, WorkPlanes&) const;
template int32_t Htr::SegmentImage<uint16_t>(const Matrix&, const Matrix&, Matrix_t<int>&,
                                             int32_t) const;
template int32_t Htr::SegmentImage<float>(const Matrix&, const Matrix&, Matrix_t<int>&,
                                          int32_t) const;
template int32_t Htr::SegmentImage<uint16_t>(const Matrix (&)[3], Matrix_t<int>&, int32_t) const;
template int32_t Htr::SegmentImage<float>(const Matrix (&)[3], Matrix_t<int>&, int32_t) const;

} // namespace lumo
