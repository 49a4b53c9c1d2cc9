// Table lookups of a block, one element after the other.
//
// Compilers make gathers of such loops, which cost more than the loads they stand for. Kernels
// therefore compute the indices of a block, look them up here, and go on with the results.
#pragma once

#include <cstdint>

namespace lumo {

/// out[i] = table[index[i]].
void LookUpCodes(const uint16_t* table, const int32_t* index, int32_t count, int32_t* out);
/// The three channels of `count` interleaved pixels, each looked up into an array of its own.
void LookUpPixels(const uint16_t* table, const uint16_t* pixels, int32_t count, int32_t* r,
                  int32_t* g, int32_t* b);
void LookUpFloats(const float* table, const uint16_t* index, int32_t count, float* out);
/// out[i * stride] = table[index[i]].
void LookUpFloats(const float* table, const uint16_t* index, int32_t count, int64_t stride,
                  float* out);

/// pairs[i] = table[index[i]] + 65536 table[index[i] + 1], on a little-endian machine.
void LookUpCodePairs(const uint16_t* table, const int32_t* index, int32_t count, uint32_t* pairs);

/// pairs[2i], pairs[2i + 1] = table[index[i]], table[index[i] + 1].
void LookUpPairs(const double* table, const int32_t* index, int32_t count, double* pairs);

} // namespace lumo
