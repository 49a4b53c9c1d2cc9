// How much the tone curve of each segment counts, pixel by pixel of the label image.
#pragma once

#include "core/matrix.h"
#include "core/vector.h"
#include "tone/segment_window.h"

#include <cstdint>

namespace lumo {

/// Weight maps of `Segments()` segments, read by rows. Read-only once built.
class WeightMaps {
public:
    virtual ~WeightMaps() = default;
    virtual int32_t Segments() const = 0;
    virtual int32_t Rows() const = 0;
    virtual int32_t Cols() const = 0;
    /// The pixels outside which segment s weighs 0; may be empty.
    virtual LabelBox Region(int32_t s) const = 0;
    /// What segment s weighs in row y of its region, from the region's first column on.
    /// @param scratch, weights  3 × Cols() and Cols() floats.
    virtual void Row(int32_t s, int32_t y, float* scratch, float* weights) const = 0;
};

/// Maps that an analysis has written down as images.
class StoredWeightMaps : public WeightMaps {
public:
    /// @param masks  one or more D32F maps of one size.
    explicit StoredWeightMaps(const VectorC<Matrix>& masks) : masks_(masks) {}
    int32_t Segments() const override { return static_cast<int32_t>(masks_.size); }
    int32_t Rows() const override { return masks_[0].rows; }
    int32_t Cols() const override { return masks_[0].cols; }
    LabelBox Region(int32_t s) const override
    {
        return {0, masks_[s].cols - 1, 0, masks_[s].rows - 1};
    }
    void Row(int32_t s, int32_t y, float* scratch, float* weights) const override;

private:
    VectorC<Matrix> masks_;
};

/// Maps that are worked out row by row, when one is asked for. A segment counts where it is near,
/// by its share of the square around a pixel, and where it is alike: less, the further the pixel's
/// own value is from what the segment has on average.
/// @tparam T  uint16_t or float, the element of the image.
template <typename T>
class RegionWeightMaps : public WeightMaps {
public:
    /// @param small        the image at the size of the labels.
    /// @param ceil         the image value that the end of the damping table stands for.
    /// @param weightTable  65,536 factors: what unlikeness by so many codes takes off.
    /// @param windowSize   in label pixels; a negative one counts as 0.
    RegionWeightMaps(const Matrix& small, double ceil, const Matrix_t<int>& labels, int32_t n,
                     const Vector<double>& weightTable, double windowSize);
    int32_t Segments() const override { return static_cast<int32_t>(counter_.size); }
    int32_t Rows() const override { return scaled_.rows; }
    int32_t Cols() const override { return scaled_.cols; }
    LabelBox Region(int32_t s) const override { return counter_[s].Region(); }
    void Row(int32_t s, int32_t y, float* scratch, float* weights) const override;

private:
    Matrix scaled_;
    Vector<double> mean_;
    Vector<float> damping_;
    VectorC<WindowCounter> counter_;
};

} // namespace lumo
