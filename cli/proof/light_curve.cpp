#include "proof/light_curve.h"

#include <algorithm>
#include <cmath>

namespace qva {

void LightCurve::Add(double luminance)
{
    const double place = luminance > lowest ? std::log10(luminance / lowest) * binsPerDecade : 0.0;
    ++counts_[std::min(static_cast<std::size_t>(place), bins - 1)];
    ++all_;
}

double LightCurve::PercentIn(std::size_t bin) const
{
    return all_ == 0 ? 0.0 : 100.0 * static_cast<double>(counts_[bin]) / static_cast<double>(all_);
}

} // namespace qva
