#include "core/power_curve.h"

#include "core/parallel.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumo {
namespace {

PowerCurveTable Usual(double exponent)
{
    PowerCurveTable curve;
    curve.exponent = exponent;
    curve.Build();
    return curve;
}

} // namespace

void PowerCurveTable::Build()
{
    Vector<double> x(codeCount);
    Vector<double> y(codeCount);
    ParallelFor(0, static_cast<int64_t>(codeCount), [&](int32_t i) {
        x[i] = (i / 65535.0) * inputMax + inputMin;
        const double t = (x[i] - inputMin) / (inputMax - inputMin);
        y[i] = std::pow(t, exponent) * outputScale + outputOffset;
    });
    table.Initialize(std::move(x), std::move(y));
}

const PowerCurveTable& UsualPowerCurve(PowerCurve direction)
{
    static const PowerCurveTable decoding = Usual(decodingExponent);
    static const PowerCurveTable encoding = Usual(encodingExponent);
    return direction == PowerCurve::decoding ? decoding : encoding;
}

Vector<uint16_t> MakePowerCurveMap(const PowerCurveTable& curve)
{
    Vector<uint16_t> map(codeCount, uint16_t{0});
    const auto first = static_cast<uint16_t>(static_cast<int64_t>(curve.inputMin));
    const auto last = static_cast<uint16_t>(static_cast<int64_t>(curve.inputMax));
    for (int32_t i = first; i <= last; ++i) {
        map[i] = static_cast<uint16_t>(static_cast<int64_t>(curve.table.Evaluate(i)));
    }
    return map;
}

const Vector<uint16_t>& DecodingMap()
{
    static const Vector<uint16_t> map = MakePowerCurveMap(UsualPowerCurve(PowerCurve::decoding));
    return map;
}

} // namespace lumo
