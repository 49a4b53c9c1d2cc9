#include "tone/weight_maps.h"

#include "core/matrix_operator.h"
#include "core/parallel.h"
#include "core/simd.h"
#include "segmentation/segments_info.h"

#include <algorithm>
#include <type_traits>

namespace lumo {
namespace {

constexpr double tableEnd = 65535.0;

template <typename T>
LUMO_INLINE void Damp(const T* value, double mean, const float* damping, int32_t count,
                      float* weights)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        double difference = static_cast<double>(value[i]) - mean;
        difference = difference < 0.0 ? -difference : difference;
        const double index = difference < tableEnd ? difference : tableEnd;
        weights[i] = weights[i] * damping[static_cast<int32_t>(index)];
    }
}

} // namespace

namespace kernels {

LUMO_CLONES void DampCodes(const uint16_t* value, double mean, const float* damping, int32_t count,
                           float* weights)
{
    Damp(value, mean, damping, count, weights);
}

LUMO_CLONES void DampFloats(const float* value, double mean, const float* damping, int32_t count,
                            float* weights)
{
    Damp(value, mean, damping, count, weights);
}

} // namespace kernels

void StoredWeightMaps::Row(int32_t s, int32_t y, float*, float* weights) const
{
    const auto* in = RowOf<float>(masks_[s], y);
    std::copy(in, in + masks_[s].cols, weights);
}

template <typename T>
RegionWeightMaps<T>::RegionWeightMaps(const Matrix& small, double ceil, const Matrix_t<int>& labels,
                                      int32_t n, const Vector<double>& weightTable,
                                      double windowSize)
    : scaled_(small.rows, small.cols, small.type),
      damping_(weightTable.size),
      counter_(static_cast<uint64_t>(n))
{
    MultiplyByScalar(small, tableEnd / ceil, scaled_, MatrixOperatorMultiply<T>());
    std::transform(weightTable.data, weightTable.data + weightTable.size, damping_.data,
                   [](double weight) { return static_cast<float>(weight); });
    SegmentsInfo info;
    ImagSegments::GetSegmentsInfo<T>(scaled_, labels, n, info);
    mean_ = info.mean;
    const double half = windowSize * 0.5;
    const auto r = static_cast<int32_t>(std::clamp(half, 0.0, 1.0e9));
    ParallelFor(0, n, [&](int32_t s) {
        if (info.pixelCount[s] > 0.0) {
            const LabelBox box = {info.minX[s], info.maxX[s], info.minY[s], info.maxY[s]};
            counter_[s] = WindowCounter(labels, s, box, r);
        }
    });
}

template <typename T>
void RegionWeightMaps<T>::Row(int32_t s, int32_t y, float* scratch, float* weights) const
{
    const LabelBox& region = counter_[s].Region();
    counter_[s].Row(y, scratch, weights);
    const T* value = RowOf<T>(scaled_, y) + region.minX;
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::DampCodes(value, mean_[s], damping_.data, region.Width(), weights);
    } else {
        kernels::DampFloats(value, mean_[s], damping_.data, region.Width(), weights);
    }
}

template class RegionWeightMaps<uint16_t>;
template class RegionWeightMaps<float>;

} // namespace lumo
