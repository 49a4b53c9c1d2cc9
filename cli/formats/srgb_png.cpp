#include "formats/srgb_png.h"

#include "formats/view_png.h"

namespace qva {

void WriteSrgbPng(const OutputFile& file, ImageSize size, const std::vector<unsigned char>& rgb)
{
    ViewPng png(file, size, 8, {});
    for (std::int64_t row = 0; row < size.height; ++row) {
        png.Write(rgb.data() + row * size.width * 3);
    }
    png.Finish();
}

} // namespace qva
