// The store of every computed value: clamp to the element's range, then truncate toward zero.
#pragma once

#include "core/simd.h"

#include <cstdint>
#include <limits>
#include <type_traits>

namespace lumo {

/// Clamps to T's range and truncates toward zero; a not-a-number becomes 0 in an integer. Floats
/// are clamped to the finite range and rounded; a not-a-number stays one.
template <typename T>
LUMO_INLINE T Saturate(double value)
{
    constexpr auto low = static_cast<double>(std::numeric_limits<T>::lowest());
    constexpr auto high = static_cast<double>(std::numeric_limits<T>::max());
    if constexpr (std::is_floating_point_v<T>) {
        value = value < low ? low : value;
        return static_cast<T>(value > high ? high : value);
    } else {
        value = value > low ? value : (value <= low ? low : 0.0);
        value = value < high ? value : high;
        return static_cast<T>(value);
    }
}

/// The same for unsigned integers of up to 16 bits, in the form that compilers vectorise.
LUMO_INLINE int32_t SaturateCode(double value, double high)
{
    value = value > 0.0 ? value : 0.0;
    value = value < high ? value : high;
    return static_cast<int32_t>(value);
}
template <>
LUMO_INLINE uint16_t Saturate<uint16_t>(double value)
{
    return static_cast<uint16_t>(SaturateCode(value, 65535.0));
}
template <>
LUMO_INLINE uint8_t Saturate<uint8_t>(double value)
{
    return static_cast<uint8_t>(SaturateCode(value, 255.0));
}

} // namespace lumo
