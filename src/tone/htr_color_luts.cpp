#include "tone/htr_color_luts.h"

#include "tone/colour_tables.h"

#include <algorithm>
#include <cmath>

namespace lumo {
namespace {

constexpr uint64_t grid = colorTableGrid;
constexpr uint64_t valueCount = colorTableValues;
constexpr double nodeDistance = 65535.0 / (colorTableGrid - 1);

double CorrectionShare(const LuminanceRangePair& ranges)
{
    const double a = std::max(1.0, ranges.input.lumiMax);
    const double b = std::max(1.0, ranges.output.lumiMax);
    const double t = 0.5 - (std::log2(b) - std::log2(a)) * 0.33333333333333337 - 0.5;
    return std::clamp(t, 0.0, 1.0);
}

} // namespace

HtrColorCompression::HtrColorCompression()
{
    Vector<double> values(valueCount);
    std::copy(colorCompressionTable, colorCompressionTable + valueCount, values.data);
    Lut3D::Initialize(values, grid, 65535.0);
}

HtrColorCorrection::HtrColorCorrection(const LuminanceRangePair& ranges)
{
    const double t = CorrectionShare(ranges);
    Vector<double> values(valueCount);
    for (uint64_t entry = 0; entry < valueCount; ++entry) {
        const uint64_t node = entry / 3;
        const uint64_t position[3] = {node / (grid * grid), node / grid % grid, node % grid};
        const auto g = static_cast<double>(position[entry % 3]);
        values[entry] = colorCorrectionTable[entry] * t + g * nodeDistance * (1.0 - t);
    }
    Lut3D::Initialize(values, grid, 65535.0);
}

} // namespace lumo
