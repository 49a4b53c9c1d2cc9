// The inner loops of the weighted-least-squares smoother.
#pragma once

#include <cstdint>

namespace lumo::kernels {

/// Columns that the column pass solves at once, and rows that the row pass does.
constexpr int32_t columnLanes = 64;
constexpr int32_t rowLanes = 16;

/// Absolute differences of 16-bit guidance codes that lead to different weights: 442² is the first
/// square beyond the weight table.
constexpr int32_t codeDifferences = 443;

/// guide = trunc(code * scale), saturated to 16 bits.
void ScaleCodes(const uint16_t* code, int32_t count, double scale, uint16_t* guide);

/// difference[i] = min(|a[i] - b[i]|, 442).
void Differences(const uint16_t* a, const uint16_t* b, int32_t count, uint16_t* difference);

/// edge[i] = -(lambda * weights[trunc((a[i] - b[i])²)]), the index kept inside the table.
void EdgesOfFloats(const float* a, const float* b, int32_t count, const float* weights,
                   int32_t lastWeight, float lambda, float* edge);

/// One step of the forward elimination down columnLanes columns, for planes with the same
/// coefficients.
struct ColumnStep {
    const float* lower = nullptr;       ///< e of the step to this position; none at the first
    const float* edge = nullptr;        ///< e of the step from it, 0 at the last
    const float* upperBefore = nullptr; ///< c' of the position before
    float* upper = nullptr;             ///< receives c'
    int32_t planes = 0;
    const float* before[2] = {}; ///< eliminated values of the position before
    float* x[2] = {};            ///< replaced by the eliminated values
};
void EliminateFirst(const ColumnStep& step);
void EliminateNext(const ColumnStep& step);

/// x = x - upper * below, one step of the back substitution.
void Substitute(const float* below, const float* upper, float* x);

/// Solves rowLanes rows at once, laid out position by position: x[plane][i * rowLanes + lane].
/// `edge` holds e of the step from i - 1 to i at i * rowLanes, and receives c'.
void SolveRows(int32_t length, int32_t planes, float* edge, float* const* x);

/// rows[lane][i] to out[i * rowLanes + lane].
void GatherRows(const float* const* rows, int32_t length, float* out);
/// The inverse.
void ScatterRows(const float* in, int32_t length, float* const* rows);

} // namespace lumo::kernels
