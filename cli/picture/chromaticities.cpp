#include "picture/chromaticities.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace qva {

namespace {

struct NamedPrimaries {
    std::string_view name;
    Chromaticities primaries;
};

// ITU-R BT.709-6, BT.2020-2; SMPTE EG 432-1 (P3 with D65 and with the theatre white);
// Adobe RGB (1998) 4.3.1; SMPTE ST 2065-1 (ACES) and S-2014-004 (ACEScg).
constexpr NamedPrimaries knownPrimaries[] = {
    {"bt709", bt709},
    {"bt2020", bt2020},
    {"display-p3", {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.3127, 0.3290}}},
    {"dci-p3", {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.314, 0.351}}},
    {"adobe-rgb", {{0.640, 0.330}, {0.210, 0.710}, {0.150, 0.060}, {0.3127, 0.3290}}},
    {"aces", {{0.7347, 0.2653}, {0.0, 1.0}, {0.0001, -0.0770}, {0.32168, 0.33767}}},
    {"acescg", {{0.713, 0.293}, {0.165, 0.830}, {0.128, 0.044}, {0.32168, 0.33767}}},
};

constexpr Matrix3 bradford = {
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

bool Near(const Chromaticity& first, const Chromaticity& second)
{
    constexpr double tolerance = 0.0005;
    return std::abs(first.x - second.x) <= tolerance && std::abs(first.y - second.y) <= tolerance;
}

double Determinant(const Matrix3& m)
{
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

Matrix3 ColumnsOf(const Chromaticities& p)
{
    Matrix3 columns{};
    const Chromaticity primaries[] = {p.red, p.green, p.blue};
    for (int i = 0; i < 3; ++i) {
        columns[0][i] = primaries[i].x;
        columns[1][i] = primaries[i].y;
        columns[2][i] = 1.0 - primaries[i].x - primaries[i].y;
    }
    return columns;
}

} // namespace

std::optional<Chromaticities> FindPrimaries(std::string_view name)
{
    for (const NamedPrimaries& known : knownPrimaries) {
        if (known.name == name) {
            return known.primaries;
        }
    }
    return std::nullopt;
}

std::string PrimariesNames()
{
    std::string names;
    for (const NamedPrimaries& known : knownPrimaries) {
        names += (names.empty() ? "" : ", ") + std::string(known.name);
    }
    return names;
}

std::string NameOfPrimaries(const Chromaticities& primaries)
{
    for (const NamedPrimaries& known : knownPrimaries) {
        if (SamePrimaries(known.primaries, primaries)) {
            return std::string(known.name);
        }
    }
    return "custom";
}

bool SamePrimaries(const Chromaticities& first, const Chromaticities& second)
{
    return Near(first.red, second.red) && Near(first.green, second.green) &&
           Near(first.blue, second.blue) && Near(first.white, second.white);
}

bool AreUsable(const Chromaticities& p)
{
    for (const Chromaticity& colour : {p.red, p.green, p.blue, p.white}) {
        if (!(std::abs(colour.x) <= 2.0) || !(std::abs(colour.y) <= 2.0)) {
            return false;
        }
    }
    // Below this the primaries lie on a line as far as a file's decimals can tell.
    if (!(p.white.y > 0.01) || !(std::abs(Determinant(ColumnsOf(p))) > 1e-4)) {
        return false;
    }
    const Vector3 scale = Multiply(Invert(ColumnsOf(p)), ToXyz(p.white));
    return std::all_of(scale.begin(), scale.end(), [](double s) { return s > 0.0; });
}

Matrix3 Multiply(const Matrix3& left, const Matrix3& right)
{
    Matrix3 product{};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            for (int k = 0; k < 3; ++k) {
                product[row][column] += left[row][k] * right[k][column];
            }
        }
    }
    return product;
}

Vector3 Multiply(const Matrix3& matrix, const Vector3& vector)
{
    Vector3 product{};
    for (int row = 0; row < 3; ++row) {
        for (int k = 0; k < 3; ++k) {
            product[row] += matrix[row][k] * vector[k];
        }
    }
    return product;
}

Matrix3 Invert(const Matrix3& m)
{
    const double determinant = Determinant(m);
    if (!(std::abs(determinant) > 0.0)) {
        throw std::domain_error("matrix cannot be inverted");
    }
    Matrix3 inverse{};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            // The cyclic indices give the cofactors their signs.
            const int r1 = (column + 1) % 3;
            const int r2 = (column + 2) % 3;
            const int c1 = (row + 1) % 3;
            const int c2 = (row + 2) % 3;
            inverse[row][column] = (m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1]) / determinant;
        }
    }
    return inverse;
}

Vector3 ToXyz(const Chromaticity& colour)
{
    return {colour.x / colour.y, 1.0, (1.0 - colour.x - colour.y) / colour.y};
}

Matrix3 RgbToXyz(const Chromaticities& primaries)
{
    Matrix3 matrix = ColumnsOf(primaries);
    const Vector3 scale = Multiply(Invert(matrix), ToXyz(primaries.white));
    for (auto& row : matrix) {
        for (int column = 0; column < 3; ++column) {
            row[column] *= scale[column];
        }
    }
    return matrix;
}

Matrix3 AdaptWhite(const Vector3& from, const Vector3& to)
{
    const Vector3 source = Multiply(bradford, from);
    const Vector3 target = Multiply(bradford, to);
    Matrix3 gains{};
    for (int i = 0; i < 3; ++i) {
        gains[i][i] = target[i] / source[i];
    }
    return Multiply(Invert(bradford), Multiply(gains, bradford));
}

Matrix3 ToBt2020(const Chromaticities& primaries)
{
    const Matrix3 adaptation = AdaptWhite(ToXyz(primaries.white), ToXyz(bt2020.white));
    return Multiply(Invert(RgbToXyz(bt2020)), Multiply(adaptation, RgbToXyz(primaries)));
}

Matrix3 Bt2020ToSrgb()
{
    return Multiply(Invert(RgbToXyz(bt709)), RgbToXyz(bt2020));
}

} // namespace qva
