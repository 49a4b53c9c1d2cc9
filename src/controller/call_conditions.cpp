#include "controller/call_conditions.h"

#include "core/allocation.h"
#include "print/embedded_profiles.h"

namespace lumo {
namespace {

// The XYZ encoding of ICC profiles: code 65535 stands for just below 2.
constexpr double transformMax = 2.0;

uint32_t RvxIntent(const QVA_OUTPUT_CONDITIONS& conditions)
{
    return conditions.renderingIntent == QVA_INTENT_SATURATION ? RVX_INTENT_SATURATION
                                                               : RVX_INTENT_RELATIVE_COLORIMETRIC;
}

bool CompensatesBlack(const QVA_OUTPUT_CONDITIONS& conditions)
{
    return conditions.optionFlag == QVA_OPTION_BLACK_POINT_COMPENSATION;
}

} // namespace

ProfileBuffer::~ProfileBuffer()
{
    Free(bytes_);
}

CallConditions::CallConditions(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                               const QVA_OUTPUT_CONDITIONS& conditions)
    : source(LoadEmbeddedProfile(src.colorSpace)),
      xyz(LoadXyzProfile()),
      intent(RvxIntent(conditions)),
      black(MeasureBlackLuminance(source.Bytes(), xyz.Bytes(), conditions.outputProfile, intent,
                                  CompensatesBlack(conditions))),
      sourceBlack(black > 0.0 ? black : static_cast<double>(encoding.luminanceMin))
{
}

Tintrix CallConditions::MakeTransform(const QVA_OUTPUT_CONDITIONS& conditions) const
{
    return Tintrix(source.Bytes(), xyz.Bytes(), conditions.outputProfile, intent, transformMax, 0.0,
                   CompensatesBlack(conditions));
}

LuminanceRangePair CallConditions::RenderedRanges(const QVA_SOURCE_ENCODING& encoding,
                                                  const QVA_OUTPUT_CONDITIONS& conditions) const
{
    const int32_t white = conditions.outputLuminanceMax;
    const double outputBlack = white > 100 ? white * 0.01 * sourceBlack : sourceBlack;
    return MakeRanges(encoding, conditions, sourceBlack, outputBlack);
}

double MeasureBlackLuminance(const void* source, const void* xyz, const void* device,
                             uint32_t intent, bool option)
{
    try {
        const Tintrix transform(source, xyz, device, intent, 1.0, 0.0, option);
        const double black[3] = {0.0, 0.0, 0.0};
        double measured[3] = {0.0, 0.0, 0.0};
        transform(black, measured, 3);
        return measured[1] * 100.0 * 2.0;
    } catch (...) {
        return -1.0;
    }
}

LuminanceRangePair MakeRanges(const QVA_SOURCE_ENCODING& encoding,
                              const QVA_OUTPUT_CONDITIONS& conditions, double sourceBlack,
                              double outputBlack)
{
    const LuminanceRange input = {65535.0, static_cast<double>(encoding.luminanceMax), 0.0,
                                  sourceBlack, BT2020RGB};
    const LuminanceRange output = {65535.0, static_cast<double>(conditions.outputLuminanceMax), 0.0,
                                   outputBlack, BT2020RGB};
    return {input, output};
}

} // namespace lumo
