#include "light/light_steps.h"

#include "light/colour_fit.h"
#include "light/highlight_rims.h"

namespace qva {

LightSteps::LightSteps(const LightPlan& plan)
    : plan_(plan), shoulder_(plan.shoulderEnd, plan.shoulderTop)
{
}

void LightSteps::Repair(const RowBlock& around, std::int64_t row, float* repaired) const
{
    NegativeRepair()(around, row, repaired);
}

void LightSteps::operator()(float* row, std::size_t width) const
{
    if (plan_.fitsColour) {
        ColourFit()(row, width);
    }
    if (plan_.mixesRims) {
        HighlightRims()(row, width);
    }
    shoulder_(row, width);
}

} // namespace qva
