#include "light/negative_repair.h"

#include "colour/colour_interpretation.h"
#include "colour/luminance.h"

#include <algorithm>
#include <limits>

namespace qva {

namespace {

// The negative lobe of no usual resampler takes a larger share of the light beside it.
constexpr float deepest = 0.2f;

/// Calls visit for the pixels at most `distance` away that lie in the rows.
template <typename Visit>
void ForEachNear(const RowBlock& rows, std::int64_t x, std::int64_t y, std::int64_t distance,
                 Visit&& visit)
{
    const std::int64_t left = std::max<std::int64_t>(x - distance, 0);
    const std::int64_t right = std::min(x + distance, rows.width - 1);
    const std::int64_t bottom = std::min(y + distance, rows.height - 1);
    for (std::int64_t row = std::max<std::int64_t>(y - distance, 0); row <= bottom; ++row) {
        const float* pixel = rows.rgb + (row * rows.width + left) * 3;
        for (std::int64_t i = left; i <= right; ++i, pixel += 3) {
            visit(pixel);
        }
    }
}

bool IsUndershoot(const RowBlock& rows, std::int64_t x, std::int64_t y, float depth)
{
    float brightest = 0.0f;
    ForEachNear(rows, x, y, NegativeRepair::reach, [&brightest](const float* pixel) {
        brightest = std::max(brightest, LuminanceOf(pixel));
    });
    return brightest >= static_cast<float>(defaultWhite) && depth <= deepest * brightest;
}

/// @return null where none of the pixels in reach is a colour.
const float* DarkestOfTheNearest(const RowBlock& rows, std::int64_t x, std::int64_t y)
{
    const float* found = nullptr;
    for (std::int64_t distance = 1; !found && distance <= NegativeRepair::reach; ++distance) {
        float darkest = std::numeric_limits<float>::infinity();
        ForEachNear(rows, x, y, distance, [&](const float* pixel) {
            const float luminance = LuminanceOf(pixel);
            if (luminance < darkest && std::min({pixel[0], pixel[1], pixel[2]}) >= 0.0f) {
                darkest = luminance;
                found = pixel;
            }
        });
    }
    return found;
}

} // namespace

void NegativeRepair::operator()(const RowBlock& around, std::int64_t row, float* repaired) const
{
    const float* pixel = around.rgb + row * around.width * 3;
    for (std::int64_t x = 0; x < around.width; ++x, pixel += 3) {
        const float depth = -LuminanceOf(pixel);
        if (depth > 0.0f && IsUndershoot(around, x, row, depth)) {
            if (const float* source = DarkestOfTheNearest(around, x, row)) {
                std::copy_n(source, 3, repaired + x * 3);
            }
        }
    }
}

} // namespace qva
