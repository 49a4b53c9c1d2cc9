// The large planes of one call, which its stages hand on to each other.
#pragma once

#include "core/matrix.h"

namespace lumo {

/// One-channel images of the size of the work. A stage re-creates what does not fit and reads
/// nothing that it did not write; between stages contents may be anything.
struct WorkPlanes {
    Matrix intensity; ///< I of ICtCp, or PQ-coded Y
    Matrix chroma1;   ///< Ct, or x
    Matrix chroma2;   ///< Cp, or y
    Matrix second;    ///< the base of tone mapping, then the intensity of the print
};

} // namespace lumo
