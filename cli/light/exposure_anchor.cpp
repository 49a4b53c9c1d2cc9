#include "light/exposure_anchor.h"

#include "base/errors.h"

#include <algorithm>
#include <cmath>

namespace qva {

double ExposureAnchor::operator()(const PictureStatistics& statistics) const
{
    const double mean = statistics.LogMeanLuminance();
    if (mean <= 0.0) {
        return 0.0;
    }
    // A hundredth of a stop cannot be seen and can be typed.
    const double stops = std::log2(std::clamp(mean, darkest, brightest) / mean);
    return std::round(stops * 100.0) / 100.0;
}

void Expose(double stops, Interpretation& meaning, PictureStatistics& statistics)
{
    if (stops == 0.0) {
        return;
    }
    if (meaning.transfer == Transfer::Pq || meaning.transfer == Transfer::Hlg) {
        throw Misuse("--exposure", "the picture is " + NameOfTransfer(meaning) +
                                       " coded, which says what light it is");
    }
    const double factor = std::exp2(stops);
    meaning.signalZeroLuminance *= factor;
    meaning.signalOneLuminance *= factor;
    statistics.Scale(factor);
}

} // namespace qva
