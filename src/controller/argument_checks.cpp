#include "controller/argument_checks.h"

namespace lumo {
namespace {

constexpr float luminanceLimit = 10000.0f;
constexpr float thresholdLimit = 100.0f;

// A not-a-number fails every comparison, so the conditions are written as what must hold.
bool IsValidEncoding(const QVA_SOURCE_ENCODING& encoding)
{
    const bool codes = encoding.codeMin <= encoding.codeMax &&
                       encoding.codeMin <= encoding.codeThreshold &&
                       encoding.codeThreshold <= encoding.codeMax;
    const bool limits = encoding.luminanceMin <= luminanceLimit &&
                        encoding.luminanceThreshold <= luminanceLimit &&
                        encoding.luminanceMax <= luminanceLimit;
    const bool order = encoding.luminanceMin <= encoding.luminanceMax &&
                       encoding.luminanceMin <= encoding.luminanceThreshold &&
                       encoding.luminanceThreshold <= encoding.luminanceMax;
    return codes && limits && order && encoding.gammaType <= QVA_GAMMA_PQ;
}

bool IsValidOutput(const QVA_OUTPUT_CONDITIONS& conditions)
{
    const int32_t white = conditions.outputLuminanceMax;
    return (white == 100 || white == 200 || white == 400) &&
           conditions.paramLuminanceThreshold >= 0.0f &&
           conditions.paramLuminanceThreshold <= thresholdLimit && conditions.reservedA > 0.0 &&
           conditions.reservedB > 0.0 &&
           (conditions.renderingIntent == QVA_INTENT_RELATIVE_COLORIMETRIC ||
            conditions.renderingIntent == QVA_INTENT_SATURATION) &&
           conditions.outputProfile != nullptr && conditions.optionFlag <= QVA_OPTION_PLAIN_BLACK;
}

// First and last position on an axis of `size` positions.
bool IsInside(uint32_t first, uint32_t last, uint32_t size)
{
    return first <= last && last < size;
}

} // namespace

bool IsValidImage(const QVA_IMAGE* image)
{
    if (image == nullptr || image->width == 0 || image->height == 0) {
        return false;
    }
    if (image->channels != 3 || image->bitsPerChannel != 16) {
        return false;
    }
    const uint64_t packed = uint64_t{image->width} * image->channels * (image->bitsPerChannel / 8);
    return image->stride == packed && image->format == QVA_FORMAT_RGB16 &&
           image->colorSpace == QVA_COLOR_SPACE_BT2020 && image->pixels != nullptr;
}

bool IsValidPair(const QVA_IMAGE* src, const QVA_IMAGE* dst)
{
    return IsValidImage(src) && IsValidImage(dst) && src->width == dst->width &&
           src->height == dst->height && src->stride == dst->stride &&
           src->channels == dst->channels && src->bitsPerChannel == dst->bitsPerChannel &&
           src->format == dst->format;
}

bool AreValidConditions(const QVA_SOURCE_ENCODING* encoding,
                        const QVA_OUTPUT_CONDITIONS* conditions)
{
    return encoding != nullptr && conditions != nullptr && IsValidEncoding(*encoding) &&
           IsValidOutput(*conditions);
}

bool IsValidBand(const QVA_BAND_AREA* band, const QVA_PAGE_AREA* page, const QVA_IMAGE& src)
{
    return band != nullptr && page != nullptr && IsInside(band->left, band->right, src.width) &&
           IsInside(band->top, band->bottom, src.height) &&
           IsInside(page->left, page->right, page->pageWidth) &&
           IsInside(page->top, page->bottom, page->pageHeight);
}

} // namespace lumo
