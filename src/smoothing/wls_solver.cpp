#include "smoothing/wls_solver.h"

#include "core/parallel.h"
#include "smoothing/wls_row_pass.h"

#include <algorithm>

namespace lumo {
namespace {

using kernels::rowLanes;

// Groups of rows that a thread solves in a slab: few, so that a slab stays in the cache; more than
// one, so that the states kept between slabs stay small.
constexpr int32_t groupsAThread = 4;

template <typename T>
struct ThreadScratch {
    ThreadScratch(int32_t slabRows, int32_t cols, int32_t planes)
        : column(slabRows, planes), edge(static_cast<uint64_t>(cols) * rowLanes)
    {
        for (int32_t plane = 0; plane < planes; ++plane) {
            rows[plane] = Vector<T>(static_cast<uint64_t>(cols) * rowLanes);
        }
    }
    typename WlsColumnPass<T>::Scratch column;
    Vector<float> edge;
    Vector<T> rows[2];
};

template <typename T>
class RowsOfMatrix : public WlsRows<T> {
public:
    explicit RowsOfMatrix(Matrix& image) : image_(image) {}
    T* Place(int32_t, int32_t row) override { return RowOf<T>(image_, row); }
    void Take(int32_t, int32_t, const T* const (*)[rowLanes]) override {}

private:
    Matrix& image_;
};

// Phase 0 marks the columns; then each slab takes two, from the bottom up: its columns, its rows.
template <typename T>
class Smoothing {
public:
    Smoothing(const WlsPlanes& planes, const WlsGuide& guide, const WlsEdges<T>& edges,
              int32_t slabRows, WlsRows<T>& rows)
        : planes_(planes.count),
          cols_(guide.image.cols),
          rowCount_(guide.image.rows),
          columns_(planes, guide, edges, slabRows),
          rowPass_(guide, edges),
          rows_(rows)
    {
        for (int32_t plane = 0; plane < planes_; ++plane) {
            slab_[plane] = Vector<float>(static_cast<uint64_t>(slabRows) * cols_);
            groups_[plane] = slab_[plane].data;
        }
    }

    int32_t Phases() const { return 1 + 2 * columns_.Slabs(); }

    int64_t Items(int32_t phase) const
    {
        const int32_t rows = columns_.Rows(Slab(phase));
        return IsOfRows(phase) ? (rows + rowLanes - 1) / rowLanes : columns_.Strips();
    }

    void Work(int32_t phase, int32_t item, ThreadScratch<T>& scratch)
    {
        if (phase == 0) {
            columns_.Mark(item, scratch.column);
        } else if (IsOfRows(phase)) {
            SolveGroup(Slab(phase), item, scratch);
        } else {
            columns_.Solve(Slab(phase), item, scratch.column, groups_);
        }
    }

private:
    static bool IsOfRows(int32_t phase) { return phase > 0 && phase % 2 == 0; }
    int32_t Slab(int32_t phase) const { return columns_.Slabs() - 1 - (phase - 1) / 2; }

    void SolveGroup(int32_t slab, int32_t group, ThreadScratch<T>& scratch)
    {
        const int32_t first = columns_.FirstRow(slab) + group * rowLanes;
        const int32_t count = std::min(rowLanes, rowCount_ - first);
        float* x[2] = {};
        T* out[2][rowLanes] = {};
        for (int32_t plane = 0; plane < planes_; ++plane) {
            x[plane] = groups_[plane] + int64_t{group} * rowLanes * cols_;
            for (int32_t lane = 0; lane < count; ++lane) {
                T* place = rows_.Place(plane, first + lane);
                out[plane][lane] =
                    place != nullptr ? place : scratch.rows[plane].data + int64_t{lane} * cols_;
            }
        }
        rowPass_.Solve(first, count, planes_, scratch.edge.data, x, out);
        rows_.Take(first, count, out);
    }

    int32_t planes_;
    int32_t cols_;
    int32_t rowCount_;
    WlsColumnPass<T> columns_;
    WlsRowPass<T> rowPass_;
    WlsRows<T>& rows_;
    Vector<float> slab_[2]; // solved columns of the slab
    float* groups_[2] = {};
};

} // namespace

template <typename T>
void WlsSolver<T>::Smooth(const WlsPlanes& planes, const WlsGuide& guide, WlsRows<T>& rows) const
{
    const int32_t groups = (guide.image.rows - 1) / rowLanes + 1;
    const int32_t slabRows = std::min(groups, groupsAThread * parallel::Threads()) * rowLanes;
    Smoothing<T> smoothing(planes, guide, edges_, slabRows, rows);
    ParallelPhases(
        smoothing.Phases(), [&](int32_t phase) { return smoothing.Items(phase); },
        [&] { return ThreadScratch<T>(slabRows, guide.image.cols, planes.count); },
        [&](int32_t phase, int64_t begin, int64_t end, ThreadScratch<T>& scratch) {
            for (int64_t item = begin; item < end; ++item) {
                smoothing.Work(phase, static_cast<int32_t>(item), scratch);
            }
        });
}

template <typename T>
void WlsSolver<T>::Smooth(const Matrix& plane, const WlsGuide& guide, Matrix& result) const
{
    RowsOfMatrix<T> rows(result);
    Smooth({{&plane, nullptr}, 1}, guide, rows);
}

template class WlsSolver<uint8_t>;
template class WlsSolver<uint16_t>;
template class WlsSolver<float>;

} // namespace lumo
