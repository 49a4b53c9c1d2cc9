#include "core/image_converter.h"

namespace lumo {

void ImageConverterInterface::ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const
{
    ConvertPixelwise(block, count, channels,
                     [&](const double* in, double* out) { (*this)(in, out, channels); });
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
