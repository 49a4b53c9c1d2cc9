// The two passes of the smoother over one-channel planes, many lines at once.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "segmentation/wls_kernels.h"

#include <type_traits>

namespace lumo {

/// The image that guides the smoothing: one channel, in the depth of the planes.
struct WlsGuide {
    const Matrix& image;
    double scale; ///< its values are image * scale, saturated to the depth; 1 as they are
};

/// Planes that are smoothed together, with the same guide.
struct WlsPlanes {
    const Matrix* plane[2] = {nullptr, nullptr};
    int32_t count = 0;
};

/// How guide values are held: codes as 16-bit integers, floats as they are.
template <typename T>
using WlsGuideValue = std::conditional_t<std::is_same_v<T, float>, float, uint16_t>;

/// Scratch of one thread's row pass.
struct WlsRowScratch {
    WlsRowScratch(int32_t cols, int32_t planes);
    Vector<float> edge;
    Vector<float> value[2];
};

/// Solves the one-dimensional systems of all columns, then of all rows.
/// @tparam T  element type of planes and guide: uint8_t, uint16_t or float.
template <typename T>
class WlsSolver {
public:
    WlsSolver(const Vector<float>& weights, float lambda);

    /// The column pass.
    /// @param solved  one D32F matrix a plane, of the planes' size; written.
    void SolveColumns(const WlsPlanes& planes, const WlsGuide& guide, Matrix* const* solved) const;

    /// The row pass of rows first ... first + count - 1 (at most rowLanes).
    /// @param out  for each plane the addresses of `count` rows of T, saturated.
    void SolveRowGroup(const Matrix* const* solved, int32_t planes, const WlsGuide& guide,
                       int32_t first, int32_t count, T* const (*out)[kernels::rowLanes],
                       WlsRowScratch& scratch) const;

    /// Both passes over one plane.
    /// @param solved  scratch, re-created where it does not fit.
    /// @param result  of the plane's shape and depth; may be neither plane nor guide.
    void Smooth(const Matrix& plane, const WlsGuide& guide, Matrix& solved, Matrix& result) const;

private:
    struct ColumnScratch;
    void SolveStrip(const WlsPlanes& planes, const WlsGuide& guide, Matrix* const* solved,
                    int32_t col, ColumnScratch& scratch) const;
    void GatherEdges(const WlsGuide& guide, int32_t first, int32_t count, float* edge) const;
    void EdgesBetween(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                      float* edge) const;

    const Vector<float>& weights_;
    float lambda_;
    Vector<float> edgeOfDifference_; // -(lambda * weight) by the difference of two codes
};

} // namespace lumo
