#include "tone/segment_window.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "core/simd.h"

#include <algorithm>

namespace lumo {
namespace {

constexpr int64_t exactPixels = int64_t{1} << 22;

int32_t Clamp(int64_t value, int32_t last)
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, 0, last));
}

LabelBox Widen(const LabelBox& box, int32_t r, const Matrix& labels)
{
    return {Clamp(int64_t{box.minX} - r, labels.cols - 1),
            Clamp(int64_t{box.maxX} + r, labels.cols - 1),
            Clamp(int64_t{box.minY} - r, labels.rows - 1),
            Clamp(int64_t{box.maxY} + r, labels.rows - 1)};
}

} // namespace

namespace kernels {

LUMO_CLONES void SubtractShifted(const float* sums, int32_t shift, int32_t count, float* counts)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        counts[i] = sums[i + shift] - sums[i];
    }
}

} // namespace kernels

void EnsureLabelChannels(const Matrix& labels)
{
    if (labels.channels != 1) {
        throw Exception(exceptionFormat, "Error in GetSegmentMask, segments channel must be 1");
    }
}

void GetSegmentMask(const Matrix_t<int>& labels, int32_t s, Matrix& mask)
{
    EnsureLabelChannels(labels);
    mask.Create(labels.rows, labels.cols, D8U);
    ParallelFor(0, labels.rows, [&](int32_t y) {
        const auto* label = RowOf<int32_t>(labels, y);
        auto* out = RowOf<uint8_t>(mask, y);
        for (int32_t x = 0; x < labels.cols; ++x) {
            out[x] = label[x] == s ? 1 : 0;
        }
    });
}

void MakeIntegralImage(const Matrix& mask, Matrix& integral)
{
    if (mask.channels != 1) {
        throw Exception(exceptionFormat, "Error in MakeIntegralImage, data channels must be 1");
    }
    integral.Create(mask.rows, mask.cols, D32F);
    for (int32_t y = 0; y < mask.rows; ++y) {
        const auto* in = RowOf<uint8_t>(mask, y);
        auto* out = RowOf<float>(integral, y);
        const float* above = y > 0 ? RowOf<float>(integral, y - 1) : nullptr;
        for (int32_t x = 0; x < mask.cols; ++x) {
            float sum = in[x];
            if (above != nullptr) {
                sum += above[x];
            }
            if (x > 0) {
                sum += out[x - 1];
            }
            if (above != nullptr && x > 0) {
                sum -= above[x - 1];
            }
            out[x] = sum;
        }
    }
}

WindowCounter::WindowCounter(const Matrix_t<int>& labels, int32_t s, const LabelBox& box, int32_t r)
    : box_(box),
      region_(Widen(box, r, labels)),
      r_(r),
      reach_(std::min(r, labels.cols)),
      rows_(labels.rows),
      cols_(labels.cols),
      exact_(static_cast<int64_t>(labels.rows) * labels.cols < exactPixels)
{
    if (exact_) {
        Accumulate(labels, s);
    } else {
        Matrix mask;
        GetSegmentMask(labels, s, mask);
        MakeIntegralImage(mask, integral_);
    }
}

void WindowCounter::Accumulate(const Matrix_t<int>& labels, int32_t s)
{
    const int32_t width = box_.Width();
    const int32_t height = box_.maxY - box_.minY + 1;
    sums_ = Vector<int32_t>((static_cast<uint64_t>(height) + 1) * width);
    std::fill(sums_.data, sums_.data + width, 0);
    for (int32_t y = 0; y < height; ++y) {
        const int32_t* label = RowOf<int32_t>(labels, box_.minY + y) + box_.minX;
        const int32_t* above = sums_.data + static_cast<int64_t>(y) * width;
        int32_t* out = sums_.data + (static_cast<int64_t>(y) + 1) * width;
        int32_t inRow = 0;
        for (int32_t x = 0; x < width; ++x) {
            inRow += label[x] == s ? 1 : 0;
            out[x] = above[x] + inRow;
        }
    }
}

void WindowCounter::Row(int32_t y, float* scratch, float* counts) const
{
    const int32_t top = Clamp(int64_t{y} - r_, rows_ - 1);
    const int32_t bottom = Clamp(int64_t{y} + r_, rows_ - 1);
    if (exact_) {
        RowOfIntegers(top, bottom, scratch, counts);
    } else {
        RowOfFloats(top, bottom, counts);
    }
}

// Outside the box the integral image of the segment is constant, so the box is all it takes. The
// scratch holds the counts of whole columns left of every position from the region's first column
// minus the reach on; beyond the image the edge column's stands.
void WindowCounter::RowOfIntegers(int32_t top, int32_t bottom, float* scratch, float* counts) const
{
    const int32_t width = box_.Width();
    const auto rowAt = [&](int32_t y) {
        const int32_t inBox = std::clamp(y, box_.minY - 1, box_.maxY) - box_.minY + 1;
        return sums_.data + static_cast<int64_t>(inBox) * width;
    };
    const int32_t* upper = rowAt(top);
    const int32_t* lower = rowAt(bottom);
    const int32_t first = region_.minX - reach_;
    const int32_t size = ScratchSize();
    // Left of the image the first column counts: the box begins there or has nothing there.
    const int32_t lead = std::max(box_.minX, 1) - first;
    const auto edge = static_cast<float>(box_.minX == 0 ? lower[0] - upper[0] : 0);
    std::fill(scratch, scratch + std::min(lead, size), edge);
    int32_t at = lead;
    for (int32_t x = first + lead; x <= box_.maxX && at < size; ++x, ++at) {
        scratch[at] = static_cast<float>(lower[x - box_.minX] - upper[x - box_.minX]);
    }
    const auto all = static_cast<float>(lower[width - 1] - upper[width - 1]);
    if (at < size) {
        std::fill(scratch + at, scratch + size, all);
    }
    kernels::SubtractShifted(scratch, 2 * reach_, region_.Width(), counts);
}

void WindowCounter::RowOfFloats(int32_t top, int32_t bottom, float* counts) const
{
    const auto* upper = RowOf<float>(integral_, top);
    const auto* lower = RowOf<float>(integral_, bottom);
    for (int32_t x = region_.minX; x <= region_.maxX; ++x) {
        const int32_t left = Clamp(int64_t{x} - r_, cols_ - 1);
        const int32_t right = Clamp(int64_t{x} + r_, cols_ - 1);
        float count = 0.0f;
        count += upper[left];
        count -= lower[left];
        count -= upper[right];
        count += lower[right];
        counts[x - region_.minX] = count;
    }
}

} // namespace lumo
