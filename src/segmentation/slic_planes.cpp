#include "segmentation/slic_planes.h"

#include "core/code_conversion.h"
#include "core/parallel.h"

#include <algorithm>
#include <limits>

namespace lumo {

SlicPlanes::SlicPlanes(const Matrix& src) : rows(src.rows), cols(src.cols)
{
    Allocate();
    switch (DepthOf(src.type)) {
    case D8U:
        Split<uint8_t>(src);
        break;
    case D16U:
        Split<uint16_t>(src);
        break;
    default:
        Split<float>(src);
        break;
    }
}

SlicPlanes::SlicPlanes(const Matrix (&src)[3]) : rows(src[0].rows), cols(src[0].cols)
{
    Allocate();
    ParallelFor(0, rows, [&](int32_t y) {
        const int64_t start = static_cast<int64_t>(y) * cols;
        for (int c = 0; c < 3; ++c) {
            float* out = channel[c].data + start;
            if (DepthOf(src[c].type) == D16U) {
                kernels::CodesToFloats(RowOf<uint16_t>(src[c], y), cols, out);
            } else {
                const auto* in = RowOf<float>(src[c], y);
                std::copy(in, in + cols, out);
            }
        }
    });
}

void SlicPlanes::Allocate()
{
    for (Vector<float>& plane : channel) {
        plane = Vector<float>(static_cast<uint64_t>(PixelCount()));
    }
}

template <typename T>
void SlicPlanes::Split(const Matrix& src)
{
    ParallelFor(0, rows, [&](int32_t y) {
        const T* in = RowOf<T>(src, y);
        const int64_t start = static_cast<int64_t>(y) * cols;
        for (int32_t x = 0; x < cols; ++x) {
            for (int64_t c = 0; c < 3; ++c) {
                channel[c][start + x] = static_cast<float>(in[3 * static_cast<int64_t>(x) + c]);
            }
        }
    });
}

float SlicPlanes::Across(int64_t before, int64_t after) const
{
    const float d0 = channel[0][before] - channel[0][after];
    const float d1 = channel[1][before] - channel[1][after];
    const float d2 = channel[2][before] - channel[2][after];
    return d0 * d0 + d1 * d1 + d2 * d2;
}

float SlicPlanes::Edge(int64_t pixel) const
{
    const int64_t x = pixel % cols;
    const int64_t y = pixel / cols;
    if (x == 0 || y == 0 || x == cols - 1 || y == rows - 1) {
        return std::numeric_limits<float>::max();
    }
    return Across(pixel - cols, pixel + cols) + Across(pixel - 1, pixel + 1);
}

} // namespace lumo
