#include "core/image_scaling.h"

#include "core/exception.h"
#include "core/parallel.h"
#include "core/saturate.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace lumo {
namespace {

using Params = ImageScalingBilinear::INTERPOLATION_PARAMS;

template <typename T>
void StretchRow(const T* in, int32_t channels, const Vector<Params>& columns, float* out)
{
    for (uint64_t j = 0; j < columns.size; ++j) {
        const Params& entry = columns[j];
        const T* left = in + static_cast<int64_t>(entry.index0) * channels;
        const T* right = in + static_cast<int64_t>(entry.index1) * channels;
        for (int32_t k = 0; k < channels; ++k) {
            *out++ = static_cast<float>(left[k] * entry.weight0 + right[k] * entry.weight1);
        }
    }
}

// The two stretched source rows that an output row mixes; a row that the one before already
// stretched is not stretched again.
template <typename T>
class RowPair {
public:
    RowPair(const Matrix& src, const Vector<Params>& columns)
        : src_(src),
          columns_(columns),
          length_(columns.size * static_cast<uint64_t>(src.channels)),
          upper_(length_),
          lower_(length_)
    {
    }
    void Load(const Params& entry)
    {
        if (entry.index0 == lowerIndex_) {
            std::swap(upper_, lower_);
            std::swap(upperIndex_, lowerIndex_);
        }
        Fill(upper_, upperIndex_, entry.index0);
        Fill(lower_, lowerIndex_, entry.index1);
    }
    template <typename Store>
    void Mix(const Params& entry, Store&& store) const
    {
        const float* upper = upper_.data();
        const float* lower = lower_.data();
        for (uint64_t i = 0; i < length_; ++i) {
            store(i, static_cast<double>(upper[i]) * entry.weight0 +
                         static_cast<double>(lower[i]) * entry.weight1);
        }
    }

private:
    void Fill(std::vector<float>& row, int32_t& index, int32_t wanted)
    {
        if (index != wanted) {
            StretchRow(RowOf<T>(src_, wanted), src_.channels, columns_, row.data());
            index = wanted;
        }
    }

    const Matrix& src_;
    const Vector<Params>& columns_;
    uint64_t length_;
    std::vector<float> upper_;
    std::vector<float> lower_;
    int32_t upperIndex_ = -1;
    int32_t lowerIndex_ = -1;
};

template <typename T>
void ResizeRows(const Matrix& src, const Vector<Params>& columns, const Vector<Params>& rows,
                Matrix& dst)
{
    const auto prepare = [&] { return RowPair<T>(src, columns); };
    ParallelRangesWith(0, dst.rows, prepare, [&](int64_t first, int64_t last, RowPair<T>& pair) {
        for (int64_t row = first; row < last; ++row) {
            const Params& entry = rows[static_cast<uint64_t>(row)];
            pair.Load(entry);
            T* out = RowOf<T>(dst, static_cast<int32_t>(row));
            pair.Mix(entry, [&](uint64_t i, double value) { out[i] = Saturate<T>(value); });
        }
    });
}

Params MakeEntry(int32_t i, int32_t srcSize, int32_t dstSize)
{
    if (srcSize == 1) {
        return {0, 0, 1.0, 0.0};
    }
    if (dstSize == 1) {
        return {0, std::min(srcSize - 1, 1), 1.0, 0.0};
    }
    if (srcSize == dstSize) {
        return {i, i, 1.0, 0.0};
    }
    const double ratio = static_cast<double>(srcSize - 1) / (dstSize - 1);
    const double position = i * ratio;
    const auto index0 = static_cast<int32_t>(position);
    const double weight1 = position - index0;
    return {index0, std::min(srcSize - 1, index0 + 1), 1.0 - weight1, weight1};
}

} // namespace

void ImageScalingBilinear::BuildInterpolationParams(int32_t srcSize, int32_t dstSize,
                                                    Vector<INTERPOLATION_PARAMS>& params)
{
    params = Vector<INTERPOLATION_PARAMS>(static_cast<uint64_t>(std::max(dstSize, 0)));
    ParallelFor(0, dstSize, [&](int32_t i) { params[i] = MakeEntry(i, srcSize, dstSize); });
}

void ImageScalingBilinear::Resize(const Matrix& src, Matrix& dst, const int newSize[2])
{
    BuildInterpolationParams(src.cols, newSize[1], colParams);
    BuildInterpolationParams(src.rows, newSize[0], rowParams);
    (*this)(src, dst);
}

void ImageScalingBilinear::operator()(const Matrix& src, Matrix& dst)
{
    const auto newRows = static_cast<int32_t>(rowParams.size);
    const auto newCols = static_cast<int32_t>(colParams.size);
    if (newRows < 1 || newCols < 1) {
        throw Exception(
            exceptionArgument,
            "Error in ImageScalingBilinear operator(), new size must be greater than 0");
    }
    const Matrix source(src);
    if (newRows == source.rows && newCols == source.cols) {
        source.CopyTo(dst);
        return;
    }
    const int32_t depth = DepthOf(source.type);
    if (depth != D8U && depth != D16U && depth != D32F) {
        throw Exception(exceptionFormat,
                        "Error in ImageScalingBilinear operator(), data depth must be "
                        "D8U/D16U/D32F");
    }
    Vector<INTERPOLATION_PARAMS> columns;
    Vector<INTERPOLATION_PARAMS> rows;
    BuildInterpolationParams(source.cols, newCols, columns);
    BuildInterpolationParams(source.rows, newRows, rows);
    dst.Create(newRows, newCols, source.type);
    if (depth == D8U) {
        ResizeRows<uint8_t>(source, columns, rows, dst);
    } else if (depth == D16U) {
        ResizeRows<uint16_t>(source, columns, rows, dst);
    } else {
        ResizeRows<float>(source, columns, rows, dst);
    }
}

} // namespace lumo
