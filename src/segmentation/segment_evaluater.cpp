#include "segmentation/segment_evaluater.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "segmentation/segments_info.h"

#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr uint64_t candidatesMax = 8;

void EnsureCandidates(const Vector<int>& candidates)
{
    if (candidates.size > candidatesMax) {
        throw Exception(exceptionArgument,
                        "Error in SegmentEvaluater::CalculateOptimalSegmentsNumber, number of "
                        "numSegmentsSet must be less than 9");
    }
    if (candidates.size == 0) {
        throw Exception(exceptionArgument, "");
    }
    for (uint64_t i = 0; i < candidates.size; ++i) {
        FastSlic::EnsureRequest(candidates[i]);
    }
}

template <typename T>
double Score(const Matrix& image, const Matrix_t<int>& labels, int32_t count, double alpha)
{
    if (count <= 0) {
        return 0.0;
    }
    SegmentsInfo info;
    ImagSegments::GetSegmentsInfo<T>(image, labels, count, info);
    double sum = 0.0;
    for (int32_t j = 0; j < count; ++j) {
        sum += info.pixelCount[j] * std::exp(-alpha * info.stdDev[j]);
    }
    return (1.0 / count) * sum;
}

uint64_t FirstBest(const Vector<double>& scores)
{
    uint64_t chosen = 0;
    double best = std::numeric_limits<double>::lowest();
    for (uint64_t i = 0; i < scores.size; ++i) {
        if (scores[i] > best) {
            best = scores[i];
            chosen = i;
        }
    }
    return chosen;
}

} // namespace

template <typename T>
int SegmentEvaluater::CalculateOptimalSegmentsNumber(const Matrix& src, const Matrix& image,
                                                     const Vector<int>& numSegmentsSet)
{
    EnsureCandidates(numSegmentsSet);
    FastSlic::EnsureImage(src);
    return CalculateOptimalSegmentsNumber<T>(SlicPlanes(src), image, numSegmentsSet);
}

template <typename T>
int SegmentEvaluater::CalculateOptimalSegmentsNumber(const SlicPlanes& planes, const Matrix& image,
                                                     const Vector<int>& numSegmentsSet)
{
    EnsureCandidates(numSegmentsSet);
    const uint64_t candidates = numSegmentsSet.size;
    Vector<double> scores(candidates, 0.0);
    Vector<int> counts(candidates, 1);
    VectorC<Matrix_t<int>> labels(candidates);
    Matrix* target[candidatesMax] = {};
    for (uint64_t i = 0; i < candidates; ++i) {
        target[i] = &labels[i];
    }
    ParallelRanges(0, static_cast<int64_t>(candidates), [&](int64_t first, int64_t last) {
        slic_.Segment(planes, numSegmentsSet.data + first, static_cast<int32_t>(last - first),
                      target + first, counts.data + first);
        for (int64_t i = first; i < last; ++i) {
            scores[i] = Score<T>(image, labels[i], counts[i], alpha_);
        }
    });
    const uint64_t chosen = FirstBest(scores);
    optimalSegmentsNumber_ = counts[chosen];
    labels_ = labels[chosen];
    return optimalSegmentsNumber_;
}

template int SegmentEvaluater::CalculateOptimalSegmentsNumber<uint16_t>(const Matrix&,
                                                                        const Matrix&,
                                                                        const Vector<int>&);
template int SegmentEvaluater::CalculateOptimalSegmentsNumber<float>(const Matrix&, const Matrix&,
                                                                     const Vector<int>&);
template int SegmentEvaluater::CalculateOptimalSegmentsNumber<uint16_t>(const SlicPlanes&,
                                                                        const Matrix&,
                                                                        const Vector<int>&);
template int SegmentEvaluater::CalculateOptimalSegmentsNumber<float>(const SlicPlanes&,
                                                                     const Matrix&,
                                                                     const Vector<int>&);

} // namespace lumo
