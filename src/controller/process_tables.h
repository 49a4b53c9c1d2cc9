// Tables that depend on constants alone: built once per process, by the first handle.
#pragma once

#include "core/power_curve.h"
#include "print/htr_color_luts.h"

namespace lumo {

/// The curve that encodes every rendering.
const PowerCurveTable& UsualOutputCurve();

/// The colour compression of every rendering.
const HtrColorCompression& UsualColorCompression();

/// Builds these two and those that smoother, tone mapping and device step keep.
void PrepareProcessTables();

} // namespace lumo
