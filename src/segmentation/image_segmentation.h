// The base of the segmentation methods.
#pragma once

#include "core/matrix.h"

namespace lumo {

class ImageSegmentation {
public:
    virtual ~ImageSegmentation() = default;
    /// Fills `labels` with the number of each pixel's region. @returns the number of regions.
    virtual int operator()(const Matrix& src, int numLabelsPreDefined, Matrix& labels) = 0;
};

} // namespace lumo
