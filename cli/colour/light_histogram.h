// How often each level of light occurs.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qva {

/// Counts levels of light in bins of equal ratio. Sums are whole numbers, so that the result does
/// not depend on the order or on the split of the work.
class LightHistogram {
public:
    /// @param fractionBits  1 ... 23: a bin is 2^-fractionBits to 2^-(fractionBits + 1) wide,
    ///                      relative to its level.
    explicit LightHistogram(int fractionBits);

    /// @param light  finite, 0 or above, cd/m².
    void Add(float light)
    {
        // The bits of a positive float, read as an integer, grow with it.
        ++bins_[std::bit_cast<std::uint32_t>(light) >> droppedBits_];
    }

    /// Takes over what another of the same bins has collected.
    void Add(const LightHistogram& other);

    /// @param share  0 ... 1.
    /// @return the upper edge of the bin below which at least this share of the counts lies; 0 for
    ///         an empty histogram.
    double Percentile(double share) const;

    /// @return the mean of log2 of all levels, those under floor counted as floor; nothing counted
    ///         gives log2(floor).
    /// @param floor  above 0, cd/m².
    double LogMean(double floor) const;

private:
    double EdgeOf(std::size_t bin) const;

    int droppedBits_;
    std::vector<std::uint64_t> bins_;
};

} // namespace qva
