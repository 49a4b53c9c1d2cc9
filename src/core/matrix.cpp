#include "core/matrix.h"

#include "core/allocation.h"
#include "core/reference_count.h"

#include <cstring>
#include <limits>

namespace lumo {
namespace {

uint64_t BufferBytes(int32_t rows, int32_t cols, int32_t type)
{
    if (rows < 0 || cols < 0) {
        return std::numeric_limits<uint64_t>::max();
    }
    const uint64_t step = static_cast<uint64_t>(ChannelsOf(type)) * static_cast<uint64_t>(cols);
    return SaturatingProduct(static_cast<uint64_t>(rows), ElementSizeOf(type), step);
}

} // namespace

Matrix::Matrix(int32_t rowCount, int32_t colCount, int32_t typeWord)
{
    int32_t* count = NewCount();
    try {
        data = AllocAligned(BufferBytes(rowCount, colCount, typeWord));
    } catch (...) {
        Free(count);
        throw;
    }
    refCount = count;
    Describe(rowCount, colCount, typeWord);
}

Matrix::Matrix(int32_t rowCount, int32_t colCount, uint64_t stepElements, void* pixels)
{
    Describe(rowCount, colCount, rgb16Type);
    step = stepElements;
    data = pixels;
    external = true;
}

Matrix::Matrix(const Matrix& other)
{
    Share(other);
}

Matrix& Matrix::operator=(const Matrix& other)
{
    if (this != &other) {
        if (external) {
            Clear();
        }
        Release();
        Share(other);
    }
    return *this;
}

Matrix::~Matrix()
{
    Release();
}

void Matrix::Create(int32_t rowCount, int32_t colCount, int32_t typeWord)
{
    Release();
    // Nothing of the header may change before both are there: a view has not been released.
    void* buffer = AllocAligned(BufferBytes(rowCount, colCount, typeWord));
    int32_t* count = nullptr;
    try {
        count = NewCount();
    } catch (...) {
        FreeAligned(buffer);
        throw;
    }
    data = buffer;
    refCount = count;
    Describe(rowCount, colCount, typeWord);
}

void Matrix::CopyTo(Matrix& dst) const
{
    // A copy onto itself would release the source first.
    const Matrix source(*this);
    dst.Create(source.rows, source.cols, source.type);
    if (dst.data == nullptr) {
        throw Exception(exceptionResource, "Error in CopyTo, failed copy");
    }
    const uint64_t bytes = static_cast<uint64_t>(RowLength(source)) * ElementSizeOf(source.type);
    for (int32_t row = 0; row < source.rows; ++row) {
        const uint64_t size = ElementSizeOf(source.type);
        std::memcpy(static_cast<char*>(dst.data) + static_cast<uint64_t>(row) * dst.step * size,
                    static_cast<const char*>(source.data) +
                        static_cast<uint64_t>(row) * source.step * size,
                    bytes);
    }
}

void Matrix::Release()
{
    if (external) {
        return;
    }
    const bool last = refCount == nullptr || LowerCount(refCount, refLock) < 1;
    if (last) {
        FreeAligned(data);
        Free(refCount);
    }
    Clear();
}

void Matrix::Ensure(int32_t rowCount, int32_t colCount, int32_t typeWord)
{
    if (rows != rowCount || cols != colCount || type != typeWord) {
        Create(rowCount, colCount, typeWord);
    }
}

void Matrix::Describe(int32_t rowCount, int32_t colCount, int32_t typeWord)
{
    rows = rowCount;
    cols = colCount;
    type = typeWord;
    channels = ChannelsOf(typeWord);
    step = static_cast<uint64_t>(static_cast<int64_t>(channels) * cols);
    roi = {0, 0, cols, rows};
    external = false;
}

void Matrix::Share(const Matrix& other)
{
    rows = other.rows;
    cols = other.cols;
    type = other.type;
    step = other.step;
    channels = other.channels;
    external = other.external;
    roi = other.roi;
    data = other.data;
    if (!external && other.refCount != nullptr) {
        refCount = other.refCount;
        RaiseCount(refCount, refLock);
    }
}

void Matrix::Clear()
{
    refCount = nullptr;
    roi = {};
    step = 0;
    data = nullptr;
    rows = 0;
    cols = 0;
    type = -1;
    channels = 0;
    external = false;
}

} // namespace lumo
