#include "core/linear_interpolation.h"

#include "core/interpolate.h"
#include "core/pixel_block.h"

#include <algorithm>

namespace lumo {
namespace kernels {

LUMO_CLONES void EvaluateUniform(const UniformTable* table, const double* x, double* out)
{
    const UniformTable t = *table;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        out[i] = Interpolate(t, x[i]);
    }
}

} // namespace kernels

void LinearInterpolation::Initialize(const Vector<double>& x, const Vector<double>& y)
{
    if (x.size != y.size) {
        throw Exception(
            exceptionArgument,
            "Error in LinearInterpolation::Initialize, size of lutx  must be same as luty");
    }
    if (x.size < 2) {
        throw Exception(
            exceptionArgument,
            "Error in LinearInterpolation::Initialize, size of lutx must be greater than 1");
    }
    x.CopyTo(lutx);
    y.CopyTo(luty);
    count = x.size;
    xLast = lutx[count - 1];
    xFirst = lutx[0];
}

double LinearInterpolation::operator()(double x) const
{
    return Evaluate(x);
}

double LinearInterpolation::Evaluate(double x) const
{
    double position = 0.0;
    if (lutx[0] >= x) {
        position = 0.0;
    } else if (x >= lutx[lutx.size - 1]) {
        position = static_cast<double>(count - 1);
    } else {
        const uint64_t i = SearchIndexWithBinaryTree(lutx, x);
        position = static_cast<double>(i) + (x - lutx[i]) / (lutx[i + 1] - lutx[i]);
    }
    const auto last = static_cast<double>(count - 1);
    position = position > 0.0 ? position : 0.0;
    const auto i0 = static_cast<uint64_t>(std::min(position, last));
    const uint64_t i1 = std::min(i0 + 1, count - 1);
    const double f = position - static_cast<double>(i0);
    return (1.0 - f) * luty[i0] + f * luty[i1];
}

double LinearInterpolationFast::Evaluate(double x) const
{
    const UniformTable table = {luty.data, xFirst, xLast - xFirst, static_cast<double>(count - 1)};
    return Interpolate(table, x);
}

void LinearInterpolationFast::EvaluateBlock(const double* x, double* out) const
{
    const UniformTable table = {luty.data, xFirst, xLast - xFirst, static_cast<double>(count - 1)};
    kernels::EvaluateUniform(&table, x, out);
}

uint64_t SearchIndexWithBinaryTree(const Vector<double>& lutx, double x)
{
    if (lutx.size == 0) {
        throw Exception(exceptionArgument, "Error in SearchIndexWithBinaryTree, data is empty");
    }
    uint64_t high = lutx.size - 1;
    uint64_t low = 0;
    uint64_t middle = high / 2;
    while (low + 1 < high) {
        middle = (high + low) / 2;
        if (lutx[middle] > x) {
            high = middle;
        } else if (x > lutx[middle]) {
            low = middle;
        } else {
            return middle;
        }
        middle = (high + low) / 2;
    }
    return middle;
}

} // namespace lumo
