#include "jxl_samples.h"

#include "samples.h"

#include <cmath>
#include <jxl/encode.h>
#include <memory>
#include <stdexcept>

namespace qva::samples {

namespace {

using Encoder = std::unique_ptr<JxlEncoder, void (*)(JxlEncoder*)>;

void Must(JxlEncoderStatus status)
{
    if (status != JXL_ENC_SUCCESS) {
        throw std::runtime_error("the sample cannot be encoded");
    }
}

/// The library takes 16-bit codes as of 65535 steps, whatever the file is to say.
std::string Pixels(const std::vector<double>& samples, const JxlKind& kind)
{
    std::string bytes;
    for (const double sample : samples) {
        const auto code = kind.bits == 8 ? static_cast<std::uint16_t>(sample)
                                         : static_cast<std::uint16_t>(std::round(
                                               sample * 65535.0 / (std::exp2(kind.bits) - 1.0)));
        const auto value = static_cast<float>(sample);
        const void* first = kind.isFloat ? static_cast<const void*>(&value) : &code;
        // Of a code of 8 bits the first byte, as on any machine that this runs on.
        bytes.append(static_cast<const char*>(first), kind.isFloat ? 4 : kind.bits == 8 ? 1 : 2);
    }
    return bytes;
}

void SetInfo(JxlEncoder* encoder, ImageSize size, const JxlKind& kind)
{
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<std::uint32_t>(size.width);
    info.ysize = static_cast<std::uint32_t>(size.height);
    info.bits_per_sample = static_cast<std::uint32_t>(kind.bits);
    info.exponent_bits_per_sample = kind.isFloat ? 8 : 0;
    info.num_color_channels = kind.channels < 3 ? 1 : 3;
    info.uses_original_profile = kind.isLossless ? JXL_TRUE : JXL_FALSE;
    info.orientation = static_cast<JxlOrientation>(kind.orientation);
    info.intensity_target = kind.intensity;
    if (kind.channels % 2 == 0) {
        info.num_extra_channels = 1;
        info.alpha_bits = info.bits_per_sample;
        info.alpha_exponent_bits = info.exponent_bits_per_sample;
    }
    if (kind.frames > 1) {
        info.have_animation = JXL_TRUE;
        info.animation.tps_numerator = 10;
        info.animation.tps_denominator = 1;
    }
    Must(JxlEncoderSetBasicInfo(encoder, &info));
}

void SetColour(JxlEncoder* encoder, const JxlKind& kind)
{
    if (!kind.profile.empty()) {
        Must(JxlEncoderSetICCProfile(encoder, kind.profile.data(), kind.profile.size()));
        return;
    }
    JxlColorEncoding encoding{};
    encoding.color_space = kind.channels < 3 ? JXL_COLOR_SPACE_GRAY : JXL_COLOR_SPACE_RGB;
    encoding.white_point = JXL_WHITE_POINT_D65;
    encoding.primaries = kind.primaries;
    encoding.transfer_function = kind.transfer;
    encoding.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
    Must(JxlEncoderSetColorEncoding(encoder, &encoding));
}

void AddBox(JxlEncoder* encoder, const char* type, const std::string& content, bool isPacked)
{
    if (!content.empty()) {
        Must(JxlEncoderUseBoxes(encoder));
        Must(JxlEncoderAddBox(encoder, type, reinterpret_cast<const std::uint8_t*>(content.data()),
                              content.size(), isPacked ? JXL_TRUE : JXL_FALSE));
    }
}

void AddFrames(JxlEncoder* encoder, const std::vector<double>& samples, const JxlKind& kind)
{
    const std::string pixels = Pixels(samples, kind);
    const JxlPixelFormat format = {static_cast<std::uint32_t>(kind.channels),
                                   kind.isFloat     ? JXL_TYPE_FLOAT
                                   : kind.bits == 8 ? JXL_TYPE_UINT8
                                                    : JXL_TYPE_UINT16,
                                   JXL_NATIVE_ENDIAN, 0};
    JxlFrameHeader header;
    JxlEncoderInitFrameHeader(&header);
    header.duration = kind.frames > 1 ? 5 : 0;
    for (int frame = 0; frame < kind.frames; ++frame) {
        JxlEncoderFrameSettings* settings = JxlEncoderFrameSettingsCreate(encoder, nullptr);
        Must(JxlEncoderSetFrameLossless(settings, kind.isLossless ? JXL_TRUE : JXL_FALSE));
        if (!kind.isLossless) {
            Must(JxlEncoderSetFrameDistance(settings, 0.3f));
        }
        Must(JxlEncoderSetFrameHeader(settings, &header));
        Must(JxlEncoderAddImageFrame(settings, &format, pixels.data(), pixels.size()));
    }
    JxlEncoderCloseInput(encoder);
}

std::string Output(JxlEncoder* encoder)
{
    std::string bytes;
    JxlEncoderStatus status = JXL_ENC_NEED_MORE_OUTPUT;
    while (status == JXL_ENC_NEED_MORE_OUTPUT) {
        std::uint8_t piece[4096];
        std::uint8_t* next = piece;
        std::size_t left = sizeof piece;
        status = JxlEncoderProcessOutput(encoder, &next, &left);
        bytes.append(reinterpret_cast<const char*>(piece), sizeof piece - left);
    }
    Must(status);
    return bytes;
}

} // namespace

void WriteJxl(const std::string& path, ImageSize size, const std::vector<double>& samples,
              const JxlKind& kind)
{
    const Encoder encoder(JxlEncoderCreate(nullptr), JxlEncoderDestroy);
    Must(JxlEncoderUseContainer(encoder.get(), kind.hasContainer ? JXL_TRUE : JXL_FALSE));
    SetInfo(encoder.get(), size, kind);
    SetColour(encoder.get(), kind);
    const std::string exif(kind.exif.begin(), kind.exif.end());
    AddBox(encoder.get(), "Exif", exif.empty() ? exif : std::string(4, '\0') + exif, false);
    AddBox(encoder.get(), "xml ", kind.xmp, true);
    AddFrames(encoder.get(), samples, kind);
    WriteBytes(path, Output(encoder.get()));
}

} // namespace qva::samples
