// Tetrahedral interpolation in a regular grid of colours.
#pragma once

#include "colorspace/code_grid.h"
#include "core/pixel_block.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// A grid of numGrid nodes an axis over [0, maxValue]³, three values a node.
class Tetrahedralinterpolation {
public:
    /// Takes the values over and builds the index tables; the caller may go on with `table`.
    /// @param table  numGrid³ × 3 values; the first input channel varies slowest.
    /// @throws Exception code 3 for fewer than two nodes, or (empty message) for a range that does
    ///         not give every cell a width.
    void Initialize(const Vector<double>& table, uint64_t nodes, double maximum);

    /// One pixel of three values, which are clamped to [0, maxValue].
    void operator()(const double* in, double* out) const;
    /// All lanes of a block.
    void ConvertBlock(PixelBlock& block, int32_t count, size_t channels) const;
    /// The same for pixels that are 16-bit codes, into `block`.
    void ConvertCodes(const CodeBlock& codes, int32_t count, PixelBlock& block) const;

    Vector<double> lut;
    Vector<uint64_t> cellIndex;    ///< cell of every integer input
    Vector<uint64_t> gridPosition; ///< input value of every node along an axis
    Vector<uint64_t> cellWidth;    ///< all alike, but the last may be cut
    uint64_t numGrid = 0;
    double maxValue = 0.0;
    uint64_t strideI = 0;
    uint64_t strideJ = 0;

private:
    void BuildTables(uint64_t maxInt, uint64_t step);
    void PadNodes();

    CodeGrid codeGrid_;
    Vector<double> nodes_; // the table with four values a node, so that one load takes a node
};

} // namespace lumo
