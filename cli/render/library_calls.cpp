#include "render/library_calls.h"

#include "base/errors.h"

#include <algorithm>
#include <fmt/format.h>
#include <new>

namespace qva {

LibraryHandle::LibraryHandle()
{
    if (QVA_Initialize(&handle_) != QVA_OK) {
        throw std::bad_alloc();
    }
}

LibraryHandle::~LibraryHandle()
{
    QVA_Terminate(&handle_);
}

QVA_IMAGE ImageRecord(std::uint16_t* codes, ImageSize size)
{
    QVA_IMAGE image{};
    image.width = static_cast<std::uint32_t>(size.width);
    image.height = static_cast<std::uint32_t>(size.height);
    image.stride = static_cast<std::uint64_t>(size.width) * 6;
    image.channels = 3;
    image.bitsPerChannel = 16;
    image.format = QVA_FORMAT_RGB16;
    image.colorSpace = QVA_COLOR_SPACE_BT2020;
    image.pixels = codes;
    return image;
}

QVA_IMAGE SourceRecord(const std::uint16_t* codes, ImageSize size)
{
    // The record is the same for both directions.
    return ImageRecord(const_cast<std::uint16_t*>(codes), size);
}

QVA_OUTPUT_CONDITIONS ConditionsRecord(const PrinterProfile& profile,
                                       const RenderSettings& settings)
{
    QVA_OUTPUT_CONDITIONS conditions{};
    conditions.outputLuminanceMax = settings.paperWhite;
    conditions.paramLuminanceThreshold = static_cast<float>(settings.threshold);
    conditions.reservedA = 1.0;
    conditions.reservedB = 1.0;
    conditions.outputProfile = profile.bytes.data();
    conditions.renderingIntent =
        settings.saturation ? QVA_INTENT_SATURATION : QVA_INTENT_RELATIVE_COLORIMETRIC;
    conditions.optionFlag = settings.blackPointCompensation ? QVA_OPTION_BLACK_POINT_COMPENSATION
                                                            : QVA_OPTION_PLAIN_BLACK;
    return conditions;
}

// Dividing the reduced copy into regions takes two rows and two columns of it.
void EnsureWidth(ImageSize size, std::int64_t reducedSide, const std::string& name)
{
    const std::int64_t longer = std::max(size.width, size.height);
    const std::int64_t shorter = std::min(size.width, size.height);
    if (shorter < 2 || (longer > reducedSide && shorter * reducedSide / longer < 2)) {
        throw Failure(name, fmt::format("{} x {} pixels are too narrow to be rendered: the shorter "
                                        "side needs 2 pixels, and a {}th of the longer",
                                        size.width, size.height, reducedSide / 2));
    }
}

void RefuseStatus(std::uint32_t status, const RenderRange& range, const std::string& name)
{
    if (status == QVA_ERROR_PROCESSING) {
        throw Failure(name,
                      fmt::format("cannot be rendered: memory ran out, or its brightest "
                                  "level, {:.4g} cd/m2, is not above the black of the paper; "
                                  "for a dark picture raise --white, --luminance-max or "
                                  "--top",
                                  range.top),
                      exitFailed);
    }
    throw Failure(name,
                  fmt::format("the library refuses the range {:.4g} to {:.4g} cd/m2", range.bottom,
                              range.top),
                  exitFailed);
}

} // namespace qva
