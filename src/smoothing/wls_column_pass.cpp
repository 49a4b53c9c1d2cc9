#include "smoothing/wls_column_pass.h"

#include "core/code_conversion.h"

#include <cstring>
#include <type_traits>

namespace lumo {
namespace {

using kernels::columnLanes;
using kernels::rowLanes;

constexpr int32_t rowsAhead = 12; // far enough for the memory to answer

template <typename T>
void LoadFloats(const T* in, int32_t count, float* out)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::CodesToFloats(in, count, out);
    } else {
        std::transform(in, in + count, out, [](T value) { return static_cast<float>(value); });
    }
}

// Asks for elements of a row that a strip comes to next: no prefetcher follows steps of a whole
// row.
template <typename T>
void PrefetchRow(const Matrix& image, int32_t row, int32_t col)
{
    if (row < image.rows) {
        const auto* first = reinterpret_cast<const char*>(RowOf<T>(image, row) + col);
        constexpr uint64_t bytes = columnLanes * sizeof(T);
        for (uint64_t at = 0; at < bytes; at += 64) {
            __builtin_prefetch(first + at);
        }
        __builtin_prefetch(first + bytes - 1); // rows need not begin at a cache line
    }
}

} // namespace

template <typename T>
WlsColumnPass<T>::Scratch::Scratch(int32_t slabRows, int32_t planes)
    : upper((static_cast<uint64_t>(slabRows) + 1) * columnLanes)
{
    for (int32_t plane = 0; plane < planes; ++plane) {
        value[plane] = Vector<float>((static_cast<uint64_t>(slabRows) + 1) * columnLanes, 0.0f);
    }
}

template <typename T>
WlsColumnPass<T>::WlsColumnPass(const WlsPlanes& planes, const WlsGuide& guide,
                                const WlsEdges<T>& edges, int32_t slabRows)
    : planes_(planes),
      guide_(guide),
      edges_(edges),
      rows_(planes.plane[0]->rows),
      cols_(planes.plane[0]->cols),
      slabRows_(slabRows),
      slabs_(static_cast<int32_t>((int64_t{rows_} + slabRows - 1) / slabRows)),
      strips_(static_cast<int32_t>((int64_t{cols_} + columnLanes - 1) / columnLanes)),
      states_(static_cast<uint64_t>(slabs_ - 1) * static_cast<uint64_t>(strips_) *
              static_cast<uint64_t>((2 + planes.count) * columnLanes)),
      below_(static_cast<uint64_t>(strips_) * static_cast<uint64_t>(planes.count * columnLanes))
{
}

template <typename T>
int32_t WlsColumnPass<T>::Lanes(int32_t col) const
{
    return std::min(columnLanes, cols_ - col);
}

template <typename T>
float* WlsColumnPass<T>::StateOf(int32_t slab, int32_t strip)
{
    const int64_t index = static_cast<int64_t>(slab - 1) * strips_ + strip;
    return states_.data + index * (2 + planes_.count) * columnLanes;
}

template <typename T>
void WlsColumnPass<T>::Mark(int32_t strip, Scratch& scratch)
{
    constexpr size_t bytes = columnLanes * sizeof(float);
    const int32_t col = strip * columnLanes;
    WlsEdges<T>::Load(guide_, 0, col, Lanes(col), scratch.guide[0]);
    const int32_t end = FirstRow(slabs_ - 1);
    for (int32_t row = 0; row < end; ++row) {
        const int32_t at = (row + 1) & 1;
        Eliminate(row, col, 1 - at, at, scratch);
        if ((row + 1) % slabRows_ == 0) {
            float* kept = StateOf((row + 1) / slabRows_, strip);
            std::memcpy(kept, scratch.edge[row & 1], bytes);
            std::memcpy(kept + columnLanes, scratch.upper.data + at * columnLanes, bytes);
            for (int32_t plane = 0; plane < planes_.count; ++plane) {
                std::memcpy(kept + (2 + plane) * columnLanes,
                            scratch.value[plane].data + at * columnLanes, bytes);
            }
        }
    }
}

template <typename T>
void WlsColumnPass<T>::Solve(int32_t slab, int32_t strip, Scratch& scratch, float* const* groups)
{
    constexpr size_t bytes = columnLanes * sizeof(float);
    const int32_t col = strip * columnLanes;
    const int32_t first = FirstRow(slab);
    const int32_t count = Rows(slab);
    if (slab > 0) {
        const float* kept = StateOf(slab, strip);
        std::memcpy(scratch.edge[(first - 1) & 1], kept, bytes);
        std::memcpy(scratch.upper.data, kept + columnLanes, bytes);
        for (int32_t plane = 0; plane < planes_.count; ++plane) {
            std::memcpy(scratch.value[plane].data, kept + (2 + plane) * columnLanes, bytes);
        }
    }
    WlsEdges<T>::Load(guide_, first, col, Lanes(col), scratch.guide[first & 1]);
    for (int32_t row = 0; row < count; ++row) {
        Eliminate(first + row, col, row, row + 1, scratch);
    }
    Substitute(slab, strip, scratch);
    HandOver(count, col, scratch, groups);
}

// One row of the elimination: `before` and `at` are rows of the scratch.
template <typename T>
void WlsColumnPass<T>::Eliminate(int32_t row, int32_t col, int32_t before, int32_t at,
                                 Scratch& scratch) const
{
    const int32_t lanes = Lanes(col);
    float* edge = scratch.edge[row & 1];
    kernels::ColumnStep step;
    step.lower = scratch.edge[(row + 1) & 1];
    step.edge = edge;
    step.upperBefore = scratch.upper.data + int64_t{before} * columnLanes;
    step.upper = scratch.upper.data + int64_t{at} * columnLanes;
    step.planes = planes_.count;
    for (int32_t plane = 0; plane < planes_.count; ++plane) {
        step.before[plane] = scratch.value[plane].data + int64_t{before} * columnLanes;
        step.x[plane] = scratch.value[plane].data + int64_t{at} * columnLanes;
        PrefetchRow<T>(*planes_.plane[plane], row + rowsAhead, col);
        LoadFloats(RowOf<T>(*planes_.plane[plane], row) + col, lanes, step.x[plane]);
    }
    if (row + 1 < rows_) {
        WlsGuideValue<T>* next = scratch.guide[(row + 1) & 1];
        WlsEdges<T>::Load(guide_, row + 1, col, lanes, next);
        edges_.Between(next, scratch.guide[row & 1], columnLanes, edge);
    } else {
        std::fill(edge, edge + columnLanes, 0.0f);
    }
    row == 0 ? kernels::EliminateFirst(step) : kernels::EliminateNext(step);
}

template <typename T>
void WlsColumnPass<T>::Substitute(int32_t slab, int32_t strip, Scratch& scratch)
{
    const int32_t last = Rows(slab) - 1;
    for (int32_t plane = 0; plane < planes_.count; ++plane) {
        float* below =
            below_.data + (static_cast<int64_t>(strip) * planes_.count + plane) * columnLanes;
        for (int32_t row = slab < slabs_ - 1 ? last : last - 1; row >= 0; --row) {
            const int64_t at = (int64_t{row} + 1) * columnLanes;
            float* value = scratch.value[plane].data + at;
            kernels::Substitute(row == last ? below : value + columnLanes, scratch.upper.data + at,
                                value);
        }
        std::memcpy(below, scratch.value[plane].data + columnLanes, columnLanes * sizeof(float));
    }
}

template <typename T>
void WlsColumnPass<T>::HandOver(int32_t count, int32_t col, const Scratch& scratch,
                                float* const* groups) const
{
    for (int32_t plane = 0; plane < planes_.count; ++plane) {
        for (int32_t first = 0; first < count; first += rowLanes) {
            const float* rows[rowLanes];
            for (int32_t lane = 0; lane < rowLanes; ++lane) {
                const int64_t row = std::min(first + lane, count - 1);
                rows[lane] = scratch.value[plane].data + (row + 1) * columnLanes;
            }
            const int64_t place = int64_t{first} * cols_ + int64_t{col} * rowLanes;
            kernels::GatherRows(rows, Lanes(col), groups[plane] + place);
        }
    }
}

template class WlsColumnPass<uint8_t>;
template class WlsColumnPass<uint16_t>;
template class WlsColumnPass<float>;

} // namespace lumo
