// The arithmetic of a lookup in an equally spaced table, shared by all block kernels.
#pragma once

#include "core/simd.h"

#include <cstdint>

namespace lumo {

/// What a lookup needs of a table of `last` + 1 samples at xFirst ... xFirst + width.
struct UniformTable {
    const double* y;
    double xFirst;
    double width;
    double last;
};

/// (1 - f) y0 + f y1 at position p, which is clamped to the table; a not-a-number takes the first
/// sample.
LUMO_INLINE double InterpolateAt(const double* y, double p, double last)
{
    p = p > 0.0 ? p : 0.0;
    p = p < last ? p : last;
    const auto i0 = static_cast<int32_t>(p);
    const auto end = static_cast<int32_t>(last);
    const int32_t i1 = i0 < end ? i0 + 1 : end;
    const double f = p - i0;
    return (1.0 - f) * y[i0] + f * y[i1];
}

LUMO_INLINE double Interpolate(const UniformTable& table, double x)
{
    return InterpolateAt(table.y, (x - table.xFirst) * table.last / table.width, table.last);
}

} // namespace lumo
