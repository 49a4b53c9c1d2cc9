// Images, and everything else that has rows and columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace lumo {

/// What an element is; a type word has it in its low three bits.
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

/// Copying one is cheap: the copies look at the same pixels, and the last of them to go takes the
/// pixels along. A view of a host's pixels (external) can be copied likewise, but nobody counts the
/// views, and the pixels stay when the last has gone. Two threads may each copy and drop their own
/// objects of one picture; a single object belongs to one thread at a time.
///
/// A row has cols × channels elements, a pixel's side by side; from one row's first element to the
/// next one's it is `step` elements, not bytes. RowOf finds the first.
class Matrix {
public:
    /// Nothing: no pixels, and the type -1 that no depth has.
    Matrix() = default;
    /// With pixels of its own, which hold anything.
    /// @throws Exception code 1 (size) or 0 (memory).
    Matrix(int32_t rowCount, int32_t colCount, int32_t typeWord);
    /// A view of a host's 16-bit RGB pixels.
    Matrix(int32_t rowCount, int32_t colCount, uint64_t stepElements, void* pixels);
    Matrix(const Matrix& other);
    Matrix& operator=(const Matrix& other);
    virtual ~Matrix();

    /// Lets go of its pixels for new ones, which hold anything. Copies go on with the old.
    /// @throws Exception code 1 (size) or 0 (memory). It is then empty; a view is still one.
    virtual void Create(int32_t rowCount, int32_t colCount, int32_t typeWord);

    /// Gives `dst` new pixels, like these.
    /// @throws Exception code 0 for a source without elements, or what Create throws.
    void CopyTo(Matrix& dst) const;

    /// Becomes empty. A view stays as it is.
    void Release();

    /// Create, unless it is that already.
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
