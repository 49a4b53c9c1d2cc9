#include "api/source_encoding.h"

namespace lumo {
namespace {

// A narrow luminance range gives codes outside every integer; those become 0, as does that of a
// range without width. The luminances fail their own checks.
uint32_t TruncateCode(float code)
{
    constexpr float limit = 9.0e18f;
    if (!(code > -limit && code < limit)) {
        return 0;
    }
    return static_cast<uint32_t>(static_cast<int64_t>(code));
}

} // namespace

QVA_SOURCE_ENCODING MakeSourceEncoding(const QVA_SOURCE_RANGE& range,
                                       const QVA_OUTPUT_CONDITIONS& conditions)
{
    const float threshold = conditions.paramLuminanceThreshold;
    const float width = range.luminanceMax - range.luminanceMin;
    const float share = width != 0.0f ? (threshold - range.luminanceMin) / width : 0.0f;
    QVA_SOURCE_ENCODING encoding = {};
    encoding.reserved = 1;
    encoding.gammaType = range.gammaType;
    encoding.codeMin = 0;
    encoding.luminanceMin = range.luminanceMin;
    encoding.codeThreshold = TruncateCode(share * 65535.0f + 0.0f);
    encoding.luminanceThreshold = threshold;
    encoding.codeMax = 65535;
    encoding.luminanceMax = range.luminanceMax;
    return encoding;
}

} // namespace lumo
