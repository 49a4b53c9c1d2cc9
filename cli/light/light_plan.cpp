#include "light/light_plan.h"

#include "colour/range_choice.h"
#include "colour/transfer_functions.h"
#include "light/exposure_anchor.h"

#include <fmt/format.h>

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
        plan.exposureFrom = "the scale is stated: " + meaning.luminanceFrom;
    } else {
        const double mean = statistics.LogMeanLuminance();
        plan.exposure = ExposureAnchor()(statistics);
        plan.exposureIsChosen = plan.exposure != 0.0;
        plan.exposureFrom = fmt::format("no scale is stated, mean luminance {:.4g} cd/m2", mean);
    }
    Expose(plan.exposure, meaning, statistics);
}

} // namespace

LightPlan PlanLight(const LightOptions& options, Interpretation& meaning,
                    PictureStatistics& statistics)
{
    LightPlan plan;
    ChooseExposure(options, meaning, statistics, plan);
    plan.repairs = options.repairs && statistics.DarkerThanBlack() > 0 &&
                   statistics.Peak() >= defaultWhite;
    plan.fitsColour = options.fitsColour && statistics.PixelsBelowZero() > 0;
    const double brightest = BrightestOf(statistics);
    if (brightest > pqPeak) {
        plan.mixesRims = options.mixesRims;
        plan.shoulderEnd = options.bendsHighlights ? brightest : 0.0;
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
        steps.emplace_back("rims of the brightest light mixed to grey");
    }
    if (plan.shoulderEnd > 0.0) {
        steps.push_back(fmt::format("{:.6g} cd/m2 bent to {:.6g}", plan.shoulderEnd, pqPeak));
    }
    return steps;
}

std::string ExposureText(const LightPlan& plan)
{
    return plan.exposure == 0.0 ? "none" : fmt::format("{:+.2f} EV", plan.exposure);
}

} // namespace qva
