#include "core/linear_interpolation.h"

#include "core/interpolate.h"
#include "core/lookup.h"
#include "core/pixel_block.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace lumo {
namespace kernels {

using BlockPositions = TablePositions<blockSize>;

LUMO_CLONES void LocateUniform(const double* x, double first, double width, double last,
                               BlockPositions* at)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        ClampPosition((x[i] - first) * last / width, last, 0, at->index[i], at->fraction[i]);
    }
}

LUMO_CLONES void MixBlock(const BlockPositions* at, double* values)
{
    MixPairs(*at, values);
}

} // namespace kernels

void LinearInterpolation::Initialize(const Vector<double>& x, const Vector<double>& y)
{
    Vector<double> ownX, ownY;
    x.CopyTo(ownX);
    y.CopyTo(ownY);
    Initialize(std::move(ownX), std::move(ownY));
}

void LinearInterpolation::Initialize(Vector<double>&& x, Vector<double>&& y)
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
    lutx = x;
    luty = y;
    count = lutx.size;
    xLast = lutx[count - 1];
    xFirst = lutx[0];
}

double LinearInterpolation::operator()(double x) const
{
    return Evaluate(x);
}

double LinearInterpolation::Evaluate(double x) const
{
    if (lutx[0] >= x) {
        return luty[0];
    }
    if (x >= lutx[lutx.size - 1]) {
        return luty[count - 1];
    }
    const uint64_t i = SearchIndexWithBinaryTree(lutx, x);
    double position = static_cast<double>(i) + (x - lutx[i]) / (lutx[i + 1] - lutx[i]);
    position = position > 0.0 ? position : 0.0; // not a number: the first sample
    const auto i0 = static_cast<uint64_t>(std::min(position, static_cast<double>(count - 1)));
    const uint64_t i1 = std::min(i0 + 1, count - 1);
    const double f = position - static_cast<double>(i0);
    return (1.0 - f) * luty[i0] + f * luty[i1];
}

double LinearInterpolationFast::Evaluate(double x) const
{
    const auto last = static_cast<double>(count - 1);
    const double position = (x - xFirst) * last / (xLast - xFirst);
    if (!(position > 0.0)) {
        return luty[0];
    }
    if (position >= last) {
        return luty[count - 1];
    }
    const auto index = static_cast<uint64_t>(position);
    const double f = position - static_cast<double>(index);
    return (1.0 - f) * luty[index] + f * luty[index + 1];
}

void LinearInterpolationFast::EvaluateBlock(const double* x, double* out) const
{
    kernels::BlockPositions at;
    kernels::LocateUniform(x, xFirst, xLast - xFirst, static_cast<double>(count - 1), &at);
    LookUpPairs(luty.data, at.index, blockSize, at.pair);
    assert(std::all_of(at.pair, at.pair + 2 * blockSize, [](double y) { return y - y == 0.0; }));
    kernels::MixBlock(&at, out);
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
