#include "core/pixel_block.h"

#include "core/lookup.h"
#include "core/saturate.h"
#include "core/simd.h"

#include <algorithm>

namespace lumo {
namespace kernels {

LUMO_CLONES void LoadRgb16(const uint16_t* pixels, double* r, double* g, double* b)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        r[i] = pixels[3 * i];
        g[i] = pixels[3 * i + 1];
        b[i] = pixels[3 * i + 2];
    }
}

LUMO_CLONES void StoreRgb16(const double* r, const double* g, const double* b, uint16_t* pixels)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        pixels[3 * i] = Saturate<uint16_t>(r[i]);
        pixels[3 * i + 1] = Saturate<uint16_t>(g[i]);
        pixels[3 * i + 2] = Saturate<uint16_t>(b[i]);
    }
}

LUMO_CLONES void LoadPlane16(const uint16_t* plane, double* values)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        values[i] = plane[i];
    }
}

LUMO_CLONES void StorePlane16(const double* values, uint16_t* plane)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        plane[i] = Saturate<uint16_t>(values[i]);
    }
}

LUMO_CLONES void Truncate16(double* values)
{
    LUMO_SIMD
    for (int32_t i = 0; i < 3 * blockSize; ++i) {
        values[i] = SaturateCode(values[i], 65535.0);
    }
}

LUMO_CLONES void SaturateCodes(const double* values, int32_t* code)
{
    LUMO_SIMD
    for (int32_t i = 0; i < 3 * blockSize; ++i) {
        code[i] = SaturateCode(values[i], 65535.0);
    }
}

LUMO_CLONES void WidenCodes(const int32_t* code, double* values)
{
    LUMO_SIMD
    for (int32_t i = 0; i < 3 * blockSize; ++i) {
        values[i] = code[i];
    }
}

LUMO_CLONES void LoadCodes16(const uint16_t* pixels, int32_t* r, int32_t* g, int32_t* b)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        r[i] = pixels[3 * i];
        g[i] = pixels[3 * i + 1];
        b[i] = pixels[3 * i + 2];
    }
}

LUMO_CLONES void StoreCodes16(const int32_t* r, const int32_t* g, const int32_t* b,
                              uint16_t* pixels)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        pixels[3 * i] = static_cast<uint16_t>(r[i]);
        pixels[3 * i + 1] = static_cast<uint16_t>(g[i]);
        pixels[3 * i + 2] = static_cast<uint16_t>(b[i]);
    }
}

LUMO_CLONES void Multiply(const double* m, double* x, double* y, double* z)
{
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double a = x[i];
        const double b = y[i];
        const double c = z[i];
        x[i] = m[0] * a + m[1] * b + m[2] * c;
        y[i] = m[3] * a + m[4] * b + m[5] * c;
        z[i] = m[6] * a + m[7] * b + m[8] * c;
    }
}

} // namespace kernels

namespace {

template <typename T>
T StoreAs(double value)
{
    if constexpr (std::is_same_v<T, double>) {
        return value;
    } else {
        return Saturate<T>(value);
    }
}

} // namespace

template <typename T>
void LoadPixels(const T* pixels, int32_t count, int32_t channels, PixelBlock& block)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        if (count == blockSize && channels == 3) {
            kernels::LoadRgb16(pixels, block.channel[0], block.channel[1], block.channel[2]);
            return;
        }
    }
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t c = 0; c < channels; ++c) {
            block.channel[c][i] = static_cast<double>(pixels[i * channels + c]);
        }
    }
}

template <typename T>
void StorePixels(const PixelBlock& block, int32_t count, int32_t channels, T* pixels)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        if (count == blockSize && channels == 3) {
            kernels::StoreRgb16(block.channel[0], block.channel[1], block.channel[2], pixels);
            return;
        }
    }
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t c = 0; c < channels; ++c) {
            pixels[i * channels + c] = StoreAs<T>(block.channel[c][i]);
        }
    }
}

template <typename T>
void LoadPlane(const T* plane, int32_t count, double* values)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        if (count == blockSize) {
            kernels::LoadPlane16(plane, values);
            return;
        }
    }
    std::copy(plane, plane + count, values);
}

template <typename T>
void StorePlane(const double* values, int32_t count, T* plane)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        if (count == blockSize) {
            kernels::StorePlane16(values, plane);
            return;
        }
    }
    for (int32_t i = 0; i < count; ++i) {
        plane[i] = StoreAs<T>(values[i]);
    }
}

template <typename T>
void SaturateBlock(PixelBlock& block)
{
    if constexpr (std::is_same_v<T, uint16_t>) {
        kernels::Truncate16(block.channel[0]);
    } else {
        for (auto& plane : block.channel) {
            for (double& value : plane) {
                value = static_cast<double>(StoreAs<T>(value));
            }
        }
    }
}

void ToCodes(const PixelBlock& block, CodeBlock& codes)
{
    kernels::SaturateCodes(block.channel[0], codes.channel[0]);
}

void FromCodes(const CodeBlock& codes, PixelBlock& block)
{
    kernels::WidenCodes(codes.channel[0], block.channel[0]);
}

void MapCodes(const uint16_t* table, const CodeBlock& codes, CodeBlock& mapped)
{
    LookUpCodes(table, codes.channel[0], 3 * blockSize, mapped.channel[0]);
}

void LoadMapped(const uint16_t* table, const uint16_t* pixels, int32_t count, CodeBlock& codes)
{
    LookUpPixels(table, pixels, count, codes.channel[0], codes.channel[1], codes.channel[2]);
    for (auto& plane : codes.channel) {
        std::fill(plane + count, plane + blockSize, 0);
    }
}

void LoadCodes(const uint16_t* pixels, int32_t count, CodeBlock& codes)
{
    if (count == blockSize) {
        kernels::LoadCodes16(pixels, codes.channel[0], codes.channel[1], codes.channel[2]);
        return;
    }
    codes = {};
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t c = 0; c < 3; ++c) {
            codes.channel[c][i] = pixels[3 * i + c];
        }
    }
}

void StoreCodes(const CodeBlock& codes, int32_t count, uint16_t* pixels)
{
    if (count == blockSize) {
        kernels::StoreCodes16(codes.channel[0], codes.channel[1], codes.channel[2], pixels);
        return;
    }
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t c = 0; c < 3; ++c) {
            pixels[3 * i + c] = static_cast<uint16_t>(codes.channel[c][i]);
        }
    }
}

void MultiplyBlock(const double* m, PixelBlock& block)
{
    kernels::Multiply(m, block.channel[0], block.channel[1], block.channel[2]);
}

#define LUMO_INSTANTIATE(T)                                                                        \
    template void LoadPixels<T>(const T*, int32_t, int32_t, PixelBlock&);                          \
    template void StorePixels<T>(const PixelBlock&, int32_t, int32_t, T*);                         \
    template void LoadPlane<T>(const T*, int32_t, double*);                                        \
    template void StorePlane<T>(const double*, int32_t, T*);                                       \
    template void SaturateBlock<T>(PixelBlock&);
LUMO_INSTANTIATE(uint8_t)
LUMO_INSTANTIATE(uint16_t)
LUMO_INSTANTIATE(float)
LUMO_INSTANTIATE(double)
#undef LUMO_INSTANTIATE

} // namespace lumo
