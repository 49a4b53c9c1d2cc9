// The smoother as plain loops, one line after the other.
#pragma once

#include "smoothing/fast_wls_filter.h"

namespace lumo::literal {

/// What `filter` makes of `src`: the tridiagonal systems of all columns, then of all rows.
/// @tparam T        uint8_t, uint16_t or float: the element of src, guidance and result.
/// @param guidance  values 0 ... 255, the size of src. Neither has gaps between its rows.
template <typename T>
Matrix SmoothByLines(const FastWlsFilter& filter, const Matrix& src, const Matrix& guidance);

} // namespace lumo::literal
