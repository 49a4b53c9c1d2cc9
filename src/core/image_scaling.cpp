#include "core/image_scaling.h"

#include "core/exception.h"
#include "core/lookup.h"
#include "core/parallel.h"
#include "core/saturate.h"
#include "core/simd.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace lumo {
namespace kernels {

// One block of an output row of codes. A pair holds two neighbours of a source row, the left one in
// its low half; a row's pairs are stretched to floats before the two rows are mixed.
struct BilinearBlock {
    static constexpr int32_t size = 128;
    alignas(64) uint32_t upper[size];
    alignas(64) uint32_t lower[size];
    double weight0;
    double weight1;
};

LUMO_INLINE float StretchPair(uint32_t pair, double weight0, double weight1)
{
    const auto left = static_cast<int32_t>(pair & 0xFFFFu);
    const auto right = static_cast<int32_t>(pair >> 16);
    return static_cast<float>(left * weight0 + right * weight1);
}

LUMO_CLONES void MixPairs16(const BilinearBlock* block, const double* weight0,
                            const double* weight1, int32_t count, uint16_t* out)
{
    const double row0 = block->weight0;
    const double row1 = block->weight1;
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        const float upper = StretchPair(block->upper[i], weight0[i], weight1[i]);
        const float lower = StretchPair(block->lower[i], weight0[i], weight1[i]);
        out[i] = Saturate<uint16_t>(static_cast<double>(upper) * row0 +
                                    static_cast<double>(lower) * row1);
    }
}

} // namespace kernels

namespace {

using Params = ImageScalingBilinear::INTERPOLATION_PARAMS;
using kernels::BilinearBlock;

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

// The columns' table, field by field. The leading `paired` columns mix neighbours: all of them but
// perhaps the last.
struct PairedColumns {
    explicit PairedColumns(const Vector<Params>& table)
        : left(table.size), weight0(table.size), weight1(table.size)
    {
        for (uint64_t j = 0; j < table.size; ++j) {
            left[j] = table[j].index0;
            weight0[j] = table[j].weight0;
            weight1[j] = table[j].weight1;
        }
        const auto isPair = [](const Params& entry) { return entry.index1 == entry.index0 + 1; };
        const Params* first = table.data;
        const Params* end = first + table.size;
        paired = static_cast<int32_t>(std::find_if_not(first, end, isPair) - first);
    }
    Vector<int32_t> left;
    Vector<double> weight0;
    Vector<double> weight1;
    int32_t paired;
};

// Asks for the part of a row that columns first ... last take from it.
void Prefetch(const uint16_t* row, const PairedColumns& columns, int32_t first, int32_t last)
{
    constexpr int32_t line = 64 / sizeof(uint16_t);
    for (int32_t at = columns.left[first]; at <= columns.left[last] + 1; at += line) {
        __builtin_prefetch(row + at);
    }
}

// The codes of one output row; `next` is the entry of the row that will follow it.
void ResizeRow16(const Matrix& src, const Vector<Params>& table, const PairedColumns& columns,
                 const Params& entry, const Params& next, uint16_t* out)
{
    const auto* upper = RowOf<uint16_t>(src, entry.index0);
    const auto* lower = RowOf<uint16_t>(src, entry.index1);
    BilinearBlock block;
    block.weight0 = entry.weight0;
    block.weight1 = entry.weight1;
    for (int32_t j = 0; j < columns.paired; j += BilinearBlock::size) {
        const int32_t count = std::min(BilinearBlock::size, columns.paired - j);
        Prefetch(RowOf<uint16_t>(src, next.index0), columns, j, j + count - 1);
        Prefetch(RowOf<uint16_t>(src, next.index1), columns, j, j + count - 1);
        LookUpCodePairs(upper, columns.left.data + j, count, block.upper);
        LookUpCodePairs(lower, columns.left.data + j, count, block.lower);
        kernels::MixPairs16(&block, columns.weight0.data + j, columns.weight1.data + j, count,
                            out + j);
    }
    for (uint64_t j = columns.paired; j < table.size; ++j) {
        const auto stretch = [&](const uint16_t* row) {
            const Params& column = table[j];
            return static_cast<double>(static_cast<float>(row[column.index0] * column.weight0 +
                                                          row[column.index1] * column.weight1));
        };
        out[j] =
            Saturate<uint16_t>(stretch(upper) * entry.weight0 + stretch(lower) * entry.weight1);
    }
}

void ResizeCodes(const Matrix& src, const Vector<Params>& table, const Vector<Params>& rows,
                 Matrix& dst)
{
    const PairedColumns columns(table);
    ParallelRanges(0, dst.rows, [&](int64_t first, int64_t last) {
        for (int64_t row = first; row < last; ++row) {
            const Params& next = rows[static_cast<uint64_t>(std::min(row + 1, last - 1))];
            ResizeRow16(src, table, columns, rows[static_cast<uint64_t>(row)], next,
                        RowOf<uint16_t>(dst, static_cast<int32_t>(row)));
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
    } else if (depth == D16U && source.channels == 1) {
        ResizeCodes(source, columns, rows, dst);
    } else if (depth == D16U) {
        ResizeRows<uint16_t>(source, columns, rows, dst);
    } else {
        ResizeRows<float>(source, columns, rows, dst);
    }
}

} // namespace lumo
