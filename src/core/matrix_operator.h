// Element-wise multiplication of whole images.
#pragma once

#include "core/matrix.h"
#include "core/parallel.h"
#include "core/saturate.h"

namespace lumo {

/// The base of element-wise operations: one row at a time.
class MatrixOperator {
public:
    virtual ~MatrixOperator() = default;
    virtual void operator()(int row, const Matrix& a, const Matrix& b, Matrix& out) = 0;
};

/// Products of elements, in double, saturated to T (uint16_t for D16U, float for D32F).
template <typename T>
class MatrixOperatorMultiply : public MatrixOperator {
public:
    /// out = a * b for the elements of one row; the three images have the same shape.
    void operator()(int row, const Matrix& a, const Matrix& b, Matrix& out) override
    {
        const T* left = RowOf<T>(a, row);
        const T* right = RowOf<T>(b, row);
        T* product = RowOf<T>(out, row);
        const int64_t count = RowLength(a);
        for (int64_t i = 0; i < count; ++i) {
            product[i] = Product(left[i], static_cast<double>(right[i]));
        }
    }

    /// One element times a scalar.
    static T Product(T element, double scalar)
    {
        return Saturate<T>(static_cast<double>(element) * scalar);
    }
};

/// dst = src * scalar for every element of every row, also outside the region of interest.
/// @param dst  must have the shape of src; may be src.
template <typename T>
void MultiplyByScalar(const Matrix& src, double scalar, Matrix& dst,
                      const MatrixOperatorMultiply<T>& op)
{
    const int64_t count = RowLength(src);
    ParallelFor(0, src.rows, [&](int32_t row) {
        const T* in = RowOf<T>(src, row);
        T* out = RowOf<T>(dst, row);
        for (int64_t i = 0; i < count; ++i) {
            out[i] = op.Product(in[i], scalar);
        }
    });
}

} // namespace lumo
