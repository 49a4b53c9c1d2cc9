// Loops over the pixels of whole 16-bit images, for the other literal forms.
#pragma once

#include "core/matrix.h"
#include "core/saturate.h"

namespace lumo::literal {

/// An RGB image whose every pixel is `pixel(in, out)` of the pixel of `src`, stored as codes.
template <typename Pixel>
Matrix ConvertPixels(const Matrix& src, Pixel&& pixel)
{
    Matrix dst(src.rows, src.cols, rgb16Type);
    for (int32_t row = 0; row < src.rows; ++row) {
        const auto* from = RowOf<uint16_t>(src, row);
        auto* to = RowOf<uint16_t>(dst, row);
        for (int64_t i = 0; i < RowLength(src); i += 3) {
            const double in[3] = {1.0 * from[i], 1.0 * from[i + 1], 1.0 * from[i + 2]};
            double out[3] = {0.0, 0.0, 0.0};
            pixel(in, out);
            for (int64_t k = 0; k < 3; ++k) {
                to[i + k] = Saturate<uint16_t>(out[k]);
            }
        }
    }
    return dst;
}

/// Every code of an image replaced by map[code].
Matrix MapCodes(const Matrix& src, const uint16_t* map);

/// Every code multiplied by `scalar` and stored as a code.
Matrix MultiplyCodes(const Matrix& src, double scalar);

/// One channel of an image, and the way back into the image.
Matrix PlaneOf(const Matrix& image, int64_t channel);
void ReplacePlane(Matrix& image, int64_t channel, const Matrix& plane);

/// Resizes by bilinear interpolation, first and last samples aligned; columns, then rows.
Matrix Resize(const Matrix& src, int32_t rows, int32_t cols);

} // namespace lumo::literal
