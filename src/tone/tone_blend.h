// Blends the tone curves of all segments at every pixel.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "tone/global_tone_mapping_operator_adaptive.h"
#include "tone/weight_maps.h"

#include <cstdint>
#include <memory>

namespace lumo {

/// Where an image, or a band of it, lies on the weight maps. Positions are nearest-lower: map row =
/// trunc((y + rowOffset) * (mapRows / imageRows)).
struct BlendPlace {
    int32_t imageRows;
    int32_t imageCols;
    int32_t rowOffset;
    int32_t colOffset;
};

/// The curves of all segments over the same equally spaced positions, position after position, the
/// segments of one position together. Read-only once built.
struct SegmentCurves {
    /// The knots of curves that were built with the same range. @param operators n or more.
    SegmentCurves(const VectorC<GlobalToneMappingOperatorAdaptive>& operators, int32_t n);
    /// Curves stored code by code. @param curves n or more of at least two entries.
    SegmentCurves(const VectorC<Vector<double>>& curves, int32_t n);

    int32_t segments;
    double first; ///< position 0
    double width; ///< from the first to the last position
    double last;  ///< number of the last position
    Vector<double> value;

private:
    void LayOut(int32_t s, const double* samples, int64_t count);
};

/// Curves and weights together; only segments that weigh are visited. Read-only once built.
class ToneBlend {
public:
    /// @param cols  columns of the image or band that will be blended.
    ToneBlend(const SegmentCurves& curves, std::shared_ptr<const WeightMaps> maps,
              const BlendPlace& place, int32_t cols);

    /// The segments that weigh along one row of the maps; scratch of one thread.
    class Row {
    public:
        explicit Row(const ToneBlend& blend);

    private:
        friend class ToneBlend;
        int32_t mapRow_ = -1;
        Vector<int32_t> count_;   // by map column: segments that weigh
        Vector<int32_t> segment_; // by map column and order: which they are
        Vector<double> weight_;
        Vector<double> divisor_; // by map column: sum of the weights, 1 where it is negligible
        Vector<float> scratch_;
    };

    /// Blends pixels (y, x ... x + count - 1), at most blockSize of them.
    /// @tparam T      uint16_t or float.
    /// @param value   codes of the base plane.
    /// @param blended count results, not saturated; 0 where no segment weighs.
    template <typename T>
    void Blend(const T* value, int32_t y, int32_t x, int32_t count, Row& row,
               double* blended) const;

private:
    void PrepareRow(int32_t mapRow, Row& row) const;

    SegmentCurves curves_;
    std::shared_ptr<const WeightMaps> maps_;
    BlendPlace place_;
    Vector<int32_t> mapCol_; // by image column
};

} // namespace lumo
