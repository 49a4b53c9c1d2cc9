// Where 16-bit codes lie in the grid of a colour table, by integers.
#pragma once

#include "core/pixel_block.h"

#include <cstdint>

namespace lumo {

/// Where the pixels of a block lie in a grid: nodes (in units of padded values) and their weights.
struct GridCells {
    alignas(64) int32_t node[4][blockSize];
    alignas(64) double weight[4][blockSize];
};

/// A grid over codes 0 ... 65535, all cells `width` wide but the last. A fraction of a cell is the
/// quotient of two small integers; a product with the reciprocal in two parts rounds to the same
/// double, which is checked for every quotient there is. Read-only once built.
class CodeGrid {
public:
    /// @param strideI, strideJ  from node to node along the first two axes, in padded values; along
    ///        the third it is 4.
    void Build(uint64_t width, uint64_t lastWidth, uint64_t nodes, int32_t strideI,
               int32_t strideJ);

    /// Whether the grid is one that integers serve; Locate must not be called otherwise.
    bool IsUsable() const { return usable_; }

    /// Locates all lanes of a block of codes.
    void Locate(const CodeBlock& codes, GridCells& cells) const;

    /// What the kernel reads.
    struct Numbers {
        uint32_t inverse; // of the width, times 2^28
        int32_t width;
        int32_t lastNode;
        // A fraction is its offset times the scale of its cell, over one common denominator.
        int32_t scale;
        int32_t lastScale;
        double reciprocal; // of the denominator: 26 bits, so that products with offsets are exact
        double rest;       // what they leave out
        int32_t strideI;
        int32_t strideJ;
    };

private:
    bool LocatesAllCells(uint64_t width) const;
    bool GivesAllFractions(uint64_t width, int32_t scale) const;

    Numbers numbers_ = {};
    bool usable_ = false;
};

} // namespace lumo
