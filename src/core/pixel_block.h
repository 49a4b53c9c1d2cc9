// A run of pixels of one row, held channel by channel so that loops over it vectorise.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumo {

/// Pixels of a block.
constexpr int32_t blockSize = 64;

/// Up to blockSize pixels as one array of doubles a channel. Kernels always process all lanes:
/// lanes behind the last pixel hold old values, whose results nobody stores.
struct PixelBlock {
    alignas(64) double channel[3][blockSize] = {};
};

/// The same for 16-bit codes, which stay integers: stages of 16-bit images meet in them. Lanes
/// behind the last pixel hold any codes.
struct CodeBlock {
    alignas(64) int32_t channel[3][blockSize];
};

/// call(in, out) for the first `count` pixels of a block, in place; `out` begins as zeros.
template <typename Call>
void ConvertPixelwise(PixelBlock& block, int32_t count, size_t channels, Call&& call)
{
    for (int32_t i = 0; i < count; ++i) {
        const double in[3] = {block.channel[0][i], block.channel[1][i], block.channel[2][i]};
        double out[3] = {0.0, 0.0, 0.0};
        call(in, out);
        for (size_t c = 0; c < channels; ++c) {
            block.channel[c][i] = out[c];
        }
    }
}

/// Widens `count` interleaved pixels of 1 or 3 channels.
template <typename T>
void LoadPixels(const T* pixels, int32_t count, int32_t channels, PixelBlock& block);

/// Stores `count` interleaved pixels of 1 or 3 channels, saturated to T (float64 as it is).
template <typename T>
void StorePixels(const PixelBlock& block, int32_t count, int32_t channels, T* pixels);

/// Widens `count` elements of one plane.
template <typename T>
void LoadPlane(const T* plane, int32_t count, double* values);

/// Stores `count` elements of one plane, saturated to T.
template <typename T>
void StorePlane(const double* values, int32_t count, T* plane);

/// Rounds the block to what a store into T and a load would leave: the boundary between two stages
/// that share a pass.
template <typename T>
void SaturateBlock(PixelBlock& block);

/// The codes that a store of the block into 16 bits would leave.
void ToCodes(const PixelBlock& block, CodeBlock& codes);

/// Widens all lanes.
void FromCodes(const CodeBlock& codes, PixelBlock& block);

/// mapped = table[code] in all lanes; `mapped` may be `codes`. @param table 65,536 entries.
void MapCodes(const uint16_t* table, const CodeBlock& codes, CodeBlock& mapped);

/// table[code] of `count` interleaved pixels of three channels.
void LoadMapped(const uint16_t* table, const uint16_t* pixels, int32_t count, CodeBlock& codes);

/// Loads and stores `count` interleaved pixels of three channels.
void LoadCodes(const uint16_t* pixels, int32_t count, CodeBlock& codes);
void StoreCodes(const CodeBlock& codes, int32_t count, uint16_t* pixels);

/// out = m * in for the 3 × 3 matrix m, row-major; terms are added left to right.
void MultiplyBlock(const double* m, PixelBlock& block);

} // namespace lumo
