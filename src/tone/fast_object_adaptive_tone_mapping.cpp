#include "tone/fast_object_adaptive_tone_mapping.h"

#include "core/exception.h"
#include "core/image_scaling.h"
#include "core/parallel.h"
#include "tone/global_tone_mapping_operator_adaptive.h"
#include "tone/image_histogram.h"
#include "tone/segment_window.h"
#include "tone/weight_maps.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

namespace lumo {
namespace {

constexpr int32_t curveBins = 1024;
constexpr double steepest = 1.0;
constexpr double tableEnd = 65535.0;
constexpr double usualDecay = 1.0;

Vector<double> MakeWeightTable(double decay)
{
    Vector<double> table(65536);
    ParallelFor(0, 65536, [&](int32_t i) { table[i] = std::exp(-i * decay / tableEnd); });
    return table;
}

// The table of the decay that the controller always passes, once per process.
const Vector<double>& UsualWeightTable()
{
    static const Vector<double> table = MakeWeightTable(usualDecay);
    return table;
}

template <typename T>
double LargestValue(const Matrix& image)
{
    Vector<T> rowMaxima(static_cast<uint64_t>(image.rows));
    ParallelFor(0, image.rows, [&](int32_t y) {
        const T* in = RowOf<T>(image, y);
        T largest = std::numeric_limits<T>::lowest();
        for (int64_t i = 0; i < RowLength(image); ++i) {
            largest = std::max(largest, in[i]);
        }
        rowMaxima[y] = largest;
    });
    T largest = std::numeric_limits<T>::lowest();
    for (uint64_t y = 0; y < rowMaxima.size; ++y) {
        largest = std::max(largest, rowMaxima[y]);
    }
    return static_cast<double>(largest);
}

Matrix ResizeTo(const Matrix& src, const Matrix& labels)
{
    Matrix small;
    const int size[2] = {labels.rows, labels.cols};
    ImageScalingBilinear().Resize(src, small, size);
    return small;
}

void Require(bool condition, const char* message)
{
    if (!condition) {
        throw Exception(exceptionFormat, message);
    }
}

bool IsToneDepth(const Matrix& image)
{
    const int32_t depth = DepthOf(image.type);
    return depth == D16U || depth == D32F;
}

// The histograms of all segments in one pass: what counting under each segment's mask gives.
template <typename T>
VectorC<Vector<double>> SegmentHistograms(const Matrix& small, const Matrix_t<int>& labels,
                                          int32_t n, const ImageHistogram& histogram)
{
    const ImageHistogram bins = histogram; // a copy that no store can reach
    VectorC<Vector<double>> counts(static_cast<uint64_t>(n));
    for (int32_t s = 0; s < n; ++s) {
        counts[s] = Vector<double>(static_cast<uint64_t>(bins.numBins), 0.0);
    }
    for (int32_t y = 0; y < small.rows; ++y) {
        const T* value = RowOf<T>(small, y);
        const auto* label = RowOf<int32_t>(labels, y);
        for (int32_t x = 0; x < small.cols; ++x) {
            counts[label[x]][bins.BinOf(static_cast<double>(value[x]))] += 1.0;
        }
    }
    return counts;
}

template <typename T>
void StoreMasks(const RegionWeightMaps<T>& maps, VectorC<Matrix>& masks)
{
    masks = VectorC<Matrix>(static_cast<uint64_t>(maps.Segments()));
    ParallelFor(0, maps.Segments(), [&](int32_t s) {
        Vector<float> scratch(3 * static_cast<uint64_t>(maps.Cols()));
        const LabelBox region = maps.Region(s);
        masks[s].Create(maps.Rows(), maps.Cols(), D32F);
        for (int32_t y = 0; y < maps.Rows(); ++y) {
            float* row = RowOf<float>(masks[s], y);
            std::fill(row, row + maps.Cols(), 0.0f);
            if (y >= region.minY && y <= region.maxY) {
                maps.Row(s, y, scratch.data, row + region.minX);
            }
        }
    });
}

} // namespace

FastObjectAdaptiveToneMapping::FastObjectAdaptiveToneMapping(double width, double decay)
    : weightTable(decay == usualDecay ? UsualWeightTable() : MakeWeightTable(decay)),
      windowSize(width)
{
}

void FastObjectAdaptiveToneMapping::operator()(const Matrix& src, const ToneCodes& codes,
                                               const Matrix_t<int>& labels, int32_t n,
                                               VectorC<Vector<double>>& curves,
                                               VectorC<Matrix>& masks) const
{
    Require(IsToneDepth(src), "Error in FastObjectAdaptiveToneMapping::operator(), data depth must "
                              "be D16U/D32F");
    const double largest =
        DepthOf(src.type) == D16U ? LargestValue<uint16_t>(src) : LargestValue<float>(src);
    const double ceil = std::max(largest, codes.outCodeMax);
    const Matrix small = ResizeTo(src, labels);
    CalcToneMappingCurve(small, ceil, codes, labels, n, curves);
    MakeCrossRegionConsistencyMask(small, ceil, labels, n, masks);
}

template <typename T>
ToneBlend FastObjectAdaptiveToneMapping::MakeBlend(const Matrix& src, const ToneCodes& codes,
                                                   const Matrix_t<int>& labels, int32_t n) const
{
    const double largest = LargestValue<T>(src);
    const double ceil = std::max(largest, codes.outCodeMax);
    const Matrix small = ResizeTo(src, labels);
    const auto operators = MakeOperators(small, ceil, codes, labels, n);
    auto maps = std::make_shared<const RegionWeightMaps<T>>(small, ceil, labels, n, weightTable,
                                                            windowSize);
    return ToneBlend(SegmentCurves(operators, n), std::move(maps), {src.rows, src.cols, 0, 0},
                     src.cols);
}

ToneBlend FastObjectAdaptiveToneMapping::MakeBandBlend(const ImageSize& band,
                                                       const ImageSize& image,
                                                       const ImageSize& label,
                                                       const VectorC<Vector<double>>& curves,
                                                       const VectorC<Matrix>& masks, int32_t offset,
                                                       BandDirection direction)
{
    Require(band.cols >= 1 && band.rows >= 1, "");
    Require(image.rows >= 1 && image.cols >= 1, "");
    Require(label.rows >= 1 && label.cols >= 1, "");
    const bool byRows = direction == BandDirection::rows;
    const int64_t end = int64_t{offset} + (byRows ? band.rows : band.cols);
    Require(end <= (byRows ? image.rows : image.cols), "");
    Require(offset >= 0, "");
    Require(masks.size >= 1 && curves.size >= masks.size, "");
    for (uint64_t s = 0; s < masks.size; ++s) {
        Require(masks[s].rows == label.rows && masks[s].cols == label.cols, "");
        Require(curves[s].size >= 65536, "");
    }
    const BlendPlace place = {image.rows, image.cols, byRows ? offset : 0, byRows ? 0 : offset};
    return ToneBlend(SegmentCurves(curves, static_cast<int32_t>(masks.size)),
                     std::make_shared<const StoredWeightMaps>(masks), place, band.cols);
}

void FastObjectAdaptiveToneMapping::CalcToneMappingCurve(const Matrix& small, double ceil,
                                                         const ToneCodes& codes,
                                                         const Matrix_t<int>& labels, int32_t n,
                                                         VectorC<Vector<double>>& curves) const
{
    Require(IsToneDepth(small), "Error in FastObjectAdaptiveToneMapping::CalcToneMappingCurve, "
                                "data depth must be D16U");
    const auto operators = MakeOperators(small, ceil, codes, labels, n);
    ParallelFor(0, n, [&](int32_t s) {
        for (uint64_t code = 0; code < curves[s].size; ++code) {
            curves[s][code] = operators[s].lut.Evaluate(static_cast<double>(code));
        }
    });
}

VectorC<GlobalToneMappingOperatorAdaptive> FastObjectAdaptiveToneMapping::MakeOperators(
    const Matrix& small, double ceil, const ToneCodes& codes, const Matrix_t<int>& labels,
    int32_t n)
{
    EnsureLabelChannels(labels);
    Require(n >= 1, "");
    const double outRange = codes.outCodeMax - codes.outCodeMin;
    const double minSlope = outRange * 0.01 / (codes.inCodeMax - codes.inCodeMin);
    const ImageHistogram bins(ceil, codes.inCodeMin, curveBins);
    const VectorC<Vector<double>> counts = DepthOf(small.type) == D16U
                                               ? SegmentHistograms<uint16_t>(small, labels, n, bins)
                                               : SegmentHistograms<float>(small, labels, n, bins);
    VectorC<GlobalToneMappingOperatorAdaptive> operators(static_cast<uint64_t>(n));
    ParallelFor(0, n, [&](int32_t s) {
        operators[s].SetParameters(ceil, codes.inCodeMin, codes.outCodeMax, codes.outCodeMin,
                                   codes.thresholdCode, codes.kneeCode, curveBins, steepest,
                                   minSlope);
        operators[s].MakeLUT(counts[s]);
    });
    return operators;
}

void FastObjectAdaptiveToneMapping::MakeCrossRegionConsistencyMask(const Matrix& small, double ceil,
                                                                   const Matrix_t<int>& labels,
                                                                   int32_t n,
                                                                   VectorC<Matrix>& masks) const
{
    Require(IsToneDepth(small),
            "Error in FastObjectAdaptiveToneMapping::MakeCrossRegionConsistencyMask, data depth "
            "must be D16U");
    EnsureLabelChannels(labels);
    if (DepthOf(small.type) == D16U) {
        StoreMasks(RegionWeightMaps<uint16_t>(small, ceil, labels, n, weightTable, windowSize),
                   masks);
    } else {
        StoreMasks(RegionWeightMaps<float>(small, ceil, labels, n, weightTable, windowSize), masks);
    }
}

template ToneBlend FastObjectAdaptiveToneMapping::MakeBlend<uint16_t>(const Matrix&,
                                                                      const ToneCodes&,
                                                                      const Matrix_t<int>&,
                                                                      int32_t) const;
template ToneBlend FastObjectAdaptiveToneMapping::MakeBlend<float>(const Matrix&, const ToneCodes&,
                                                                   const Matrix_t<int>&,
                                                                   int32_t) const;

} // namespace lumo
