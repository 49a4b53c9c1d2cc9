#include "colorspace/tetrahedral_interpolation.h"

#include "core/exception.h"
#include "core/simd.h"

#include <algorithm>
#include <limits>

namespace lumo {
namespace {

LUMO_INLINE double Clamp(double value, double high)
{
    value = value > 0.0 ? value : 0.0;
    return value < high ? value : high;
}

} // namespace

namespace kernels {

// The grid as the kernel needs it: all cells `width` wide but the last.
struct Grid {
    double maxValue;
    double width;
    double lastWidth;
    double inverseWidth;
    int32_t lastNode;
    int32_t strideI;
    int32_t strideJ;
};

struct AxisCell {
    int32_t lower;
    int32_t step; // 1, or 0 past the last node
    double fraction;
};

// (u + 0.5) / width never comes near an integer, so the product with the reciprocal truncates to
// the quotient of the integers.
LUMO_INLINE AxisCell Locate(const Grid& grid, double value)
{
    value = value > 0.0 ? value : 0.0;
    value = value < grid.maxValue ? value : grid.maxValue;
    const auto u = static_cast<int32_t>(value);
    const auto cell = static_cast<int32_t>((u + 0.5) * grid.inverseWidth);
    const int32_t lower = cell < grid.lastNode ? cell : grid.lastNode;
    const double width = cell >= grid.lastNode - 1 ? grid.lastWidth : grid.width;
    return {lower, cell < grid.lastNode ? 1 : 0, (value - lower * grid.width) / width};
}

// The nodes are reached along the axes in the order of falling fractions. Among equal fractions any
// order will do: the node in between weighs 0.
LUMO_CLONES void LocateCells(const Grid* gridIn, const double* x, const double* y, const double* z,
                             GridCells* cells)
{
    const Grid grid = *gridIn;
    LUMO_SIMD
    for (int32_t i = 0; i < blockSize; ++i) {
        const AxisCell a = Locate(grid, x[i]);
        const AxisCell b = Locate(grid, y[i]);
        const AxisCell c = Locate(grid, z[i]);
        const double fx = a.fraction;
        const double fy = b.fraction;
        const double fz = c.fraction;
        const int32_t stepI = a.step * grid.strideI;
        const int32_t stepJ = b.step * grid.strideJ;
        const int32_t stepK = c.step * 4;
        const int32_t start = a.lower * grid.strideI + b.lower * grid.strideJ + c.lower * 4;
        const int32_t all = stepI + stepJ + stepK;
        const bool xLargest = (fx >= fy) & (fx >= fz);
        const bool yLargest = fy >= fz;
        const bool zSmallest = (fz <= fx) & (fz <= fy);
        const bool xSmallest = fx <= fy;
        const int32_t first = xLargest ? stepI : (yLargest ? stepJ : stepK);
        const int32_t last = zSmallest ? stepK : (xSmallest ? stepI : stepJ);
        const double highXy = fx >= fy ? fx : fy;
        const double lowXy = fx >= fy ? fy : fx;
        const double high = highXy >= fz ? highXy : fz;
        const double low = lowXy <= fz ? lowXy : fz;
        const double rest = highXy >= fz ? fz : highXy;
        const double middle = lowXy <= fz ? rest : lowXy;
        cells->node[0][i] = start;
        cells->node[1][i] = start + first;
        cells->node[2][i] = start + all - last;
        cells->node[3][i] = start + all;
        cells->weight[0][i] = 1.0 - high;
        cells->weight[1][i] = high - middle;
        cells->weight[2][i] = middle - low;
        cells->weight[3][i] = low;
    }
}

// Loaded where it stands: a copy by memcpy is put together on the stack from halves by compilers
// that split loads, and read back before they have arrived.
using Node = double __attribute__((vector_size(4 * sizeof(double)), may_alias));

LUMO_CLONES void MixNodes(const double* nodes, const GridCells* cells, double* x, double* y,
                          double* z)
{
    for (int32_t i = 0; i < blockSize; ++i) {
        const auto node = [&](int k) {
            return reinterpret_cast<const Node*>(nodes + cells->node[k][i]);
        };
        const Node sum = cells->weight[0][i] * *node(0) + cells->weight[1][i] * *node(1) +
                         cells->weight[2][i] * *node(2) + cells->weight[3][i] * *node(3);
        x[i] = sum[0];
        y[i] = sum[1];
        z[i] = sum[2];
    }
}

} // namespace kernels

void Tetrahedralinterpolation::Initialize(const Vector<double>& table, uint64_t nodes,
                                          double maximum)
{
    table.CopyTo(lut);
    numGrid = nodes;
    maxValue = maximum;
    if (numGrid < 2) {
        throw Exception(exceptionArgument,
                        "Error in Tetrahedralinterpolation::Initialize(), numGrid must be greater "
                        "than or equal to 2");
    }
    const auto maxInt = static_cast<uint64_t>(Clamp(maxValue, 2147483646.0));
    const uint64_t step = (maxInt + 1) / (numGrid - 1);
    // One input value a cell leaves the last cell none where the nodes are one more than the
    // inputs.
    if (step == 0 || maxInt == (numGrid - 2) * step) {
        throw Exception(exceptionArgument, "");
    }
    strideI = numGrid * numGrid;
    strideJ = numGrid;
    BuildTables(maxInt, step);
    PadNodes();
    if (maxValue == 65535.0) {
        codeGrid_.Build(step, cellWidth[numGrid - 2], numGrid, static_cast<int32_t>(strideI * 4),
                        static_cast<int32_t>(strideJ * 4));
    } else {
        codeGrid_ = CodeGrid();
    }
}

void Tetrahedralinterpolation::BuildTables(uint64_t maxInt, uint64_t step)
{
    cellIndex = Vector<uint64_t>(maxInt + 1);
    gridPosition = Vector<uint64_t>(numGrid);
    cellWidth = Vector<uint64_t>(numGrid - 1);
    uint64_t end = step;
    for (uint64_t i = 0; i + 1 < numGrid; ++i) {
        cellWidth[i] = end > maxInt ? step - end + maxInt : step;
        end += cellWidth[i];
    }
    for (uint64_t first = 0; first <= maxInt; first += step) {
        const uint64_t last = std::min(maxInt + 1, first + step);
        std::fill(cellIndex.data + first, cellIndex.data + last, first / step);
    }
    for (uint64_t i = 0; i < numGrid; ++i) {
        gridPosition[i] = i * step;
    }
}

void Tetrahedralinterpolation::PadNodes()
{
    const uint64_t count = numGrid * numGrid * numGrid;
    nodes_ = Vector<double>(count * 4);
    for (uint64_t node = 0; node < count; ++node) {
        std::copy(lut.data + node * 3, lut.data + node * 3 + 3, nodes_.data + node * 4);
        nodes_[node * 4 + 3] = 0.0;
    }
}

void Tetrahedralinterpolation::operator()(const double* in, double* out) const
{
    const uint64_t strides[3] = {strideI, strideJ, 1};
    const uint64_t maxInt = cellIndex.size - 1;
    uint64_t start = 0;
    uint64_t step[3];
    double fraction[3];
    for (int c = 0; c < 3; ++c) {
        const double value = Clamp(in[c], maxValue);
        const uint64_t cell = cellIndex[std::min(static_cast<uint64_t>(value), maxInt)];
        fraction[c] = (value - static_cast<double>(gridPosition[std::min(cell, numGrid - 1)])) /
                      static_cast<double>(cellWidth[std::min(cell, numGrid - 2)]);
        const uint64_t lower = std::min(cell, numGrid - 1);
        start += lower * strides[c];
        step[c] = (std::min(cell + 1, numGrid - 1) - lower) * strides[c];
    }
    // A stable sort by falling fraction takes the same tetrahedron as comparing with >=.
    int axis[3] = {0, 1, 2};
    std::stable_sort(axis, axis + 3, [&](int a, int b) { return fraction[a] > fraction[b]; });
    const double f0 = fraction[axis[0]];
    const double f1 = fraction[axis[1]];
    const double f2 = fraction[axis[2]];
    const double* corner[4] = {lut.data + start * 3};
    for (int n = 0; n < 3; ++n) {
        corner[n + 1] = corner[n] + step[axis[n]] * 3;
    }
    for (int c = 0; c < 3; ++c) {
        out[c] = (1.0 - f0) * corner[0][c] + (f0 - f1) * corner[1][c] + (f1 - f2) * corner[2][c] +
                 f2 * corner[3][c];
    }
}

void Tetrahedralinterpolation::ConvertBlock(PixelBlock& block, int32_t, size_t) const
{
    kernels::Grid grid = {};
    grid.maxValue = maxValue;
    grid.width = static_cast<double>(gridPosition[1]);
    grid.lastWidth = static_cast<double>(cellWidth[numGrid - 2]);
    grid.inverseWidth = 1.0 / grid.width;
    grid.lastNode = static_cast<int32_t>(numGrid - 1);
    grid.strideI = static_cast<int32_t>(strideI * 4);
    grid.strideJ = static_cast<int32_t>(strideJ * 4);
    GridCells cells;
    kernels::LocateCells(&grid, block.channel[0], block.channel[1], block.channel[2], &cells);
    kernels::MixNodes(nodes_.data, &cells, block.channel[0], block.channel[1], block.channel[2]);
}

void Tetrahedralinterpolation::ConvertCodes(const CodeBlock& codes, int32_t count,
                                            PixelBlock& block) const
{
    if (!codeGrid_.IsUsable()) {
        FromCodes(codes, block);
        ConvertBlock(block, count, 3);
        return;
    }
    GridCells cells;
    codeGrid_.Locate(codes, cells);
    kernels::MixNodes(nodes_.data, &cells, block.channel[0], block.channel[1], block.channel[2]);
}

} // namespace lumo
