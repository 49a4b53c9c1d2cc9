#include "segmentation/fast_slic.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "segmentation/label_regions.h"
#include "segmentation/slic_clusters.h"

#include <algorithm>
#include <memory>

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
    Matrix* const target = &labels;
    int32_t result = 0;
    Segment(planes, &numLabelsPreDefined, 1, &target, &result);
    return result;
}

void FastSlic::Segment(const SlicPlanes& planes, const int32_t* request, int32_t count,
                       Matrix* const* labels, int32_t* result) const
{
    std::unique_ptr<SlicClusters> clusters[slicLanes];
    SlicClusters* running[slicLanes] = {};
    Matrix* target[slicLanes] = {};
    int32_t number[slicLanes] = {}; // of the runs that have clusters
    int32_t lanes = 0;
    for (int32_t i = 0; i < count; ++i) {
        EnsureRequest(request[i]);
        result[i] = 1;
        if (request[i] >= 2) {
            clusters[i] = std::make_unique<SlicClusters>(planes, request[i]);
        }
        const bool runs = clusters[i] != nullptr && clusters[i]->Count() > 0;
        if (runs && numIterations_ > 0) {
            labels[i]->Ensure(planes.rows, planes.cols, D32S);
        } else {
            ClearLabels(planes.rows, planes.cols, *labels[i]);
        }
        if (runs) {
            running[lanes] = clusters[i].get();
            target[lanes] = labels[i];
            number[lanes++] = i;
        }
    }
    if (lanes == 0) {
        return;
    }
    if (numIterations_ > 0) {
        SlicClusters::Run(running, target, lanes, compactness_, numIterations_);
    }
    for (int32_t l = 0; l < lanes; ++l) {
        const int32_t i = number[l];
        clusters[i].reset();
        result[i] = NumberRegions(*labels[i], (planes.PixelCount() / request[i]) >> 2);
    }
}

} // namespace lumo
