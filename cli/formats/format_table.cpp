#include "formats/format_table.h"

#include "formats/raw_marks.h"

#include <iterator>

namespace qva {

namespace {

using namespace std::string_view_literals;

bool IsExr(std::string_view head)
{
    return head.starts_with("\x76\x2f\x31\x01"sv);
}

bool IsHdr(std::string_view head)
{
    return head.starts_with("#?"sv);
}

/// A bare codestream, or a container.
bool IsJxl(std::string_view head)
{
    return head.starts_with("\xff\x0a"sv) || head.starts_with("\0\0\0\x0cJXL \r\n\x87\n"sv);
}

bool IsPng(std::string_view head)
{
    return head.starts_with("\x89PNG\r\n\x1a\n"sv);
}

/// Classic and large TIFF of either byte order.
bool IsTiff(std::string_view head)
{
    return head.starts_with("II*\0"sv) || head.starts_with("MM\0*"sv) ||
           head.starts_with("II+\0"sv) || head.starts_with("MM\0+"sv);
}

// Libraries that a build may lack.
#if defined(QVA_HAVE_JXL)
constexpr auto makeJxl = MakeJxlSource;
#else
constexpr decltype(&MakeJxlSource) makeJxl = nullptr;
#endif
#if defined(QVA_HAVE_RAW)
constexpr auto makeRaw = MakeRawSource;
#else
constexpr decltype(&MakeRawSource) makeRaw = nullptr;
#endif

// The order decides where two formats recognise the same bytes.
constexpr Format formats[] = {
    {"OpenEXR", IsExr, MakeExrSource, "OpenEXR"},
    {"Radiance HDR", IsHdr, MakeHdrSource, "qva itself"},
    {"JPEG XL", IsJxl, makeJxl, "libjxl"},
    {"PNG", IsPng, MakePngSource, "libpng"},
    {"camera RAW", IsRaw, makeRaw, "LibRaw"}, // most are TIFF by their first bytes
    {"TIFF", IsTiff, MakeTiffSource, "libtiff"},
};

} // namespace

const Format* FormatOfContent(std::string_view head)
{
    for (const Format& format : formats) {
        if (format.recognises(head)) {
            return &format;
        }
    }
    return nullptr;
}

std::string FormatNames()
{
    std::string names;
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        const char* separator = i == 0 ? "" : i + 1 == std::size(formats) ? " or " : ", ";
        names += separator;
        names += formats[i].name;
    }
    return names;
}

} // namespace qva
