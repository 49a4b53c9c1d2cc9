// Tables that depend on constants alone: built once per process, by the first handle.
#pragma once

#include "tone/htr_color_luts.h"

namespace lumo {

/// The colour compression of every rendering.
const HtrColorCompression& UsualColorCompression();

/// Builds these and those that smoother, tone mapping and device step keep.
void PrepareProcessTables();

} // namespace lumo
