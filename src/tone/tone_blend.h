// Blends the tone curves of all segments at every pixel.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"

#include <cstdint>

namespace lumo {

/// Where an image, or a band of it, lies on the weight maps. Positions are nearest-lower: map row =
/// trunc((y + rowOffset) * (mapRows / imageRows)).
struct BlendPlace {
    int32_t imageRows;
    int32_t imageCols;
    int32_t rowOffset;
    int32_t colOffset;
};

/// Curves and weight maps, laid out so that one pixel's segments lie together and only segments
/// that weigh are visited. Read-only once built.
class ToneBlend {
public:
    /// @param curves      n or more curves over codes 0 ... codeCount - 1, in double.
    /// @param masks       n weight maps of one size, D32F.
    /// @param cols        columns of the image or band that will be blended.
    ToneBlend(const VectorC<Vector<double>>& curves, const VectorC<Matrix>& masks,
              const BlendPlace& place, int32_t cols);

    /// The segments that weigh along one row of the maps; scratch of one thread.
    class Row {
    public:
        explicit Row(const ToneBlend& blend);

    private:
        friend class ToneBlend;
        int32_t mapRow_ = -1;
        Vector<int32_t> start_;   // by map column, into the entries
        Vector<int32_t> segment_; // entries: segment and weight, in the order of the segments
        Vector<double> weight_;
        Vector<double> divisor_; // by map column: sum of the weights, 1 where it is negligible
    };

    /// Blends pixels (y, x ... x + count - 1).
    /// @tparam T      uint16_t or float.
    /// @param value   codes of the base plane; indices are kept inside the curves.
    /// @param blended count results, not saturated; 0 where no segment weighs.
    template <typename T>
    void Blend(const T* value, int32_t y, int32_t x, int32_t count, Row& row,
               double* blended) const;

private:
    void LayOutCurves(const VectorC<Vector<double>>& curves);
    void PrepareRow(int32_t mapRow, Row& row) const;

    VectorC<Matrix> masks_;
    BlendPlace place_;
    int32_t segments_;
    int32_t mapRows_;
    int32_t mapCols_;
    int32_t lastCode_ = 0;
    Vector<double> curve_;   // value after value, the segments of one value together
    Vector<int32_t> mapCol_; // by image column
};

} // namespace lumo
