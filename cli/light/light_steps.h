// The steps of a plan, one after the other.
#pragma once

#include "light/highlight_shoulder.h"
#include "light/light_plan.h"

#include <cstddef>

namespace qva {

/// Changes the light of a picture row by row as its plan says. Read-only after construction.
class LightSteps {
public:
    explicit LightSteps(const LightPlan& plan);

    /// @param row    linear light with the primaries of BT.2020, cd/m², exposed; changed in place.
    /// @param width  pixels of the whole stored row.
    void operator()(float* row, std::size_t width) const;

private:
    LightPlan plan_;
    HighlightShoulder shoulder_;
};

} // namespace qva
