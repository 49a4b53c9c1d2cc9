// The two passes of the smoother over one-channel planes.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "smoothing/wls_column_pass.h"
#include "smoothing/wls_edges.h"

namespace lumo {

/// Where smoothed rows go.
template <typename T>
class WlsRows {
public:
    virtual ~WlsRows() = default;
    /// Where a row shall be written, or null for scratch that lives while it is taken.
    virtual T* Place(int32_t /*plane*/, int32_t /*row*/) { return nullptr; }
    /// Takes rows first ... first + count - 1, each row once, in any order, from any thread.
    /// @param rows  for each plane the addresses of the rows.
    virtual void Take(int32_t first, int32_t count, const T* const (*rows)[kernels::rowLanes]) = 0;
};

/// Solves the one-dimensional systems of all columns, then of all rows.
/// @tparam T  element type of planes and guide: uint8_t, uint16_t or float.
template <typename T>
class WlsSolver {
public:
    /// @param weights  by squared difference of the guide; outlives the solver.
    WlsSolver(const Vector<float>& weights, float lambda) : edges_(weights, lambda) {}

    /// Both passes. What is taken away may overwrite neither planes nor guide.
    void Smooth(const WlsPlanes& planes, const WlsGuide& guide, WlsRows<T>& rows) const;

    /// The same for one plane.
    /// @param result  of the plane's shape and depth; may be neither plane nor guide.
    void Smooth(const Matrix& plane, const WlsGuide& guide, Matrix& result) const;

private:
    WlsEdges<T> edges_;
};

} // namespace lumo
