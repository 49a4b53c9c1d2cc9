#include "colorspace/code_grid.h"

#include "core/simd.h"

#include <algorithm>
#include <cmath>

namespace lumo {
namespace {

constexpr int32_t inverseBits = 28;
constexpr uint64_t highestCode = 65535;

LUMO_INLINE double Fraction(const CodeGrid::Numbers& grid, int32_t key)
{
    return key * grid.reciprocal + key * grid.rest;
}

LUMO_INLINE int32_t CellOf(const CodeGrid::Numbers& grid, int32_t code)
{
    return static_cast<int32_t>((static_cast<uint32_t>(code) * grid.inverse) >> inverseBits);
}

struct AxisCell {
    int32_t start;
    int32_t step; // 0 past the last node
    int32_t key;  // orders cells by their fractions
};

LUMO_INLINE AxisCell LocateAxis(const CodeGrid::Numbers& grid, int32_t code, int32_t stride)
{
    const int32_t cell = CellOf(grid, code);
    const int32_t offset = code - cell * grid.width;
    const int32_t scale = cell >= grid.lastNode - 1 ? grid.lastScale : grid.scale;
    return {cell * stride, cell < grid.lastNode ? stride : 0, offset * scale};
}

} // namespace

namespace kernels {

// The keys of a block by falling size.
struct SortedKeys {
    alignas(64) int32_t high[blockSize];
    alignas(64) int32_t middle[blockSize];
    alignas(64) int32_t low[blockSize];
};

// The nodes are reached along the axes in the order of falling fractions. Among equal fractions any
// order will do: the node in between weighs 0.
LUMO_CLONES void LocateCodeCells(const CodeGrid::Numbers* numbers, const CodeBlock* codes,
                                 SortedKeys* keys, GridCells* cells)
{
    const CodeGrid::Numbers grid = *numbers;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const AxisCell x = LocateAxis(grid, codes->channel[0][i], grid.strideI);
        const AxisCell y = LocateAxis(grid, codes->channel[1][i], grid.strideJ);
        const AxisCell z = LocateAxis(grid, codes->channel[2][i], 4);
        const int32_t start = x.start + y.start + z.start;
        const int32_t all = x.step + y.step + z.step;
        const bool xLargest = (x.key >= y.key) & (x.key >= z.key);
        const bool zSmallest = (z.key <= x.key) & (z.key <= y.key);
        const int32_t first = xLargest ? x.step : (y.key >= z.key ? y.step : z.step);
        const int32_t last = zSmallest ? z.step : (x.key <= y.key ? x.step : y.step);
        const int32_t highXy = x.key >= y.key ? x.key : y.key;
        const int32_t lowXy = x.key >= y.key ? y.key : x.key;
        const int32_t high = highXy >= z.key ? highXy : z.key;
        const int32_t low = lowXy <= z.key ? lowXy : z.key;
        cells->node[0][i] = start;
        cells->node[1][i] = start + first;
        cells->node[2][i] = start + all - last;
        cells->node[3][i] = start + all;
        keys->high[i] = high;
        keys->middle[i] = highXy + lowXy + z.key - high - low;
        keys->low[i] = low;
    }
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const double high = Fraction(grid, keys->high[i]);
        const double middle = Fraction(grid, keys->middle[i]);
        const double low = Fraction(grid, keys->low[i]);
        cells->weight[0][i] = 1.0 - high;
        cells->weight[1][i] = high - middle;
        cells->weight[2][i] = middle - low;
        cells->weight[3][i] = low;
    }
}

} // namespace kernels

void CodeGrid::Build(uint64_t width, uint64_t lastWidth, uint64_t nodes, int32_t strideI,
                     int32_t strideJ)
{
    usable_ = false;
    constexpr uint64_t narrowest = 1 << (inverseBits - 16);
    constexpr uint64_t widest = 1 << 13; // keys stay below 2^26
    if (width < narrowest || width > widest || lastWidth == 0 || lastWidth > width) {
        return;
    }
    const bool even = lastWidth == width;
    numbers_.inverse = static_cast<uint32_t>(((uint64_t{1} << inverseBits) + width - 1) / width);
    numbers_.width = static_cast<int32_t>(width);
    numbers_.lastNode = static_cast<int32_t>(nodes - 1);
    numbers_.scale = even ? 1 : static_cast<int32_t>(lastWidth);
    numbers_.lastScale = even ? 1 : static_cast<int32_t>(width);
    numbers_.strideI = strideI;
    numbers_.strideJ = strideJ;
    const auto denominator = static_cast<double>(even ? width : width * lastWidth);
    int exponent = 0;
    const double mantissa = std::frexp(1.0 / denominator, &exponent);
    numbers_.reciprocal = std::ldexp(std::floor(std::ldexp(mantissa, 26)), exponent - 26);
    numbers_.rest = (1.0 - denominator * numbers_.reciprocal) / denominator;
    usable_ = LocatesAllCells(width) && GivesAllFractions(width, numbers_.scale) &&
              GivesAllFractions(lastWidth, numbers_.lastScale);
}

// Cells never fall as codes rise, so the ends of each cell are enough.
bool CodeGrid::LocatesAllCells(uint64_t width) const
{
    for (uint64_t first = 0; first <= highestCode; first += width) {
        const auto cell = static_cast<int32_t>(first / width);
        const uint64_t last = std::min(first + width - 1, highestCode);
        if (cell > numbers_.lastNode || CellOf(numbers_, static_cast<int32_t>(first)) != cell ||
            CellOf(numbers_, static_cast<int32_t>(last)) != cell)
        {
            return false;
        }
    }
    return true;
}

bool CodeGrid::GivesAllFractions(uint64_t width, int32_t scale) const
{
    for (uint64_t offset = 0; offset <= width; ++offset) {
        const double quotient = static_cast<double>(offset) / static_cast<double>(width);
        if (Fraction(numbers_, static_cast<int32_t>(offset) * scale) != quotient) {
            return false;
        }
    }
    return true;
}

void CodeGrid::Locate(const CodeBlock& codes, GridCells& cells) const
{
    kernels::SortedKeys keys;
    kernels::LocateCodeCells(&numbers_, &codes, &keys, &cells);
}

} // namespace lumo
