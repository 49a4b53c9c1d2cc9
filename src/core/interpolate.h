// The arithmetic of lookups in equally spaced tables, for blocks.
#pragma once

#include "core/simd.h"

#include <cstdint>

namespace lumo {

/// Where values of a block lie in tables: between samples `index` and `index` + 1.
template <int32_t count>
struct TablePositions {
    alignas(64) int32_t index[count];
    alignas(64) double fraction[count];
    alignas(64) double pair[2 * count]; ///< the two samples
};

/// Position p of a table of `last` + 1 samples, clamped to it; a not-a-number takes the first
/// sample. At the last sample the fraction is 1 of the step before it, which gives the same value.
LUMO_INLINE void ClampPosition(double p, double last, int32_t start, int32_t& index,
                               double& fraction)
{
    p = p > 0.0 ? p : 0.0;
    p = p < last ? p : last;
    const auto cell = static_cast<int32_t>(p);
    const auto lastCell = static_cast<int32_t>(last) - 1;
    const int32_t lower = cell < lastCell ? cell : lastCell;
    index = start + lower;
    fraction = p - lower;
}

/// values[i] = (1 - f) y0 + f y1.
template <int32_t count>
LUMO_INLINE void MixPairs(const TablePositions<count>& at, double* values)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        const double f = at.fraction[i];
        values[i] = (1.0 - f) * at.pair[2 * i] + f * at.pair[2 * i + 1];
    }
}

} // namespace lumo
