#include "picture/source_description.h"

#include <cmath>

namespace qva {

double FullScale(const SourceDescription& description)
{
    const int bits = description.codeBits > 0 ? description.codeBits : description.bits;
    return description.isFloat ? 1.0 : std::exp2(bits) - 1.0;
}

ImageSize UprightSize(const SourceDescription& description)
{
    // Orientations 5 to 8 have the stored rows standing upright.
    if (description.orientation >= 5) {
        return {description.size.height, description.size.width};
    }
    return description.size;
}

} // namespace qva
