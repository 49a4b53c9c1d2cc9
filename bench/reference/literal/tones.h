// Tone mapping with a curve for every segment, as plain loops.
#pragma once

#include "tone/htr.h"

namespace lumo::literal {

/// The base plane mapped with the curves of the segments, blended by their weights at every
/// position.
/// @param base    one channel of 16 bits.
/// @param labels  0 ... n - 1, of a reduced image.
Matrix MapTones(const Matrix& base, const Htr& htr, const Matrix_t<int>& labels, int32_t n);

} // namespace lumo::literal
