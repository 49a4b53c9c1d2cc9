// Light that no range of the library holds, bent into it.
#pragma once

#include <cstddef>

namespace qva {

/// Brings light above what is to be rendered below it: the largest of R, G and B follows a curve,
/// and all three are multiplied by the same factor, so that the colour stays. Up to the knee
/// nothing changes; from there the curve leaves the straight line without a corner, rises always,
/// and brings `end` to the top.
///
/// The knee is a fifth of the top. With x = ln(light / knee): x becomes x / (1 + x (1 / T - 1 /
/// X)), where X belongs to the end and T to the top.
class HighlightShoulder {
public:
    /// @param end  cd/m², what is to become the top; up to the top the shoulder does nothing.
    /// @param top  cd/m², the most that is to be rendered.
    HighlightShoulder(double end, double top);

    /// @param rgb  linear light, cd/m², changed in place. A pixel with a channel that is infinite
    ///             stays.
    void operator()(float* rgb, std::size_t pixels) const;

private:
    double top_;
    double knee_;
    double bend_ = 0.0; ///< 1 / T - 1 / X; 0 leaves everything
};

} // namespace qva
