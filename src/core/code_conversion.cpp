#include "core/code_conversion.h"

#include "core/simd.h"

namespace lumo::kernels {

LUMO_CLONES void CodesToFloats(const uint16_t* code, int32_t count, float* value)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        value[i] = static_cast<float>(code[i]);
    }
}

LUMO_CLONES void FloatsToCodes(const float* value, int32_t count, uint16_t* code)
{
    LUMO_SIMD
    for (int32_t i = 0; i < count; ++i) {
        float clamped = value[i] > 0.0f ? value[i] : 0.0f;
        clamped = clamped < 65535.0f ? clamped : 65535.0f;
        code[i] = static_cast<uint16_t>(static_cast<int32_t>(clamped));
    }
}

} // namespace lumo::kernels
