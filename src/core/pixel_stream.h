// Where a pipeline's blocks of pixels come from and where they go.
#pragma once

#include "core/image_converter.h"
#include "core/matrix.h"
#include "core/pixel_block.h"

#include <cstdint>
#include <type_traits>

namespace lumo {

/// Three-channel pixels by blocks, from any thread.
class PixelSource {
public:
    virtual ~PixelSource() = default;
    virtual int32_t Rows() const = 0;
    virtual int32_t Cols() const = 0;
    /// Loads pixels (row, col ... col + count - 1), count up to blockSize.
    virtual void Load(int32_t row, int32_t col, int32_t count, PixelBlock& block) const = 0;
    /// The same as 16-bit codes, saturated.
    virtual void LoadCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes) const
    {
        PixelBlock block;
        Load(row, col, count, block);
        ToCodes(block, codes);
    }
};

/// Takes three-channel pixels by blocks, from any thread, each pixel once. Values arrive as they
/// were computed: the sink does the saturating store. It may use the block as scratch.
class PixelSink {
public:
    virtual ~PixelSink() = default;
    virtual void Store(int32_t row, int32_t col, int32_t count, PixelBlock& block) = 0;
    /// Takes pixels that are 16-bit codes. It may use `codes` and `scratch` as scratch.
    virtual void StoreCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes,
                            PixelBlock& scratch)
    {
        FromCodes(codes, scratch);
        Store(row, col, count, scratch);
    }
};

/// The pixels of an image of T, three channels.
template <typename T>
class MatrixSource : public PixelSource {
public:
    /// `image` outlives the source.
    explicit MatrixSource(const Matrix& image) : image_(image) {}
    int32_t Rows() const override { return image_.rows; }
    int32_t Cols() const override { return image_.cols; }
    void Load(int32_t row, int32_t col, int32_t count, PixelBlock& block) const override
    {
        LoadPixels(RowOf<T>(image_, row) + int64_t{3} * col, count, 3, block);
    }

private:
    const Matrix& image_;
};

/// Stores into an image of T, three channels, saturated.
template <typename T>
class MatrixSink : public PixelSink {
public:
    /// `image` outlives the sink.
    explicit MatrixSink(Matrix& image) : image_(image) {}
    void Store(int32_t row, int32_t col, int32_t count, PixelBlock& block) override
    {
        StorePixels(block, count, 3, RowOf<T>(image_, row) + int64_t{3} * col);
    }
    void StoreCodes(int32_t row, int32_t col, int32_t count, CodeBlock& codes,
                    PixelBlock& scratch) override
    {
        if constexpr (std::is_same_v<T, uint16_t>) {
            lumo::StoreCodes(codes, count, RowOf<T>(image_, row) + int64_t{3} * col);
        } else {
            PixelSink::StoreCodes(row, col, count, codes, scratch);
        }
    }

private:
    Matrix& image_;
};

} // namespace lumo
