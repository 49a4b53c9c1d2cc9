// Primaries of RGB spaces and the matrices between them.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace qva {

using Matrix3 = std::array<std::array<double, 3>, 3>;
using Vector3 = std::array<double, 3>;

/// CIE 1931 x and y of one colour.
struct Chromaticity {
    double x = 0.0;
    double y = 0.0;
};

/// The primaries and the white point of an RGB space.
struct Chromaticities {
    Chromaticity red;
    Chromaticity green;
    Chromaticity blue;
    Chromaticity white;
};

/// ITU-R BT.709-6, table 1, item 1.3 and 1.4; also sRGB.
inline constexpr Chromaticities bt709 = {
    {0.640, 0.330}, {0.300, 0.600}, {0.150, 0.060}, {0.3127, 0.3290}};

/// ITU-R BT.2020-2, table 3.
inline constexpr Chromaticities bt2020 = {
    {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}, {0.3127, 0.3290}};

/// XYZ of the profile connection space's white, D50 (ICC.1:2010, 7.2.16).
inline constexpr Vector3 pcsWhite = {0.9642, 1.0, 0.8249};

/// Finds primaries by the name used on the command line, as "bt2020" or "display-p3".
std::optional<Chromaticities> FindPrimaries(std::string_view name);

/// The names that FindPrimaries knows, separated by ", ".
std::string PrimariesNames();

/// The name of primaries that lie within 0.0005 of a known set, else "custom".
std::string NameOfPrimaries(const Chromaticities& primaries);

/// @return true where every x and y is the same within 0.0005.
bool SamePrimaries(const Chromaticities& first, const Chromaticities& second);

/// @return true where a matrix can be made of them: finite, y above 0, not on one line.
bool AreUsable(const Chromaticities& primaries);

Matrix3 Multiply(const Matrix3& left, const Matrix3& right);
Vector3 Multiply(const Matrix3& matrix, const Vector3& vector);

/// @throws std::domain_error where the matrix cannot be inverted.
Matrix3 Invert(const Matrix3& matrix);

/// XYZ with Y = 1.
Vector3 ToXyz(const Chromaticity& colour);

/// The matrix from linear RGB to XYZ; RGB (1, 1, 1) gives the white with Y = 1 (SMPTE RP 177).
Matrix3 RgbToXyz(const Chromaticities& primaries);

/// The linear Bradford transform from one white's XYZ to another's (ICC.1:2010, annex E).
Matrix3 AdaptWhite(const Vector3& from, const Vector3& to);

/// Linear RGB with the given primaries to linear RGB of ITU-R BT.2020, white to white.
Matrix3 ToBt2020(const Chromaticities& primaries);

/// Linear RGB of ITU-R BT.2020 to linear sRGB.
Matrix3 Bt2020ToSrgb();

} // namespace qva
