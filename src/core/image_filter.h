// The base of whole-image filters.
#pragma once

#include "core/matrix.h"

namespace lumo {

class ImageFilterInterface {
public:
    virtual ~ImageFilterInterface() = default;
    /// Filters src, guided by a second image, into dst.
    virtual void operator()(const Matrix& src, const Matrix& guidance, Matrix& dst) = 0;
};

} // namespace lumo
