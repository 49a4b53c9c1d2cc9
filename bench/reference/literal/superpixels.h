// The superpixels as plain loops, one centre and one pixel after the other.
#pragma once

#include "core/matrix.h"

#include <vector>

namespace lumo::literal {

/// What a FastSlic of this compactness and so many iterations makes of an image.
/// @tparam T      uint8_t, uint16_t or float.
/// @param src     three channels, no gaps between its rows.
/// @param labels  replaced: labels 0 ... n - 1.
/// @returns n.
template <typename T>
int32_t Superpixels(const Matrix& src, double compactness, int32_t iterations, int32_t request,
                    Matrix_t<int>& labels);

/// The pass that folds regions of at most `limit` pixels into a neighbour and numbers the others.
/// @returns how many there are.
int32_t NumberByFloodFill(Matrix& labels, int64_t limit);

/// A run of four iterations for every request and the choice among them: the score of k segments
/// is (1/k) Σ pixelCount exp(-alpha stdDev).
/// @param image       three channels of 16 bits, no gaps between its rows.
/// @param intensity   its first channel, on which homogeneity is measured.
/// @returns           the number of labels, 0 where all regions were folded away.
int32_t BestSuperpixels(const Matrix& image, const Matrix& intensity, double compactness,
                        double alpha, const std::vector<int32_t>& requests, Matrix_t<int>& labels);

} // namespace lumo::literal
