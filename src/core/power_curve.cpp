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

template <PowerCurve direction>
void ApplyPowerCurve16(const Matrix& src, Matrix& dst, double inputMax, double inputMin,
                       double outputScale, double outputOffset)
{
    PowerCurveTable curve;
    curve.inputMax = inputMax;
    curve.inputMin = inputMin;
    curve.outputScale = outputScale;
    curve.outputOffset = outputOffset;
    curve.exponent = direction == PowerCurve::decoding ? decodingExponent : encodingExponent;
    curve.Build();
    const Vector<uint16_t> map = MakePowerCurveMap(curve);
    ApplyCodeMap(src, dst, map.data);
}

template void ApplyPowerCurve16<PowerCurve::decoding>(const Matrix&, Matrix&, double, double,
                                                      double, double);
template void ApplyPowerCurve16<PowerCurve::encoding>(const Matrix&, Matrix&, double, double,
                                                      double, double);

void ApplyCodeMap(const Matrix& src, Matrix& dst, const uint16_t* map)
{
    const Matrix source(src);
    dst.Ensure(source.rows, source.cols, source.type);
    const int64_t count = RowLength(source);
    ParallelFor(source.roi.y, static_cast<int64_t>(source.roi.y) + source.roi.height,
                [&](int32_t row) {
                    const auto* in = RowOf<uint16_t>(source, row);
                    auto* out = RowOf<uint16_t>(dst, row);
                    for (int64_t i = 0; i < count; ++i) {
                        out[i] = map[in[i]];
                    }
                });
}

const Vector<uint16_t>& DecodingMap()
{
    static const Vector<uint16_t> map = MakePowerCurveMap(UsualPowerCurve(PowerCurve::decoding));
    return map;
}

} // namespace lumo
