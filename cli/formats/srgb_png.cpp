#include "formats/srgb_png.h"

#include "formats/png_file.h"

namespace qva {

void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb)
{
    PngFile png(file);
    png.SetHeader(size, 8, 6);
    png.Guard([](png_structp out, png_infop info) {
        png_set_sRGB_gAMA_and_cHRM(out, info, PNG_sRGB_INTENT_RELATIVE);
        png_write_info(out, info);
    });
    for (std::int64_t row = 0; row < size.height; ++row) {
        const unsigned char* bytes = rgb.data() + row * size.width * 3;
        png.Guard([bytes](png_structp out, png_infop) { png_write_row(out, bytes); });
    }
    png.Finish();
}

} // namespace qva
