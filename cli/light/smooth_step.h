// From nothing to all without a corner.
#pragma once

#include <algorithm>

namespace qva {

/// @return 0 up to 0, 1 from 1, between them a cubic that is level at both ends.
inline float SmoothStep(float position)
{
    const float x = std::clamp(position, 0.0f, 1.0f);
    return x * x * (3.0f - 2.0f * x);
}

} // namespace qva
