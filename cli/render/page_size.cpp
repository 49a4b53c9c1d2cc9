#include "render/page_size.h"

#include "formats/image_source.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

/// Sides of more pixels than fit a number become one more than is read.
std::int64_t WholePixels(double pixels)
{
    return std::llround(std::min(pixels, static_cast<double>(longestSide) + 1.0));
}

} // namespace

Resampling PlanResampling(const PageSize& page, ImageSize picture, const SizeLimits& limits,
                          const std::string& name)
{
    const double width = (page.width + 2.0 * page.bleed) * page.dpi;
    const double height = (page.height + 2.0 * page.bleed) * page.dpi;
    Resampling plan;
    plan.width = static_cast<double>(picture.width);
    plan.height = static_cast<double>(picture.height);
    const double across = width / plan.width;
    const double down = height / plan.height;
    if (page.fit == Fit::Contain) {
        const double scale = std::min(across, down);
        plan.target = {std::max<std::int64_t>(WholePixels(plan.width * scale), 1),
                       std::max<std::int64_t>(WholePixels(plan.height * scale), 1)};
    } else {
        plan.target = {WholePixels(width), WholePixels(height)};
        const double scale = std::max(across, down);
        plan.left = (plan.width - width / scale) / 2.0;
        plan.top = (plan.height - height / scale) / 2.0;
        plan.width = width / scale;
        plan.height = height / scale;
    }
    CheckSize(name, plan.target, limits);
    return plan;
}

} // namespace qva
