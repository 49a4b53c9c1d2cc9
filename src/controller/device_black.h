// The black of the output device, and what a call derives from it.
#pragma once

#include "colorspace/color_space.h"

#include <cstdint>
#include <lumo/qva.h>

namespace lumo {

/// A copy of an embedded profile, freed with its owner.
class ProfileBuffer {
public:
    /// Takes the buffer over.
    explicit ProfileBuffer(uint8_t* bytes) : bytes_(bytes) {}
    ProfileBuffer(const ProfileBuffer&) = delete;
    ProfileBuffer& operator=(const ProfileBuffer&) = delete;
    ~ProfileBuffer();
    const uint8_t* Bytes() const { return bytes_; }

private:
    uint8_t* bytes_;
};

/// The source profile of a colour space and the XYZ profile.
struct ProfilePair {
    explicit ProfilePair(uint32_t colorSpace);
    ProfileBuffer source;
    ProfileBuffer xyz;
};

/// The matcher's intent for QVA_OUTPUT_CONDITIONS::renderingIntent.
uint32_t RvxIntent(uint32_t renderingIntent);

/// Black-point compensation of QVA_OUTPUT_CONDITIONS::optionFlag.
bool RvxOption(uint32_t optionFlag);

/// Y of the device's black in percent of white (200 × output code / 65535), or -1 where the
/// transform cannot be built or used, for whatever reason.
double MeasureBlackLuminance(const void* source, const void* xyz, const void* device,
                             uint32_t intent, bool option);

/// The input and output ranges of a call. @param sourceBlack, outputBlack cd/m2.
LuminanceRangePair MakeRanges(const QVA_SOURCE_ENCODING& encoding,
                              const QVA_OUTPUT_CONDITIONS& conditions, double sourceBlack,
                              double outputBlack);

/// The measured black if there is one, else the darkest luminance of the source.
double SourceBlack(double black, const QVA_SOURCE_ENCODING& encoding);

/// The black of the output range of a rendering or an analysis.
double RenderedBlack(double sourceBlack, int32_t outputLuminanceMax);

} // namespace lumo
