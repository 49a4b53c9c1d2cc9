#include "segmentation/segments_info.h"

#include "core/exception.h"
#include "core/simd.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace lumo {
namespace kernels {

struct CodeSums {
    uint64_t sum;
    uint64_t squares;
    uint16_t highest;
    uint16_t lowest;
};

// Halves of the squares, so that blocks of 2^15 of them fit into 32 bits.
LUMO_CLONES void SumCodes(const uint16_t* value, int64_t count, CodeSums* sums)
{
    constexpr int64_t block = int64_t{1} << 15;
    *sums = {0, 0, 0, 65535};
    for (int64_t first = 0; first < count; first += block) {
        const auto last = static_cast<int32_t>(std::min(block, count - first));
        const uint16_t* v = value + first;
        uint32_t sum = 0, lower = 0, upper = 0;
        uint16_t highest = sums->highest;
        uint16_t lowest = sums->lowest;
#pragma omp simd reduction(+ : sum, lower, upper) reduction(max : highest) reduction(min : lowest)
        for (int32_t i = 0; i < last; ++i) {
            const uint32_t square = uint32_t{v[i]} * v[i];
            sum += v[i];
            lower += square & 65535u;
            upper += square >> 16;
            highest = v[i] > highest ? v[i] : highest;
            lowest = v[i] < lowest ? v[i] : lowest;
        }
        sums->sum += sum;
        sums->squares += lower + (uint64_t{upper} << 16);
        sums->highest = highest;
        sums->lowest = lowest;
    }
}

} // namespace kernels

namespace {

constexpr int32_t lowestInt = std::numeric_limits<int32_t>::min();
constexpr int32_t highestInt = std::numeric_limits<int32_t>::max();

void Reset(int32_t numSegments, SegmentsInfo& info)
{
    const auto n = static_cast<uint64_t>(numSegments);
    info.pixelCount = Vector<double>(n, 0.0);
    info.mean = Vector<double>(n, 0.0);
    info.stdDev = Vector<double>(n, 0.0);
    info.maxValue = Vector<double>(n, 0.0);
    info.minValue = Vector<double>(n, std::numeric_limits<double>::max());
    info.maxX = Vector<int32_t>(n, lowestInt);
    info.minX = Vector<int32_t>(n, highestInt);
    info.maxY = Vector<int32_t>(n, lowestInt);
    info.minY = Vector<int32_t>(n, highestInt);
}

// Columns first ... last - 1 of row y, all of segment j.
void AddBounds(int32_t j, int32_t y, int32_t first, int32_t last, SegmentsInfo& info)
{
    info.pixelCount[j] += last - first;
    info.maxX[j] = std::max(info.maxX[j], last - 1);
    info.minX[j] = std::min(info.minX[j], first);
    info.maxY[j] = std::max(info.maxY[j], y);
    info.minY[j] = std::min(info.minY[j], y);
}

// Value by value in double.
template <typename T>
void AddValues(const T* value, int64_t count, int32_t j, SegmentsInfo& info)
{
    for (int64_t i = 0; i < count; ++i) {
        const auto v = static_cast<double>(value[i]);
        info.mean[j] += v;
        info.stdDev[j] += v * v;
        info.maxValue[j] = std::max(info.maxValue[j], v);
        info.minValue[j] = std::min(info.minValue[j], v);
    }
}

// The same in integers, which is exact while every sum stays below 2^53.
void AddCodes(const uint16_t* value, int64_t count, int32_t j, SegmentsInfo& info)
{
    kernels::CodeSums sums;
    kernels::SumCodes(value, count, &sums);
    info.mean[j] += static_cast<double>(sums.sum);
    info.stdDev[j] += static_cast<double>(sums.squares);
    info.maxValue[j] = std::max(info.maxValue[j], static_cast<double>(sums.highest));
    info.minValue[j] = std::min(info.minValue[j], static_cast<double>(sums.lowest));
}

void Finish(int32_t channels, int32_t numSegments, SegmentsInfo& info)
{
    for (int32_t j = 0; j < numSegments; ++j) {
        if (info.pixelCount[j] <= 0.0) {
            info.maxValue[j] = 0.0;
            info.minValue[j] = 0.0;
            continue;
        }
        const double n = channels * info.pixelCount[j];
        info.mean[j] = info.mean[j] / n;
        const double variance = info.stdDev[j] / n - info.mean[j] * info.mean[j];
        info.stdDev[j] = std::sqrt(variance < 0.0 ? 0.0 : variance);
    }
}

} // namespace

template <typename T>
void ImagSegments::GetSegmentsInfo(const Matrix& image, const Matrix_t<int>& labels,
                                   int numSegments, SegmentsInfo& info)
{
    if (image.rows != labels.rows || image.cols != labels.cols) {
        throw Exception(exceptionFormat,
                        "Error in ImagSegments::GetSegmentsInfo(), invalid data size");
    }
    Reset(numSegments, info);
    const int64_t exactValues = int64_t{1} << 21; // of squares below 2^32
    const bool exact = RowLength(image) * image.rows <= exactValues;
    for (int32_t y = image.roi.y; y < image.roi.y + image.roi.height; ++y) {
        const T* value = RowOf<T>(image, y);
        const auto* label = RowOf<int32_t>(labels, y);
        for (int32_t x = 0; x < image.cols;) {
            const int32_t first = x;
            const int32_t j = label[x];
            while (x < image.cols && label[x] == j) {
                ++x;
            }
            AddBounds(j, y, first, x, info);
            const int64_t channels = image.channels;
            if constexpr (std::is_same_v<T, uint16_t>) {
                if (exact) {
                    AddCodes(value + first * channels, (x - first) * channels, j, info);
                    continue;
                }
            }
            AddValues(value + first * channels, (x - first) * channels, j, info);
        }
    }
    Finish(image.channels, numSegments, info);
}

template void ImagSegments::GetSegmentsInfo<uint16_t>(const Matrix&, const Matrix_t<int>&, int,
                                                      SegmentsInfo&);
template void ImagSegments::GetSegmentsInfo<float>(const Matrix&, const Matrix_t<int>&, int,
                                                   SegmentsInfo&);

} // namespace lumo
