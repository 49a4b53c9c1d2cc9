#include "segmentation/fast_slic.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "segmentation/label_regions.h"
#include "segmentation/slic_clusters.h"

#include <algorithm>

namespace lumo {
namespace {

void ClearLabels(int32_t rows, int32_t cols, Matrix& labels)
{
    labels.Ensure(rows, cols, D32S);
    ParallelFor(0, rows, [&](int32_t y) {
        auto* row = RowOf<int32_t>(labels, y);
        std::fill(row, row + cols, 0);
    });
}

} // namespace

void FastSlic::EnsureRequest(int32_t numLabelsPreDefined)
{
    if (numLabelsPreDefined < 1 || numLabelsPreDefined > numLabelsMax_) {
        throw Exception(exceptionArgument,
                        "In FastSlic(), numLabelsPreDefined must be between 1 and numLabelsMax_");
    }
}

void FastSlic::EnsureImage(const Matrix& src)
{
    const int32_t depth = DepthOf(src.type);
    if (depth != D8U && depth != D16U && depth != D32F) {
        throw Exception(exceptionFormat, "In FastSlic, data depth must be D8U/D16U/D32S");
    }
    if (src.channels != 3) {
        throw Exception(exceptionFormat, "");
    }
}

int FastSlic::operator()(const Matrix& src, int numLabelsPreDefined, Matrix& labels)
{
    EnsureRequest(numLabelsPreDefined);
    EnsureImage(src);
    if (numLabelsPreDefined < 2) {
        ClearLabels(src.rows, src.cols, labels);
        return 1;
    }
    const SlicPlanes planes(src);
    return Segment(planes, numLabelsPreDefined, labels);
}

int FastSlic::Segment(const SlicPlanes& planes, int32_t numLabelsPreDefined, Matrix& labels) const
{
    EnsureRequest(numLabelsPreDefined);
    ClearLabels(planes.rows, planes.cols, labels);
    if (numLabelsPreDefined < 2) {
        return 1;
    }
    SlicClusters clusters(planes, numLabelsPreDefined);
    if (clusters.Count() == 0) {
        return 1;
    }
    clusters.Run(compactness_, numIterations_, labels);
    return NumberRegions(labels, (planes.PixelCount() / numLabelsPreDefined) >> 2);
}

} // namespace lumo
