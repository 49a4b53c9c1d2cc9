#include "colour/range_choice.h"

#include "colour/scene_decoder.h"
#include "colour/transfer_functions.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace qva {

namespace {

constexpr double brightShare = 0.9999;
constexpr double farAbove = 2.0;
constexpr double codeScale = 65535.0;

std::uint32_t GammaTypeOf(Transfer transfer)
{
    if (transfer == Transfer::Pq) {
        return gammaPq;
    }
    return transfer == Transfer::Linear ? gammaLinear : gamma22;
}

double ChooseTop(const PictureStatistics& statistics, const SourceOptions& options,
                 std::string& reason)
{
    if (options.top) {
        reason = "--top";
        return *options.top;
    }
    const double top = BrightestOf(statistics);
    reason = top < statistics.Peak() ? "99.99 % of the pixels, the peak lies far above"
                                     : "peak of the picture";
    if (top < lowestTop) {
        reason = "lowest top";
    } else if (top > pqPeak) {
        reason = "highest top";
    }
    return std::clamp(top, lowestTop, pqPeak);
}

/// Moves codeMax to the first code at or above the top; its own light becomes the top.
void FitToCodes(const Interpretation& meaning, double top, RenderRange& range)
{
    range.passThrough = true;
    range.gammaType = GammaTypeOf(meaning.transfer);
    range.bottom = meaning.signalZeroLuminance;
    const double reachable =
        std::clamp(top, meaning.signalZeroLuminance, meaning.signalOneLuminance);
    // Less than a thousandth of a code is the rounding of the two conversions, not light.
    const double code = std::ceil(LuminanceToSignal(meaning, reachable) * codeScale - 1e-3);
    range.codeMax = static_cast<std::uint32_t>(std::clamp(code, 1.0, codeScale));
    range.top = SignalToLuminance(meaning, range.codeMax / codeScale);
}

} // namespace

bool PassesCodes(const Interpretation& meaning)
{
    const bool known = meaning.transfer == Transfer::Linear || meaning.transfer == Transfer::Pq ||
                       (meaning.transfer == Transfer::Power && meaning.exponent == 2.2);
    return known && meaning.isInteger && meaning.codeBlack == 0.0 &&
           meaning.codeWhite == codeScale && meaning.signalOneLuminance <= pqPeak &&
           SamePrimaries(meaning.primaries, bt2020);
}

double BrightestOf(const PictureStatistics& statistics)
{
    const double bright = statistics.Percentile(brightShare);
    return statistics.Peak() > farAbove * bright ? bright : statistics.Peak();
}

RenderRange ChooseRange(const Interpretation& meaning, const PictureStatistics& statistics,
                        const SourceOptions& options)
{
    RenderRange range;
    const double top = ChooseTop(statistics, options, range.topFrom);
    if (PassesCodes(meaning)) {
        FitToCodes(meaning, top, range);
    } else {
        range.top = top;
    }
    return range;
}

double CodeToLuminance(const RenderRange& range, std::uint32_t code)
{
    const double share = std::min(static_cast<double>(code) / range.codeMax, 1.0);
    if (range.gammaType == gammaPq) {
        const double bottom = LuminanceToPq(range.bottom);
        const double top = LuminanceToPq(range.top);
        return PqToLuminance(bottom + share * (top - bottom));
    }
    const double light = range.gammaType == gamma22 ? PowerToLinear(share, 2.2) : share;
    return range.bottom + light * (range.top - range.bottom);
}

std::string NameOfGammaType(std::uint32_t gammaType)
{
    if (gammaType == gammaPq) {
        return "PQ";
    }
    return gammaType == gamma22 ? "gamma 2.2" : "linear";
}

} // namespace qva
