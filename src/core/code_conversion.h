// Runs of 16-bit codes as floats, and back.
#pragma once

#include <cstdint>

namespace lumo::kernels {

/// value[i] = code[i], exactly.
void CodesToFloats(const uint16_t* code, int32_t count, float* value);

/// code[i] = trunc(value[i]), clamped to 0 ... 65535; a not-a-number becomes 0.
void FloatsToCodes(const float* value, int32_t count, uint16_t* code);

} // namespace lumo::kernels
