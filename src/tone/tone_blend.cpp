#include "tone/tone_blend.h"

#include "core/parallel.h"
#include "core/simd.h"

#include <algorithm>
#include <limits>

namespace lumo {
namespace {

constexpr float leastWeight = std::numeric_limits<float>::epsilon();
constexpr double leastSum = std::numeric_limits<double>::epsilon();
constexpr int32_t chunk = 64;

template <typename T> int32_t CodeOf(T value, int32_t last)
{
    if constexpr (std::is_same_v<T, float>) {
        if (!(value > 0.0f)) {
            return 0;
        }
        return value < static_cast<float>(last) ? static_cast<int32_t>(value) : last;
    } else {
        return std::min<int32_t>(value, last);
    }
}

int32_t MapPosition(int64_t position, double scale, int32_t mapSize)
{
    return std::min(static_cast<int32_t>(static_cast<double>(position) * scale), mapSize - 1);
}

} // namespace

ToneBlend::ToneBlend(const VectorC<Vector<double>>& curves, const VectorC<Matrix>& masks,
                     const BlendPlace& place, int32_t cols)
    : masks_(masks),
      place_(place),
      segments_(static_cast<int32_t>(masks.size)),
      mapRows_(masks[0].rows),
      mapCols_(masks[0].cols),
      mapCol_(static_cast<uint64_t>(cols))
{
    const double scale = static_cast<double>(mapCols_) / place.imageCols;
    for (int32_t x = 0; x < cols; ++x) {
        mapCol_[x] = MapPosition(int64_t{x} + place.colOffset, scale, mapCols_);
    }
    LayOutCurves(curves);
}

void ToneBlend::LayOutCurves(const VectorC<Vector<double>>& curves)
{
    uint64_t codes = curves[0].size;
    for (int32_t s = 1; s < segments_; ++s) {
        codes = std::min(codes, curves[s].size);
    }
    lastCode_ = static_cast<int32_t>(codes) - 1;
    curve_ = Vector<double>(codes * static_cast<uint64_t>(segments_));
    ParallelRanges(0, static_cast<int64_t>(codes), [&](int64_t first, int64_t last) {
        for (int32_t s = 0; s < segments_; ++s) {
            const double* in = curves[s].data;
            double* out = curve_.data + s;
            for (int64_t code = first; code < last; ++code) {
                out[code * segments_] = in[code];
            }
        }
    });
}

ToneBlend::Row::Row(const ToneBlend& blend)
    : start_(static_cast<uint64_t>(blend.mapCols_) + 1),
      segment_(static_cast<uint64_t>(blend.mapCols_) * blend.segments_),
      weight_(static_cast<uint64_t>(blend.mapCols_) * blend.segments_),
      divisor_(static_cast<uint64_t>(blend.mapCols_))
{
}

void ToneBlend::PrepareRow(int32_t mapRow, Row& row) const
{
    row.mapRow_ = mapRow;
    int32_t entry = 0;
    for (int32_t x = 0; x < mapCols_; ++x) {
        row.start_[x] = entry;
        double sum = 0.0;
        for (int32_t s = 0; s < segments_; ++s) {
            const float weight = RowOf<float>(masks_[s], mapRow)[x];
            if (weight > leastWeight) {
                row.segment_[entry] = s;
                row.weight_[entry] = static_cast<double>(weight);
                sum += row.weight_[entry];
                ++entry;
            }
        }
        row.divisor_[x] = sum > leastSum ? sum : 1.0;
    }
    row.start_[mapCols_] = entry;
}

template <typename T>
void ToneBlend::Blend(const T* value, int32_t y, int32_t x, int32_t count, Row& row,
                      double* blended) const
{
    const double scale = static_cast<double>(mapRows_) / place_.imageRows;
    const int32_t mapRow = MapPosition(int64_t{y} + place_.rowOffset, scale, mapRows_);
    if (mapRow != row.mapRow_) {
        PrepareRow(mapRow, row);
    }
    const int32_t* segment = row.segment_.data;
    const double* weight = row.weight_.data;
    const int32_t* mapCol = mapCol_.data + x;
    double divisor[chunk];
    for (int32_t begin = 0; begin < count; begin += chunk) {
        const int32_t length = std::min(chunk, count - begin);
        for (int32_t i = 0; i < length; ++i) {
            const int32_t column = mapCol[begin + i];
            const int64_t code = CodeOf<T>(value[begin + i], lastCode_);
            const double* curve = curve_.data + code * segments_;
            double sum = 0.0;
            const int32_t end = row.start_[column + 1];
            for (int32_t entry = row.start_[column]; entry < end; ++entry) {
                sum += weight[entry] * curve[segment[entry]];
            }
            blended[begin + i] = sum;
            divisor[i] = row.divisor_[column];
        }
        for (int32_t i = 0; i < length; ++i) {
            blended[begin + i] /= divisor[i];
        }
    }
}

template void ToneBlend::Blend<uint16_t>(const uint16_t*, int32_t, int32_t, int32_t, Row&,
                                         double*) const;
template void ToneBlend::Blend<float>(const float*, int32_t, int32_t, int32_t, Row&, double*) const;

} // namespace lumo
