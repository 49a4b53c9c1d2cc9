// The weights of steps between neighbouring pixels of the image that guides the smoother.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "smoothing/wls_kernels.h"

#include <type_traits>

namespace lumo {

/// The image that guides the smoothing: one channel, in the depth of the planes.
struct WlsGuide {
    const Matrix& image;
    double scale; ///< its values are image * scale, saturated to the depth; 1 as they are
};

/// How guide values are held: codes as 16-bit integers, floats as they are.
template <typename T>
using WlsGuideValue = std::conditional_t<std::is_same_v<T, float>, float, uint16_t>;

/// The most edges that are asked for at once.
constexpr int32_t edgesAtOnce = 256;

/// Turns guide values into the off-diagonal entries of the smoother's systems.
/// @tparam T  element type of the guide: uint8_t, uint16_t or float.
template <typename T>
class WlsEdges {
public:
    /// @param weights  by squared difference; outlives the object.
    WlsEdges(const Vector<float>& weights, float lambda);

    /// The guide's values at (row, col ... col + count - 1).
    static void Load(const WlsGuide& guide, int32_t row, int32_t col, int32_t count,
                     WlsGuideValue<T>* values);

    /// edge[i] = -(lambda * weight of the step from b[i] to a[i]), count up to edgesAtOnce.
    void Between(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                 float* edge) const;
    /// The same to edge[i * stride].
    void Between(const WlsGuideValue<T>* a, const WlsGuideValue<T>* b, int32_t count,
                 int64_t stride, float* edge) const;

private:
    const Vector<float>& weights_;
    float lambda_;
    Vector<float> edgeOfDifference_; // by the difference of two codes
};

} // namespace lumo
