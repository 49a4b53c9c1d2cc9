#include "picture/reduced_size.h"

#include <algorithm>

namespace qva {

ImageSize ReducedSize(ImageSize page, std::int64_t longerSide)
{
    const std::int64_t longer = std::max(page.width, page.height);
    if (longer <= longerSide) {
        return page;
    }
    const auto reduce = [&](std::int64_t side) {
        return std::max<std::int64_t>((side * longerSide + longer / 2) / longer, 1);
    };
    return {reduce(page.width), reduce(page.height)};
}

} // namespace qva
