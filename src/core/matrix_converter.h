// Images of one depth from those of another.
#pragma once

#include "core/matrix.h"

namespace lumo {

/// Converts between any two of the seven depths: clamp to the target's range, truncate toward zero
/// in integers. No scaling.
class MatrixConverter {
public:
    /// @param src   only the rows of its region are converted.
    /// @param dst   re-created if its shape or type differs from {src, type}.
    /// @param type  target type word with the channel count of src.
    /// @throws Exception code 2 for a depth of 7; code 0 for a same-type copy without elements.
    void operator()(const Matrix& src, Matrix& dst, int32_t type) const;
};

} // namespace lumo
