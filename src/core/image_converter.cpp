#include "core/image_converter.h"

namespace lumo {

void ImageConverterInterface::ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const
{
    for (int32_t i = 0; i < count; ++i) {
        const double in[3] = {block.channel[0][i], block.channel[1][i], block.channel[2][i]};
        double out[3] = {0.0, 0.0, 0.0};
        (*this)(in, out, channels);
        for (size_t c = 0; c < channels; ++c) {
            block.channel[c][i] = out[c];
        }
    }
}

void ImageConverterInterface::ConvertCodes(const CodeBlock& codes, int32_t count,
                                           PixelBlock& block) const
{
    FromCodes(codes, block);
    ConvertBlock(block, count, 3);
}

void ImageConverter::EnsureDepth(const Matrix& src)
{
    const int32_t depth = DepthOf(src.type);
    if (depth != D8U && depth != D16U && depth != D32F && depth != D64F) {
        throw Exception(exceptionFormat,
                        "Error in Imag Converter, data depth must be D8U/D16U/D32F/D64F");
    }
}

void ImageConverter::EnsureChannels(const Matrix& src)
{
    if (src.channels != 1 && src.channels != 3) {
        throw Exception(exceptionFormat,
                        "Error in Image Converter::Convert(), data channels must be 1/3");
    }
}

} // namespace lumo
