// No export reaches what stands here: curves over whole images.
#include "core/parallel.h"
#include "core/power_curve.h"

namespace lumo {

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

} // namespace lumo
