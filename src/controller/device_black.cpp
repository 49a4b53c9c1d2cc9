#include "controller/device_black.h"

#include "core/allocation.h"
#include "print/embedded_profiles.h"
#include "print/tintrix.h"

namespace lumo {

ProfileBuffer::~ProfileBuffer()
{
    Free(bytes_);
}

ProfilePair::ProfilePair(uint32_t colorSpace)
    : source(LoadEmbeddedProfile(colorSpace)), xyz(LoadXyzProfile())
{
}

uint32_t RvxIntent(uint32_t renderingIntent)
{
    return renderingIntent == 2 ? RVX_INTENT_SATURATION : RVX_INTENT_RELATIVE_COLORIMETRIC;
}

bool RvxOption(uint32_t optionFlag)
{
    return optionFlag == 0;
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

double SourceBlack(double black, const QVA_SOURCE_ENCODING& encoding)
{
    return black > 0.0 ? black : static_cast<double>(encoding.luminanceMin);
}

double RenderedBlack(double sourceBlack, int32_t outputLuminanceMax)
{
    return outputLuminanceMax > 100 ? outputLuminanceMax * 0.01 * sourceBlack : sourceBlack;
}

} // namespace lumo
