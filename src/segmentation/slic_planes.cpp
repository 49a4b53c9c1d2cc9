#include "segmentation/slic_planes.h"

#include "core/parallel.h"
#include "core/simd.h"

#include <limits>

namespace lumo {
namespace kernels {

LUMO_CLONES void EdgeRow(const float* p0, const float* p1, const float* p2, int64_t cols,
                         float* edge)
{
    LUMO_SIMD
    for (int64_t x = 1; x < cols - 1; ++x) {
        const float v0 = p0[x - cols] - p0[x + cols];
        const float v1 = p1[x - cols] - p1[x + cols];
        const float v2 = p2[x - cols] - p2[x + cols];
        const float h0 = p0[x - 1] - p0[x + 1];
        const float h1 = p1[x - 1] - p1[x + 1];
        const float h2 = p2[x - 1] - p2[x + 1];
        const float vertical = v0 * v0 + v1 * v1 + v2 * v2;
        const float horizontal = h0 * h0 + h1 * h1 + h2 * h2;
        edge[x] = vertical + horizontal;
    }
}

} // namespace kernels

SlicPlanes::SlicPlanes(const Matrix& src) : rows(src.rows), cols(src.cols)
{
    const auto count = static_cast<uint64_t>(PixelCount());
    for (Vector<float>& plane : channel) {
        plane = Vector<float>(count);
    }
    edge = Vector<float>(count, std::numeric_limits<float>::max());
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
    FillEdges();
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

void SlicPlanes::FillEdges()
{
    ParallelFor(1, rows - 1, [&](int32_t y) {
        const int64_t start = static_cast<int64_t>(y) * cols;
        kernels::EdgeRow(channel[0].data + start, channel[1].data + start, channel[2].data + start,
                         cols, edge.data + start);
    });
}

} // namespace lumo
