// The steps of a plan, one after the other.
#pragma once

#include "light/highlight_shoulder.h"
#include "light/light_plan.h"
#include "light/negative_repair.h"

#include <cstddef>
#include <cstdint>

namespace qva {

/// Changes the light of a picture row by row as its plan says. Read-only after construction.
class LightSteps {
public:
    explicit LightSteps(const LightPlan& plan);

    /// Rows above and below a row that Repair has to see; 0 where it is not to be called.
    std::int64_t Reach() const { return plan_.repairs ? NegativeRepair::reach : 0; }

    /// The first step, see NegativeRepair.
    void Repair(const RowBlock& around, std::int64_t row, float* repaired) const;

    /// The steps that look at one pixel at a time.
    /// @param row  linear light with the primaries of BT.2020, cd/m², exposed; changed in place.
    void operator()(float* row, std::size_t width) const;

private:
    LightPlan plan_;
    HighlightShoulder shoulder_;
};

} // namespace qva
