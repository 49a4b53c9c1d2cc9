// The smoother's pass along the columns, slab after slab.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "smoothing/wls_edges.h"
#include "smoothing/wls_kernels.h"

#include <algorithm>
#include <cstdint>

namespace lumo {

/// Planes that are smoothed together, with the same guide.
struct WlsPlanes {
    const Matrix* plane[2] = {nullptr, nullptr};
    int32_t count = 0;
};

/// Solves the systems of all columns without ever holding the whole result. The elimination runs
/// down a strip of columns once and keeps its state at the top of every slab of rows. The slabs are
/// then solved from the bottom up: each repeats its part of the elimination from the state kept,
/// which gives the same floats, and substitutes back from the slab below.
/// @tparam T  element type of planes and guide: uint8_t, uint16_t or float.
template <typename T>
class WlsColumnPass {
public:
    /// @param planes    outlive the pass, as guide and edges do.
    /// @param slabRows  rows of a slab, a multiple of rowLanes.
    WlsColumnPass(const WlsPlanes& planes, const WlsGuide& guide, const WlsEdges<T>& edges,
                  int32_t slabRows);

    int32_t Strips() const { return strips_; }
    int32_t Slabs() const { return slabs_; }
    int32_t FirstRow(int32_t slab) const { return slab * slabRows_; }
    int32_t Rows(int32_t slab) const { return std::min(slabRows_, rows_ - FirstRow(slab)); }

    /// What one thread needs. Rows of columnLanes values; the first is that before the slab.
    struct Scratch {
        Scratch(int32_t slabRows, int32_t planes);
        Vector<float> upper;
        Vector<float> value[2];
        // Of the current row and of its neighbour, by the lowest bit of the row's number.
        WlsGuideValue<T> guide[2][kernels::columnLanes] = {};
        alignas(64) float edge[2][kernels::columnLanes] = {};
    };

    /// Eliminates down a strip and keeps the states.
    void Mark(int32_t strip, Scratch& scratch);

    /// Solves a strip of a slab once every strip is marked and the slab below is solved.
    /// @param groups  for each plane the slab by groups of rowLanes rows, position by position:
    ///     group g, column x, row l at (g * cols + x) * rowLanes + l. Lanes beyond the last row
    ///     repeat it.
    void Solve(int32_t slab, int32_t strip, Scratch& scratch, float* const* groups);

private:
    int32_t Lanes(int32_t col) const;
    float* StateOf(int32_t slab, int32_t strip);
    void Eliminate(int32_t row, int32_t col, int32_t before, int32_t at, Scratch& scratch) const;
    void Substitute(int32_t slab, int32_t strip, Scratch& scratch);
    void HandOver(int32_t count, int32_t col, const Scratch& scratch, float* const* groups) const;

    const WlsPlanes planes_;
    const WlsGuide guide_;
    const WlsEdges<T>& edges_;
    int32_t rows_;
    int32_t cols_;
    int32_t slabRows_;
    int32_t slabs_;
    int32_t strips_;
    Vector<float> states_; // of every slab but the first: lower, upper, the planes' values
    Vector<float> below_;  // the solved row under the slab, strip by strip and plane by plane
};

} // namespace lumo
