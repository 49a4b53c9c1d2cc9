#include "colorspace/ictcp_matrices.h"

#include "colorspace/color_space.h"
#include "core/exception.h"

namespace lumo {
namespace {

// LMS is the cone space of Hunt, Pointer and Estevez for D65, of which 4 % of each channel leaks
// into the two others (the crosstalk of ITU-R BT.2390). sRGB and BT.2020 come to it through XYZ,
// by the primaries of ITU-R BT.709-6 and BT.2020-2 with a white of (0.3127, 0.3290). All are
// rounded to four decimals, the last moved where a row of grey would not stay grey. What goes back
// is the inverse of the rounded matrix, rounded in the same way.
constexpr double xyzToLms[9] = {0.3592, 0.6976, -0.0358, -0.1922, 1.1004,
                                0.0755, 0.007,  0.0749,  0.8434};
constexpr double srgbToLms[9] = {0.2957, 0.6231, 0.0812, 0.1562, 0.7273,
                                 0.1165, 0.0351, 0.1566, 0.8083};
constexpr double bt2020ToLms[9] = {0.412,  0.5239, 0.0641, 0.1667, 0.7204,
                                   0.1129, 0.0241, 0.0755, 0.9004};
constexpr double lmsToXyz[9] = {2.0702,  -1.3265, 0.2066,  0.365, 0.6805,
                                -0.0454, -0.0496, -0.0494, 1.188};
constexpr double lmsToSrgb[9] = {6.1761, -5.3229, 0.1468,  -1.3246, 2.5606,
                                 -0.236, -0.0116, -0.2649, 1.2765};
constexpr double lmsToBt2020[9] = {3.4375,  -2.5072, 0.0697,  -0.7914, 1.9838,
                                   -0.1924, -0.0257, -0.0992, 1.1249};

} // namespace

const double* MatrixOfColorSpace(int32_t colorSpace, const double* xyz, const double* srgb,
                                 const double* bt2020)
{
    switch (colorSpace) {
    case XYZ:
        return xyz;
    case sRGB:
        return srgb;
    case BT2020RGB:
        return bt2020;
    default:
        throw Exception(exceptionArgument,
                        "Error in ConvertsRGBICtCp, color space must be sRGB/BT2020RGB/XYZ");
    }
}

const double* ToLmsMatrix(int32_t colorSpace)
{
    return MatrixOfColorSpace(colorSpace, xyzToLms, srgbToLms, bt2020ToLms);
}

const double* FromLmsMatrix(int32_t colorSpace)
{
    return MatrixOfColorSpace(colorSpace, lmsToXyz, lmsToSrgb, lmsToBt2020);
}

} // namespace lumo
