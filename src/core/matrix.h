// The two-dimensional container of every image, mask and label map.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace lumo {

/// Element types of a matrix: the low three bits of its type word.
enum Depth : int32_t {
    D8U = 0,
    D8S = 1,
    D16U = 2,
    D16S = 3,
    D32S = 4,
    D32F = 5,
    D64F = 6,
};

/// Type word of a depth and a channel count of 1 ... 512.
constexpr int32_t MakeType(int32_t depth, int32_t channels)
{
    return depth | ((channels - 1) << 3);
}
constexpr int32_t DepthOf(int32_t type)
{
    return type & 7;
}
constexpr int32_t ChannelsOf(int32_t type)
{
    return ((type >> 3) & 0x1FF) + 1;
}
constexpr uint64_t ElementSizeOf(int32_t type)
{
    return uint64_t{1} << ((type >> 1) & 3);
}

/// Type word of the caller's images: unsigned 16-bit, three channels.
constexpr int32_t rgb16Type = MakeType(D16U, 3);

/// A rectangle of pixels.
struct Roi {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
};

/// A header over a shared buffer of rows × cols pixels, channels interleaved.
///
/// Element (r, c, k) lies at data[r * step + c * channels + k]; step counts elements. Copies are
/// shallow: they share the buffer, which is freed with its last header. A header over caller
/// memory (external) neither counts nor frees it. Headers of one buffer may be copied and released
/// on different threads, one header on one thread at a time.
class Matrix {
public:
    /// Empty: no buffer, type -1.
    Matrix() = default;
    /// Owns a new, uncleared buffer.
    /// @throws Exception code 1 (size) or 0 (memory).
    Matrix(int32_t rowCount, int32_t colCount, int32_t typeWord);
    /// Over caller memory: D16U with 3 channels, `stepElements` elements from row to row.
    Matrix(int32_t rowCount, int32_t colCount, uint64_t stepElements, void* pixels);
    Matrix(const Matrix& other);
    Matrix& operator=(const Matrix& other);
    virtual ~Matrix();

    /// Releases, then owns a new, uncleared buffer. Other headers keep the old one.
    /// @throws Exception code 1 (size) or 0 (memory); the header is then empty.
    virtual void Create(int32_t rowCount, int32_t colCount, int32_t typeWord);

    /// Deep copy; `dst` is always re-created.
    /// @throws Exception code 0 for a source without elements, or what Create throws.
    void CopyTo(Matrix& dst) const;

    /// Gives the reference up; the header becomes empty. Does nothing for an external header.
    void Release();

    /// Creates only where rows, columns or type differ.
    void Ensure(int32_t rowCount, int32_t colCount, int32_t typeWord);

    std::mutex refLock;
    int32_t* refCount = nullptr;
    Roi roi;
    uint64_t step = 0;
    void* data = nullptr;
    int32_t rows = 0;
    int32_t cols = 0;
    int32_t type = -1;
    int32_t channels = 0;
    bool external = false;

private:
    void Describe(int32_t rowCount, int32_t colCount, int32_t typeWord);
    void Share(const Matrix& other);
    void Clear();
};

/// A matrix whose elements the caller promises to be T (float or int).
template <typename T>
class Matrix_t : public Matrix {
public:
    using Matrix::Matrix;
    Matrix_t() = default;
    ~Matrix_t() override = default;
    Matrix_t(const Matrix_t&) = default;
    Matrix_t& operator=(const Matrix_t&) = default;
};

/// First element of a row.
template <typename T>
T* RowOf(Matrix& matrix, int32_t row)
{
    return static_cast<T*>(matrix.data) + static_cast<uint64_t>(row) * matrix.step;
}
template <typename T>
const T* RowOf(const Matrix& matrix, int32_t row)
{
    return static_cast<const T*>(matrix.data) + static_cast<uint64_t>(row) * matrix.step;
}

/// Elements of one row.
inline int64_t RowLength(const Matrix& matrix)
{
    return static_cast<int64_t>(matrix.channels) * matrix.cols;
}

} // namespace lumo
