// The matrices on both sides of LMS, a row for each value that comes out. How they follow from cone
// responses and primaries: tests/colorspace/ictcp_test.cpp.
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
