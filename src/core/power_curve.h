// Power-law curves, sampled in double and as a map of 16-bit codes.
#pragma once

#include "core/linear_interpolation.h"
#include "core/matrix.h"

#include <cstdint>

namespace lumo {

constexpr double decodingExponent = 2.2;
constexpr double encodingExponent = 0.45454545454545453; // 1 / 2.2

/// Codes of 16 bits, each with a 16-bit value.
constexpr uint64_t codeCount = 65536;

/// y = ((x - inputMin) / (inputMax - inputMin))^exponent * outputScale + outputOffset, sampled at
/// 65,536 points.
class PowerCurveTable {
public:
    double inputMax = 65535.0;
    double inputMin = 0.0;
    double outputScale = 65535.0;
    double outputOffset = 0.0;
    double exponent = encodingExponent;
    LinearInterpolationFast table;

    /// Fills `table` from the five numbers.
    void Build();
};

/// The two directions of the 2.2 curve.
enum class PowerCurve { decoding, encoding };

/// The curve over codes 0 ... 65535 to the same codes, built once per process.
const PowerCurveTable& UsualPowerCurve(PowerCurve direction);

/// A curve as a map of all codes: at i the low 16 bits of the truncated curve, and 0 where i is no
/// input of the curve (its ends truncated).
Vector<uint16_t> MakePowerCurveMap(const PowerCurveTable& curve);

/// Replaces every element of a D16U image by its value on the curve, through a 16-bit map.
/// @tparam direction  exponent 2.2 (decoding) or 1/2.2 (encoding).
/// @param dst  re-created if its shape or type differs; may be src.
template <PowerCurve direction>
void ApplyPowerCurve16(const Matrix& src, Matrix& dst, double inputMax, double inputMin,
                       double outputScale, double outputOffset);

/// dst = map[src] for every element of a D16U image, over the rows of its region.
/// @param map  65,536 entries.
/// @param dst  re-created if its shape or type differs; may be src.
void ApplyCodeMap(const Matrix& src, Matrix& dst, const uint16_t* map);

/// The map of the decoding curve over codes 0 ... 65535, built once per process.
const Vector<uint16_t>& DecodingMap();

} // namespace lumo
