// A run of pixels of one row, held channel by channel so that loops over it vectorise.
#pragma once

#include <cstdint>

namespace lumo {

/// Pixels of a block.
constexpr int32_t blockSize = 64;

/// Up to blockSize pixels as one array of doubles a channel. Kernels always process all lanes:
/// lanes behind the last pixel hold old values, whose results nobody stores.
struct PixelBlock {
    alignas(64) double channel[3][blockSize] = {};
};

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

/// A block whose three channels become table[code]; the values are saturated to 16 bits first.
void MapBlock(const uint16_t* table, PixelBlock& block);

/// out = m * in for the 3 × 3 matrix m, row-major; terms are added left to right.
void MultiplyBlock(const double* m, PixelBlock& block);

} // namespace lumo
