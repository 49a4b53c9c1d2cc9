#include "segmentation/wls_solver.h"

#include "core/lookup.h"
#include "core/parallel.h"
#include "core/saturate.h"

#include <algorithm>
#include <type_traits>

namespace lumo {
namespace {

using kernels::codeDifferences;
using kernels::columnLanes;
using kernels::rowLanes;

constexpr int32_t tileCols = 64;
constexpr int32_t rowsAhead = 12; // far enough for the memory to answer

template <typename T>
void LoadGuide(const T* in, int32_t count, double scale, WlsGuideValue<T>* out)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::ScaleCodes(in, count, scale, out);
    } else {
        for (int32_t i = 0; i < count; ++i) {
            out[i] = Saturate<T>(static_cast<double>(in[i]) * scale);
        }
    }
}

template <typename T>
void LoadFloats(const T* in, int32_t count, float* out)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::CodesToFloats(in, count, out);
    } else {
        std::transform(in, in + count, out, [](T value) { return static_cast<float>(value); });
    }
}

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

// Asks for elements of a row that a strip comes to next: no prefetcher follows steps of a whole
// row.
template <typename T>
void PrefetchRow(const Matrix& image, int32_t row, int32_t col)
{
    if (row >= 0 && row < image.rows) {
        const auto* first = reinterpret_cast<const char*>(RowOf<T>(image, row) + col);
        for (uint64_t at = 0; at < columnLanes * sizeof(T); at += 64) {
            __builtin_prefetch(first + at);
        }
    }
}

} // namespace

WlsRowScratch::WlsRowScratch(int32_t cols, int32_t planes)
    : edge(static_cast<uint64_t>(cols) * rowLanes)
{
    for (int32_t plane = 0; plane < planes; ++plane) {
        value[plane] = Vector<float>(static_cast<uint64_t>(cols) * rowLanes);
    }
}

template <typename T>
struct WlsSolver<T>::ColumnScratch {
    ColumnScratch(int32_t rows, int32_t planes) : upper(static_cast<uint64_t>(rows) * columnLanes)
    {
        for (int32_t plane = 0; plane < planes; ++plane) {
            value[plane] = Vector<float>(static_cast<uint64_t>(rows) * columnLanes, 0.0f);
        }
    }
    Vector<float> upper;
    Vector<float> value[2];
    WlsGuideValue<T> guide[2][columnLanes] = {};
    alignas(64) float edge[columnLanes] = {};
};

template <typename T>
WlsSolver<T>::WlsSolver(const Vector<float>& weights, float lambda)
    : weights_(weights), lambda_(lambda), edgeOfDifference_(codeDifferences)
{
    const auto last = static_cast<int32_t>(weights.size - 1);
    for (int32_t difference = 0; difference < codeDifferences; ++difference) {
        const int32_t k = std::min(difference * difference, last);
        edgeOfDifference_[difference] = -(lambda * weights[k]);
    }
}

template <typename T>
void WlsSolver<T>::SolveColumns(const WlsPlanes& planes, const WlsGuide& guide,
                                Matrix* const* solved) const
{
    const int32_t rows = planes.plane[0]->rows;
    const int32_t cols = planes.plane[0]->cols;
    const int32_t strips = (cols + columnLanes - 1) / columnLanes;
    ParallelRangesWith(
        0, strips, [&] { return ColumnScratch(rows, planes.count); },
        [&](int64_t first, int64_t last, ColumnScratch& scratch) {
            for (int64_t strip = first; strip < last; ++strip) {
                SolveStrip(planes, guide, solved, static_cast<int32_t>(strip) * columnLanes,
                           scratch);
            }
        });
}

template <typename T>
void WlsSolver<T>::SolveStrip(const WlsPlanes& planes, const WlsGuide& guide, Matrix* const* solved,
                              int32_t col, ColumnScratch& scratch) const
{
    const int32_t rows = planes.plane[0]->rows;
    const int32_t lanes = std::min(columnLanes, planes.plane[0]->cols - col);
    kernels::ColumnState state;
    LoadGuide(RowOf<T>(guide.image, 0) + col, lanes, guide.scale, scratch.guide[0]);
    for (int32_t row = 0; row < rows; ++row) {
        const int64_t at = static_cast<int64_t>(row) * columnLanes;
        float* x[2] = {};
        for (int32_t plane = 0; plane < planes.count; ++plane) {
            x[plane] = scratch.value[plane].data + at;
            PrefetchRow<T>(*planes.plane[plane], row + rowsAhead, col);
            LoadFloats(RowOf<T>(*planes.plane[plane], row) + col, lanes, x[plane]);
        }
        if (row + 1 < rows) {
            WlsGuideValue<T>* here = scratch.guide[row & 1];
            WlsGuideValue<T>* next = scratch.guide[(row + 1) & 1];
            LoadGuide(RowOf<T>(guide.image, row + 1) + col, lanes, guide.scale, next);
            EdgesBetween(next, here, columnLanes, scratch.edge);
        } else {
            std::fill(scratch.edge, scratch.edge + columnLanes, 0.0f);
        }
        const auto eliminate = row == 0 ? kernels::EliminateFirst : kernels::EliminateNext;
        eliminate(scratch.edge, planes.count, x, scratch.upper.data + at, state);
    }
    for (int32_t plane = 0; plane < planes.count; ++plane) {
        float* next = state.value[plane];
        for (int32_t row = rows - 1; row >= 0; --row) {
            const int64_t at = static_cast<int64_t>(row) * columnLanes;
            if (row < rows - 1) {
                kernels::Substitute(scratch.value[plane].data + at, scratch.upper.data + at, next);
            }
            PrefetchRow<float>(*solved[plane], row - rowsAhead, col);
            std::copy(next, next + lanes, RowOf<float>(*solved[plane], row) + col);
        }
    }
}

template <typename T>
void WlsSolver<T>::EdgesBetween(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                                float* edge) const
{
    if constexpr (std::is_same_v<T, float>) {
        kernels::EdgesOfFloats(a, b, count, weights_.data, static_cast<int32_t>(weights_.size - 1),
                               lambda_, edge);
    } else {
        uint16_t difference[kernels::columnLanes];
        kernels::Differences(a, b, count, difference);
        LookUpFloats(edgeOfDifference_.data, difference, count, edge);
    }
}

// Steps between neighbours of rowLanes rows, position by position; the first position has none.
template <typename T>
void WlsSolver<T>::GatherEdges(const WlsGuide& guide, int32_t first, int32_t count,
                               float* edge) const
{
    const int32_t cols = guide.image.cols;
    float tile[rowLanes][tileCols] = {};
    const float* rows[rowLanes];
    for (int32_t lane = 0; lane < rowLanes; ++lane) {
        rows[lane] = tile[lane];
    }
    std::fill(edge, edge + rowLanes, 0.0f);
    for (int32_t col = 1; col < cols; col += tileCols) {
        const int32_t length = std::min(tileCols, cols - col);
        for (int32_t lane = 0; lane < count; ++lane) {
            WlsGuideValue<T> values[tileCols + 1];
            LoadGuide(RowOf<T>(guide.image, first + lane) + col - 1, length + 1, guide.scale,
                      values);
            EdgesBetween(values + 1, values, length, tile[lane]);
        }
        kernels::GatherRows(rows, length, edge + static_cast<int64_t>(col) * rowLanes);
    }
}

template <typename T>
void WlsSolver<T>::SolveRowGroup(const Matrix* const* solved, int32_t planes, const WlsGuide& guide,
                                 int32_t first, int32_t count, T* const (*out)[kernels::rowLanes],
                                 WlsRowScratch& scratch) const
{
    const int32_t cols = solved[0]->cols;
    float* x[2] = {scratch.value[0].data, scratch.value[1].data};
    GatherEdges(guide, first, count, scratch.edge.data);
    for (int32_t plane = 0; plane < planes; ++plane) {
        const float* rows[rowLanes];
        for (int32_t lane = 0; lane < rowLanes; ++lane) {
            rows[lane] = RowOf<float>(*solved[plane], first + std::min(lane, count - 1));
        }
        kernels::GatherRows(rows, cols, x[plane]);
    }
    kernels::SolveRows(cols, planes, scratch.edge.data, x);
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

template <typename T>
void WlsSolver<T>::Smooth(const Matrix& plane, const WlsGuide& guide, Matrix& solved,
                          Matrix& result) const
{
    solved.Ensure(plane.rows, plane.cols, D32F);
    Matrix* const written[] = {&solved};
    SolveColumns({{&plane, nullptr}, 1}, guide, written);
    const int64_t groups = (static_cast<int64_t>(plane.rows) + rowLanes - 1) / rowLanes;
    ParallelRangesWith(
        0, groups, [&] { return WlsRowScratch(plane.cols, 1); },
        [&](int64_t begin, int64_t end, WlsRowScratch& scratch) {
            for (int64_t group = begin; group < end; ++group) {
                const auto first = static_cast<int32_t>(group * rowLanes);
                const int32_t count = std::min(rowLanes, plane.rows - first);
                T* out[1][rowLanes] = {};
                for (int32_t lane = 0; lane < count; ++lane) {
                    out[0][lane] = RowOf<T>(result, first + lane);
                }
                const Matrix* const read[] = {&solved};
                SolveRowGroup(read, 1, guide, first, count, out, scratch);
            }
        });
}

template class WlsSolver<uint8_t>;
template class WlsSolver<uint16_t>;
template class WlsSolver<float>;

} // namespace lumo
