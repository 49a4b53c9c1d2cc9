// The smoother's pass along the rows, a group at a time.
#pragma once

#include "core/vector.h"
#include "smoothing/wls_edges.h"
#include "smoothing/wls_kernels.h"

#include <cstdint>

namespace lumo {

/// Solves the systems of rowLanes rows at once.
/// @tparam T  element type of planes and guide: uint8_t, uint16_t or float.
template <typename T>
class WlsRowPass {
public:
    /// Guide and edges outlive the pass.
    WlsRowPass(const WlsGuide& guide, const WlsEdges<T>& edges) : guide_(guide), edges_(edges) {}

    /// Rows first ... first + count - 1, count up to rowLanes.
    /// @param edge  scratch of cols * rowLanes.
    /// @param x     for each plane what the column pass gave, position by position; overwritten.
    /// @param out   for each plane the addresses of `count` rows, written saturated.
    void Solve(int32_t first, int32_t count, int32_t planes, float* edge, float* const* x,
               T* const (*out)[kernels::rowLanes]) const;

private:
    void GatherEdges(int32_t first, int32_t count, float* edge) const;

    const WlsGuide guide_;
    const WlsEdges<T>& edges_;
};

} // namespace lumo
