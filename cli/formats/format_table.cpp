#include "formats/format_table.h"

#include "formats/raw_marks.h"

#include <algorithm>
#include <initializer_list>
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

bool IsJpeg(std::string_view head)
{
    return head.starts_with("\xff\xd8\xff"sv);
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

/// Whether one of the brands of an ISO base media file is among some.
bool HasBrand(std::string_view head, std::initializer_list<std::string_view> brands)
{
    if (head.size() < 16 || head.substr(4, 4) != "ftyp"sv) {
        return false;
    }
    // The size of the list, then the main brand, a version and more brands.
    std::size_t size = 0;
    for (const char letter : head.substr(0, 4)) {
        size = size << 8 | static_cast<unsigned char>(letter);
    }
    for (std::size_t place = 8; place + 4 <= std::min(size, head.size()); place += 4) {
        if (place != 12 &&
            std::find(brands.begin(), brands.end(), head.substr(place, 4)) != brands.end()) {
            return true;
        }
    }
    return false;
}

bool IsAvif(std::string_view head)
{
    return HasBrand(head, {"avif"sv, "avis"sv});
}

bool IsHeic(std::string_view head)
{
    return HasBrand(head, {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv, "hevm"sv,
                           "hevs"sv, "mif1"sv, "msf1"sv});
}

// Libraries that a build may lack.
#if defined(QVA_HAVE_JPEG)
constexpr auto makeJpeg = MakeJpegSource;
#else
constexpr decltype(&MakeJpegSource) makeJpeg = nullptr;
#endif
#if defined(QVA_HAVE_AVIF)
constexpr auto makeAvif = MakeHeifSource;
#else
constexpr decltype(&MakeHeifSource) makeAvif = nullptr;
#endif
#if defined(QVA_HAVE_HEIC)
constexpr auto makeHeic = MakeHeifSource;
#else
constexpr decltype(&MakeHeifSource) makeHeic = nullptr;
#endif
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
    {"JPEG", IsJpeg, makeJpeg, "libjpeg"},
    {"AVIF", IsAvif, makeAvif, "dav1d"},
    {"HEIC", IsHeic, makeHeic, "libde265"},
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
