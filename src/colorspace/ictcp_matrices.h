// The constant matrices of the ICtCp conversions, row-major; the row gives the output component.
#pragma once

#include <cstdint>

namespace lumo {

/// The matrix of a colour space. @throws Exception code 3 for one other than 1, 3, 6.
const double* MatrixOfColorSpace(int32_t colorSpace, const double* xyz, const double* srgb,
                                 const double* bt2020);

/// RGB or XYZ to LMS. @throws Exception code 3 for a colour space other than 1, 3, 6.
const double* ToLmsMatrix(int32_t colorSpace);

/// LMS to RGB or XYZ. @throws Exception code 3 for a colour space other than 1, 3, 6.
const double* FromLmsMatrix(int32_t colorSpace);

} // namespace lumo
