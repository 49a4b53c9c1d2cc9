#include "light/negative_repair.h"

#include "colour/luminance.h"

#include <algorithm>

namespace qva {

namespace {

/// @return the darker pixel beside the run [first, end) of a row; null where nothing is beside it.
const float* DarkerEnd(const float* row, std::size_t width, std::size_t first, std::size_t end)
{
    const float* left = first > 0 ? row + (first - 1) * 3 : nullptr;
    const float* right = end < width ? row + end * 3 : nullptr;
    if (left == nullptr || right == nullptr) {
        return left == nullptr ? right : left;
    }
    return LuminanceOf(right) < LuminanceOf(left) ? right : left;
}

} // namespace

void NegativeRepair::operator()(float* row, std::size_t width) const
{
    for (std::size_t first = 0; first < width; ++first) {
        if (!(LuminanceOf(row + first * 3) < 0.0f)) {
            continue;
        }
        std::size_t end = first + 1;
        while (end < width && LuminanceOf(row + end * 3) < 0.0f) {
            ++end;
        }
        const float* source = DarkerEnd(row, width, first, end);
        for (std::size_t x = first; source != nullptr && x < end; ++x) {
            std::copy_n(source, 3, row + x * 3);
        }
        first = end;
    }
}

} // namespace qva
