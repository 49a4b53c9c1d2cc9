#include "tone/tone_blend.h"

#include "core/parallel.h"
#include "core/pixel_block.h"
#include "core/simd.h"

#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>

namespace lumo {
namespace {

constexpr float leastWeight = std::numeric_limits<float>::epsilon();
constexpr double leastSum = std::numeric_limits<double>::epsilon();

int32_t MapPosition(int64_t position, double scale, int32_t mapSize)
{
    return std::min(static_cast<int32_t>(static_cast<double>(position) * scale), mapSize - 1);
}

// Where a code lies between two positions of the curves.
struct CurvePosition {
    int32_t lower[blockSize];
    int32_t upper[blockSize];
    double fraction[blockSize];
};

template <typename T>
LUMO_INLINE void Locate(const SegmentCurves& curves, const T* value, int32_t count,
                        CurvePosition& at)
{
    const auto end = static_cast<int32_t>(curves.last);
    const double first = curves.first;
    const double width = curves.width;
    const double last = curves.last;
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        // The curves are sampled at whole codes: a float counts by its integer part.
        double code = static_cast<double>(value[i]);
        code = code > 0.0 ? code : 0.0;
        code = code < 2.0e9 ? code : 2.0e9;
        code = static_cast<double>(static_cast<int32_t>(code));
        double p = (code - first) * last / width;
        p = p > 0.0 ? p : 0.0;
        p = p < last ? p : last;
        const auto lower = static_cast<int32_t>(p);
        at.lower[i] = lower * curves.segments;
        at.upper[i] = (lower < end ? lower + 1 : end) * curves.segments;
        at.fraction[i] = p - lower;
    }
}

} // namespace

namespace kernels {

LUMO_CLONES void LocateCodes(const SegmentCurves* curves, const uint16_t* value, int32_t count,
                             CurvePosition* at)
{
    Locate(*curves, value, count, *at);
}

LUMO_CLONES void DivideAll(const double* divisor, int32_t count, double* values)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        values[i] = values[i] / divisor[i];
    }
}

} // namespace kernels

SegmentCurves::SegmentCurves(const VectorC<GlobalToneMappingOperatorAdaptive>& operators, int32_t n)
    : segments(n),
      first(operators[0].lut.xFirst),
      width(operators[0].lut.xLast - operators[0].lut.xFirst),
      last(static_cast<double>(operators[0].lut.count - 1)),
      value(operators[0].lut.count * static_cast<uint64_t>(n))
{
    for (int32_t s = 0; s < n; ++s) {
        LayOut(s, operators[s].lut.luty.data, static_cast<int64_t>(operators[s].lut.count));
    }
}

SegmentCurves::SegmentCurves(const VectorC<Vector<double>>& curves, int32_t n)
    : segments(n), first(0.0)
{
    uint64_t codes = curves[0].size;
    for (int32_t s = 1; s < n; ++s) {
        codes = std::min(codes, curves[s].size);
    }
    last = static_cast<double>(codes - 1);
    width = last;
    value = Vector<double>(codes * static_cast<uint64_t>(n));
    for (int32_t s = 0; s < n; ++s) {
        LayOut(s, curves[s].data, static_cast<int64_t>(codes));
    }
}

void SegmentCurves::LayOut(int32_t s, const double* samples, int64_t count)
{
    ParallelRanges(0, count, [&](int64_t begin, int64_t end) {
        double* out = value.data + s;
        for (int64_t i = begin; i < end; ++i) {
            out[i * segments] = samples[i];
        }
    });
}

ToneBlend::ToneBlend(const SegmentCurves& curves, std::shared_ptr<const WeightMaps> maps,
                     const BlendPlace& place, int32_t cols)
    : curves_(curves), maps_(std::move(maps)), place_(place), mapCol_(static_cast<uint64_t>(cols))
{
    const double scale = static_cast<double>(maps_->Cols()) / place.imageCols;
    for (int32_t x = 0; x < cols; ++x) {
        mapCol_[x] = MapPosition(int64_t{x} + place.colOffset, scale, maps_->Cols());
    }
}

ToneBlend::Row::Row(const ToneBlend& blend)
    : count_(static_cast<uint64_t>(blend.maps_->Cols())),
      segment_(count_.size * static_cast<uint64_t>(blend.maps_->Segments())),
      weight_(segment_.size),
      divisor_(count_.size),
      scratch_(4 * count_.size)
{
}

void ToneBlend::PrepareRow(int32_t mapRow, Row& row) const
{
    const int32_t cols = maps_->Cols();
    const int32_t segments = maps_->Segments();
    row.mapRow_ = mapRow;
    std::fill(row.count_.data, row.count_.data + cols, 0);
    std::fill(row.divisor_.data, row.divisor_.data + cols, 0.0);
    float* weights = row.scratch_.data + 3 * static_cast<int64_t>(cols);
    for (int32_t s = 0; s < segments; ++s) {
        const LabelBox region = maps_->Region(s);
        if (mapRow < region.minY || mapRow > region.maxY) {
            continue;
        }
        maps_->Row(s, mapRow, row.scratch_.data, weights);
        for (int32_t x = region.minX; x <= region.maxX; ++x) {
            const float weight = weights[x - region.minX];
            if (weight > leastWeight) {
                const int64_t entry = static_cast<int64_t>(x) * segments + row.count_[x]++;
                row.segment_[entry] = s;
                row.weight_[entry] = static_cast<double>(weight);
                row.divisor_[x] += static_cast<double>(weight);
            }
        }
    }
    for (int32_t x = 0; x < cols; ++x) {
        row.divisor_[x] = row.divisor_[x] > leastSum ? row.divisor_[x] : 1.0;
    }
}

template <typename T>
void ToneBlend::Blend(const T* value, int32_t y, int32_t x, int32_t count, Row& row,
                      double* blended) const
{
    const double scale = static_cast<double>(maps_->Rows()) / place_.imageRows;
    const int32_t mapRow = MapPosition(int64_t{y} + place_.rowOffset, scale, maps_->Rows());
    if (mapRow != row.mapRow_) {
        PrepareRow(mapRow, row);
    }
    const double* curve = curves_.value.data;
    const int64_t segments = curves_.segments;
    CurvePosition at;
    double divisor[blockSize];
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::LocateCodes(&curves_, value, count, &at);
    } else {
        Locate(curves_, value, count, at);
    }
    for (int32_t i = 0; i < count; ++i) {
        const int32_t column = mapCol_[x + i];
        const int32_t* segment = row.segment_.data + column * segments;
        const double* weight = row.weight_.data + column * segments;
        const double* lower = curve + at.lower[i];
        const double* upper = curve + at.upper[i];
        const double f = at.fraction[i];
        double sum = 0.0;
        for (int32_t entry = 0; entry < row.count_[column]; ++entry) {
            const int32_t s = segment[entry];
            sum += weight[entry] * ((1.0 - f) * lower[s] + f * upper[s]);
        }
        blended[i] = sum;
        divisor[i] = row.divisor_[column];
    }
    kernels::DivideAll(divisor, count, blended);
}

template void ToneBlend::Blend<uint16_t>(const uint16_t*, int32_t, int32_t, int32_t, Row&,
                                         double*) const;
template void ToneBlend::Blend<float>(const float*, int32_t, int32_t, int32_t, Row&, double*) const;

} // namespace lumo
