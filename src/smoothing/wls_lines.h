// The smoother for images of several channels: one line at a time.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

namespace lumo {

/// Solves every column, then every row of a D32F image in place, all channels with the same
/// coefficients.
/// @tparam T         element type of the guidance.
/// @param guidance   the size of `image`, any number of channels.
template <typename T>
void SolveLines(const Matrix& guidance, const Vector<float>& weights, float lambda, Matrix& image);

} // namespace lumo
