// What a call makes of its profiles, its intent and the black of its output device.
#pragma once

#include "colorspace/color_space.h"
#include "print/tintrix.h"

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

/// The profiles of the source and of XYZ, the matcher's intent, and the black that they give.
class CallConditions {
public:
    /// Measures the device's black.
    /// @throws Exception, std::bad_alloc when the profiles cannot be copied.
    CallConditions(const QVA_IMAGE& src, const QVA_SOURCE_ENCODING& encoding,
                   const QVA_OUTPUT_CONDITIONS& conditions);

    /// The device's colours by the profile and the option of a call, XYZ 0 ... 2.
    /// @throws Exception code 3 if the matcher refuses.
    Tintrix MakeTransform(const QVA_OUTPUT_CONDITIONS& conditions) const;

    /// The ranges of a rendering or an analysis.
    LuminanceRangePair RenderedRanges(const QVA_SOURCE_ENCODING& encoding,
                                      const QVA_OUTPUT_CONDITIONS& conditions) const;

    ProfileBuffer source;
    ProfileBuffer xyz;
    uint32_t intent;    ///< the matcher's
    double black;       ///< MeasureBlackLuminance
    double sourceBlack; ///< the measured black if there is one, else the source's darkest, cd/m2
};

/// Y of the device's black in percent of white (200 × output code / 65535), or -1 where the
/// transform cannot be built or used, for whatever reason.
double MeasureBlackLuminance(const void* source, const void* xyz, const void* device,
                             uint32_t intent, bool option);

/// The input and output ranges of a call. @param sourceBlack, outputBlack cd/m2.
LuminanceRangePair MakeRanges(const QVA_SOURCE_ENCODING& encoding,
                              const QVA_OUTPUT_CONDITIONS& conditions, double sourceBlack,
                              double outputBlack);

} // namespace lumo
