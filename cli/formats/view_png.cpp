#include "formats/view_png.h"

namespace qva {

ViewPng::ViewPng(const OutputFile& file, ImageSize size, int bits,
                 const std::vector<unsigned char>& profile)
    : png_(file)
{
    constexpr int level = 6;
    png_.SetHeader(size, bits, level);
    png_.Guard([&](png_structp out, png_infop info) {
        if (profile.empty()) {
            png_set_sRGB_gAMA_and_cHRM(out, info, PNG_sRGB_INTENT_RELATIVE);
        } else {
            png_set_iCCP(out, info, "display", PNG_COMPRESSION_TYPE_BASE, profile.data(),
                         static_cast<png_uint_32>(profile.size()));
        }
        png_write_info(out, info);
        if (bits == 16) {
            png_set_swap(out);
        }
    });
}

void ViewPng::Write(const void* row)
{
    const auto* bytes = static_cast<const unsigned char*>(row);
    png_.Guard([bytes](png_structp out, png_infop) { png_write_row(out, bytes); });
}

} // namespace qva
