#include "light/light_plan.h"

#include "colour/range_choice.h"
#include "colour/transfer_functions.h"
#include "light/exposure_anchor.h"
#include "light/highlight_rims.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace qva {

namespace {

void ChooseExposure(const LightOptions& options, Interpretation& meaning,
                    PictureStatistics& statistics, LightPlan& plan)
{
    if (options.exposure) {
        plan.exposure = *options.exposure;
        plan.exposureFrom = "--exposure";
    } else if (!options.choosesExposure) {
        plan.exposureFrom = "--exposure none";
    } else if (meaning.hasScale) {
        plan.exposureFrom = meaning.luminanceFrom == defaultScale
                                ? "made for a screen"
                                : "the scale is stated: " + meaning.luminanceFrom;
    } else {
        const double mean = statistics.LogMeanLuminance();
        plan.exposure = ExposureAnchor()(statistics);
        plan.exposureIsChosen = plan.exposure != 0.0;
        plan.exposureFrom =
            fmt::format("no scale is stated, mean luminance {:.4g} cd/m2 without it", mean);
    }
    Expose(plan.exposure, meaning, statistics);
}

std::vector<std::string> TurnedOff(const LightOptions& options)
{
    std::vector<std::string> off;
    for (const auto& [isOn, name] : {std::pair(options.repairs, "--no-repair"),
                                     std::pair(options.fitsColour, "--no-colour-fit"),
                                     std::pair(options.mixesRims, "--no-rim-mix"),
                                     std::pair(options.bendsHighlights, "--no-shoulder")})
    {
        if (!isOn) {
            off.emplace_back(name);
        }
    }
    return off;
}

} // namespace

LightPlan PlanLight(const LightOptions& options, std::optional<double> top, Interpretation& meaning,
                    PictureStatistics& statistics)
{
    LightPlan plan;
    plan.off = TurnedOff(options);
    ChooseExposure(options, meaning, statistics, plan);
    if (PassesCodes(meaning)) {
        return plan;
    }
    plan.repairs =
        options.repairs && statistics.DarkerThanBlack() > 0 && statistics.Peak() >= defaultWhite;
    plan.fitsColour = options.fitsColour && statistics.PixelsBelowZero() > 0;
    plan.mixesRims = options.mixesRims && statistics.Peak() > HighlightRims::dimmest;
    plan.shoulderTop = std::min(top.value_or(pqPeak), pqPeak);
    const double brightest = BrightestOf(statistics);
    if (options.bendsHighlights && brightest > plan.shoulderTop) {
        plan.shoulderEnd = brightest;
    }
    return plan;
}

std::vector<std::string> StepsOf(const LightPlan& plan)
{
    std::vector<std::string> steps;
    if (plan.repairs) {
        steps.emplace_back("undershoot beside bright light filled");
    }
    if (plan.fitsColour) {
        steps.emplace_back("colours outside BT.2020 moved in");
    }
    if (plan.mixesRims) {
        steps.push_back(
            fmt::format("light above {:.6g} cd/m2 taken to white", HighlightRims::dimmest));
    }
    if (plan.shoulderEnd > 0.0) {
        steps.push_back(
            fmt::format("{:.6g} cd/m2 bent to {:.6g}", plan.shoulderEnd, plan.shoulderTop));
    }
    return steps;
}

std::string ExposureText(const LightPlan& plan)
{
    if (plan.exposure == 0.0) {
        return "none";
    }
    const bool isShort = std::round(plan.exposure * 100.0) == plan.exposure * 100.0;
    return isShort ? fmt::format("{:+.2f} EV", plan.exposure)
                   : fmt::format("{:+.6g} EV", plan.exposure);
}

} // namespace qva
