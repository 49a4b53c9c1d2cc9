#include "smoothing/wls_row_pass.h"

#include "core/code_conversion.h"
#include "core/saturate.h"

#include <algorithm>
#include <type_traits>

namespace lumo {
namespace {

using kernels::rowLanes;

constexpr int32_t tileCols = edgesAtOnce; // 16 rows of them fit into the first cache

template <typename T>
void StoreFloats(const float* in, int32_t count, T* out)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::FloatsToCodes(in, count, out);
    } else {
        std::transform(in, in + count, out,
                       [](float value) { return Saturate<T>(static_cast<double>(value)); });
    }
}

// Lanes without a row have no edges.
void ZeroLanes(int32_t count, int32_t length, float* edge)
{
    for (int32_t i = 0; count < rowLanes && i < length; ++i) {
        std::fill(edge + i * rowLanes + count, edge + (i + 1) * rowLanes, 0.0f);
    }
}

} // namespace

// Steps between neighbours of rowLanes rows, position by position; the first position has none.
template <typename T>
void WlsRowPass<T>::GatherEdges(int32_t first, int32_t count, float* edge) const
{
    const int32_t cols = guide_.image.cols;
    std::fill(edge, edge + rowLanes, 0.0f);
    for (int32_t col = 1; col < cols; col += tileCols) {
        const int32_t length = std::min(tileCols, cols - col);
        float* out = edge + static_cast<int64_t>(col) * rowLanes;
        for (int32_t lane = 0; lane < count; ++lane) {
            WlsGuideValue<T> values[tileCols + 1];
            WlsEdges<T>::Load(guide_, first + lane, col - 1, length + 1, values);
            edges_.Between(values + 1, values, length, rowLanes, out + lane);
        }
        ZeroLanes(count, length, out);
    }
}

template <typename T>
void WlsRowPass<T>::Solve(int32_t first, int32_t count, int32_t planes, float* edge,
                          float* const* x, T* const (*out)[rowLanes]) const
{
    const int32_t cols = guide_.image.cols;
    GatherEdges(first, count, edge);
    kernels::SolveRows(cols, planes, edge, x);
    float tile[rowLanes][tileCols];
    float* tiles[rowLanes];
    for (int32_t lane = 0; lane < rowLanes; ++lane) {
        tiles[lane] = tile[lane];
    }
    for (int32_t plane = 0; plane < planes; ++plane) {
        for (int32_t col = 0; col < cols; col += tileCols) {
            const int32_t length = std::min(tileCols, cols - col);
            kernels::ScatterRows(x[plane] + static_cast<int64_t>(col) * rowLanes, length, tiles);
            for (int32_t lane = 0; lane < count; ++lane) {
                StoreFloats(tile[lane], length, out[plane][lane] + col);
            }
        }
    }
}

template class WlsRowPass<uint8_t>;
template class WlsRowPass<uint16_t>;
template class WlsRowPass<float>;

} // namespace lumo
